// The process-wide report and debug logs.
#include "chartutl/ReportLog.h"

#include <cstdio>
#include <deque>
#include <string>

#include "platform/Settings.h"

namespace cxhost {

namespace {

constexpr std::size_t kMaxEntries = 100000;

template <typename T>
void pushCapped(std::deque<T>& log, T entry) {
  if (log.size() >= kMaxEntries) log.pop_front();
  log.push_back(std::move(entry));
}

}  // namespace

// Function-local statics: reports can be made while other static objects are
// being constructed or destroyed.
std::deque<ReportEntry>& reportLog() {
  static std::deque<ReportEntry> log;
  return log;
}

std::deque<std::string>& debugLog() {
  static std::deque<std::string> log;
  return log;
}

void report(std::string_view message, std::string_view source, int line) {
  try {
    pushCapped(reportLog(), ReportEntry{std::string(message), std::string(source), line});
  } catch (...) {
    // Out of memory: the echo below is all that is left.
  }
  if (!settings::quiet()) {
    std::fprintf(stderr, "chartxml: %.*s:%d: %.*s\n", static_cast<int>(source.size()),
                 source.data(), line, static_cast<int>(message.size()), message.data());
  }
}

void debug(std::string_view line) {
  try {
    pushCapped(debugLog(), std::string(line));
  } catch (...) {
  }
}

}  // namespace cxhost
