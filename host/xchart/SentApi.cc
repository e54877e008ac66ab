// The sent-charts part of the host C API (chartxml_host.h).
#include <cstddef>

#include "chartxml/chartxml_host.h"
#include "platform/Settings.h"
#include "xchart/OutputSink.h"

namespace {

const cxhost::SentChart* sentChart(int i) {
  const auto& charts = cxhost::sentCharts();
  if (i < 0 || static_cast<std::size_t>(i) >= charts.size()) return nullptr;
  return &charts[static_cast<std::size_t>(i)];
}

}  // namespace

extern "C" {

void cxh_set_output_dir(const char* dir) {
  try {
    cxhost::settings::setOutputDir(dir);
  } catch (...) {
    // Out of memory copying the text: the earlier setting stays.
  }
}

int cxh_sent_count(void) {
  return static_cast<int>(cxhost::sentCharts().size());
}

const char* cxh_sent_xml(int i) {
  const cxhost::SentChart* chart = sentChart(i);
  return chart ? chart->xml.c_str() : nullptr;
}

const char* cxh_sent_description(int i) {
  const cxhost::SentChart* chart = sentChart(i);
  return chart ? chart->description.c_str() : nullptr;
}

const char* cxh_sent_template(int i) {
  const cxhost::SentChart* chart = sentChart(i);
  return chart ? chart->chartTemplate.c_str() : nullptr;
}

const char* cxh_sent_data_csv(int i, const char* source) {
  const cxhost::SentChart* chart = sentChart(i);
  if (!chart || !source) return nullptr;
  const std::string* csv = chart->csv(source);
  return csv ? csv->c_str() : nullptr;
}

const char* cxh_sent_data_path(int i, const char* source) {
  const cxhost::SentChart* chart = sentChart(i);
  if (!chart || !source) return nullptr;
  const std::string* path = chart->dataPath(source);
  return path ? path->c_str() : nullptr;
}

void cxh_clear_sent(void) {
  cxhost::clearSentCharts();
}

}  // extern "C"
