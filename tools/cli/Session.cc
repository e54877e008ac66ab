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

std::string dataName(const std::string& path) {
  return path == "-" ? "<stdin>" : path;
}

std::optional<Session> Session::open(const std::string& csvPath, const ReadOptions& options,
                                     std::string& error) {
  const int mark = cxh_report_count();
  cxh_csv_options reading{};
  reading.delimiter = options.delimiter;
  reading.encoding = options.encoding.empty() ? nullptr : options.encoding.c_str();
  reading.date_order = options.dateOrder;
  void* source = cxh_open_csv_ex(csvPath.c_str(), &reading);
  if (source == nullptr) {
    error = reportsSince(mark);
    if (error.empty()) error = dataName(csvPath) + ": the host cannot open it";
    return std::nullopt;
  }
  return Session(source, dataName(csvPath));
}

std::string Session::columnKinds() const {
  const char* kinds = cxh_csv_column_kinds(source_);
  return kinds != nullptr ? kinds : "";
}

Session::Session(Session&& other) noexcept
    : source_(other.source_), name_(std::move(other.name_)), started_(other.started_) {
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

bool Session::start(const std::string& language, std::string& error) {
  stop();
  const int mark = cxh_report_count();
  // The output language is read when the instance is made.
  cxh_set_language(language.empty() ? nullptr : language.c_str());
  auto* dictionary = static_cast<VORN_FortranDictionary*>(source_);
  const int64_t length = static_cast<int64_t>(kProcedure.size());
  CX_INIT(kAllOnes, &dictionary, kProcedure.data(), &length);
  started_ = true;
  // Charts made now would carry bare keys for their texts: refuse them.
  error = reportsSince(mark);
  if (error.empty()) return true;
  stop();
  return false;
}

bool Session::send(const Table& table, const ChartRequest& request, std::string& error) {
  auto* dictionary = static_cast<VORN_FortranDictionary*>(source_);
  return buildChart(table, dictionary, kProcedure, request, error).has_value();
}

}  // namespace chartxml::cli
