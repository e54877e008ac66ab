// Builders of frames and labels.
#include <xercesc/dom/DOMText.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chart/Chart.h"
#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/host/KytoUni.h"
#include "common/SourceNames.h"
#include "common/XmlText.h"

using xercesc::DOMElement;
using xercesc::DOMNode;
using xercesc::XMLString;

int Chart::AddFrame(int parent, int suffix) {
  if (!checkHandle(parent, "parent", chartxml::kChartSource, __LINE__)) return -1;
  if (suffix != -1 && !checkString(suffix, "suffix", __LINE__)) return -1;
  DOMElement* container = checkedElement(parent, "parent", __LINE__);
  if (container == nullptr) return -1;
  if (parent != 0 && !XMLString::equals(container->getTagName(), KytoUni::_frame)) {
    reportParent("can't add frame to anything but graph or frame - ", container, __LINE__);
    return -1;
  }
  // A frame suffixed data_1 or pie_1 labels its facet cells with that same
  // suffix; a courtesy to the chart, so its results are not checked. The
  // labeling and its label need two more levels.
  const ChartString* text = suffix >= 0 ? strings().peek(suffix) : nullptr;
  const bool labelled = text != nullptr && (*text == u"data_1" || *text == u"pie_1");
  if (!checkDepth(container, KytoUni::_frame, __LINE__, labelled ? 3 : 1)) return -1;
  DOMElement* frame = document()->createElement(KytoUni::_frame);
  assignId(frame, suffix);
  insertChild(container, frame, {KytoUni::_style});
  const int handle = registerElement(frame);
  if (labelled) {
    const int labeling = AddFacetLabeling(handle);
    SetFacetLabelCellStyle(AddFacetLabel(labeling, suffix, 0, false), suffix);
  }
  return handle;
}

int Chart::AddLabel(int parent, int idSuffix, int content) {
  if (!checkHandle(parent, "parent", chartxml::kChartSource, __LINE__)) return -1;
  if (idSuffix != -1 && !checkString(idSuffix, "id", __LINE__)) return -1;
  if (content != -1 && !checkString(content, "content", __LINE__)) return -1;
  DOMElement* owner = checkedElement(parent, "parent", __LINE__);
  if (owner == nullptr) return -1;

  ChartString text;
  if (content != -1) {
    text = strings().getString(content);
    chartxml::expandNewlines(text);
    if (!chartxml::isLegalXml(text.str())) {
      report("label text not set, it holds a character not allowed in XML", __LINE__);
      return -1;
    }
  }
  if (!checkDepth(owner, KytoUni::_label, __LINE__)) return -1;
  // A parent carries one label: the new one replaces any earlier one. The old
  // label gives up its id so that the new one may take the same id.
  for (DOMNode* node = owner->getFirstChild(); node != nullptr;) {
    DOMNode* next = node->getNextSibling();
    if (XMLString::equals(node->getNodeName(), KytoUni::_label)) {
      static_cast<DOMElement*>(node)->removeAttribute(KytoUni::_id);
      owner->removeChild(node);
    }
    node = next;
  }
  DOMElement* label = document()->createElement(KytoUni::_label);
  assignId(label, idSuffix);
  if (content != -1) label->appendChild(document()->createTextNode(text.c_str()));
  insertChild(
      owner, label,
      {KytoUni::_majorTicks, KytoUni::_minorTicks, KytoUni::_legendTarget, KytoUni::_transform});
  return registerElement(label);
}
