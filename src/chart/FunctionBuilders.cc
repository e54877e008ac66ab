// The document part of a fitted-function line: a function guide in a frame,
// carrying its formula and the number of points the curve is drawn through.
// The curve families and their formulas live at the facade
// (src/facade/ChartXmlFunctions.cc).
#include <string>

#include <xercesc/dom/DOMNode.hpp>

#include "chart/Chart.h"
#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/codes.h"
#include "chartxml/host/KytoUni.h"
#include "common/SourceNames.h"
#include "common/XmlText.h"

using xercesc::DOMElement;
using xercesc::DOMNode;

namespace {

// Vocabulary codes of the function guide.

constexpr double kNumPoints = 1000.0;

}  // namespace

int Chart::AddYFunctionOfX(int frame, int functionText, int idNumber) {
  if (!checkHandle(frame, "frame", chartxml::kChartSource, __LINE__) ||
      !checkString(functionText, "function", __LINE__)) {
    return -1;
  }
  // The guide and its parameters: refused whole before anything is made.
  const DOMElement* owner = getElement(frame);
  if (owner != nullptr && !checkDepth(owner, KytoUni::_guide, __LINE__, 2)) return -1;
  int suffix = -1;
  if (idNumber >= 0) {
    ChartString id = strings().getString(CX_WORD_Y_FUNCTION_OF_X);
    id += ChartBase::_underscore;
    id += chartxml::widenAscii(asString(idNumber));
    suffix = strings().add(id);
    if (suffix == -1) return -1;
  }
  const int guide = AddGuide(frame, CX_WORD_FUNCTION, suffix);
  if (guide == -1) return -1;

  // The point count as the display value of the number (as LRValue with no
  // format writes it).
  ChartString points;
  points.assignDouble(kNumPoints);
  const int pointsText = strings().add(points);
  if (AddParam(guide, CX_WORD_Y, functionText) >= 0 &&
      AddParam(guide, CX_WORD_NUM_POINTS, pointsText) >= 0) {
    return guide;
  }
  // A line without its formula or point count draws nothing: take the guide
  // out again. It gives up its id first, so that a retry may use the same id.
  DOMElement* element = getElement(guide);
  if (DOMNode* parent = element->getParentNode()) {
    element->removeAttribute(KytoUni::_id);
    parent->removeChild(element);
  }
  return -1;
}
