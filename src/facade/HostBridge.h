// The host C API's view of charts still being built (cxh_chart_xml).
#pragma once

#include <string>

namespace chartxml {

// The text cxh_chart_xml last handed out. The instance gives its memory back
// when it ends: a document can be large, and no chart outlives the instance.
std::string& chartXmlBuffer();

}  // namespace chartxml
