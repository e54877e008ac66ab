// The host C API's view of charts still being built.
#include <string>

#include "chartxml/ChartXml.h"
#include "chartxml/chartxml_building.h"
#include "facade/HostBridge.h"

namespace chartxml {

std::string& chartXmlBuffer() {
  static std::string text;
  return text;
}

}  // namespace chartxml

extern "C" const char* cxh_chart_xml(int64_t chart) {
  std::string& text = chartxml::chartXmlBuffer();
  text.clear();
  if (ChartXml::_instance == nullptr || chart < INT32_MIN || chart > INT32_MAX) return "";
  try {
    text = ChartXml::_instance->GetXmlBuffer(static_cast<int>(chart));
  } catch (...) {
    text.clear();
  }
  return text.c_str();
}
