#include "cli/Session.h"

#include <cstdint>
#include <string_view>

#include "chartxml/chartxml_host.h"
#include "chartxml/cx.h"
#include "cli/ChartKinds.h"

namespace chartxml::cli {
namespace {

constexpr std::string_view kProcedure = "chartxml";
void* const kAllOnes = reinterpret_cast<void*>(~std::uintptr_t{0});

}  // namespace

std::string reportsSince(int mark) {
  std::string out;
  for (int i = mark; i < cxh_report_count(); ++i) {
    if (!out.empty()) out += '\n';
    out += cxh_report_message(i);
  }
  return out;
}

std::optional<Session> Session::open(const std::string& csvPath, std::string& error) {
  const int mark = cxh_report_count();
  void* source = cxh_open_csv(csvPath.c_str());
  if (source == nullptr) {
    error = reportsSince(mark);
    if (error.empty()) error = csvPath + ": the host cannot open it";
    return std::nullopt;
  }
  return Session(source);
}

Session::Session(Session&& other) noexcept : source_(other.source_), started_(other.started_) {
  other.source_ = nullptr;
  other.started_ = false;
}

Session::~Session() {
  stop();
  if (source_ != nullptr) cxh_close(source_);
}

void Session::stop() {
  if (!started_) return;
  CX_TERMINATE();
  cxh_set_language(nullptr);
  started_ = false;
}

void Session::start(const std::string& language) {
  stop();
  // The output language is read when the instance is made.
  cxh_set_language(language.empty() ? nullptr : language.c_str());
  auto* dictionary = static_cast<VORN_FortranDictionary*>(source_);
  const int64_t length = static_cast<int64_t>(kProcedure.size());
  CX_INIT(kAllOnes, &dictionary, kProcedure.data(), &length);
  started_ = true;
}

std::optional<int> Session::send(const Table& table, const ChartRequest& request,
                                 std::string& error) {
  auto* dictionary = static_cast<VORN_FortranDictionary*>(source_);
  return buildChart(table, dictionary, kProcedure, request, error);
}

}  // namespace chartxml::cli
