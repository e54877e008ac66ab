// Fitted-function lines: every family's whole formula, plain and dated; ids, names, refusals.
#include <functional>

#include "chartxml/host/Platform.h"
#include "test_support.h"

namespace {

using cxtest::attr;
using cxtest::messages;

class FunctionsTest : public cxtest::FacadeTest {
 protected:
  void SetUp() override {
    FacadeTest::SetUp();
    chart = newChart();
    frame = cx->AddFrame(chart, 0, -1);
  }
  // Type, name and parameters of the guide under `handle`.
  std::string describe(int handle) {
    const xercesc::DOMElement* guide = elementAt(chart, handle);
    if (guide == nullptr) return "no guide";
    std::string text = attr(guide, u"type") + " [" + attr(guide, u"name") + "]";
    for (auto* p = guide->getFirstElementChild(); p != nullptr; p = p->getNextElementSibling()) {
      text += " " + attr(p, u"name") + "=" + attr(p, u"value");
    }
    return text;
  }
  int chart = -1, frame = -1;
};

// "@" stands for the date axis' origin; the rest is the formula as written.
std::string dated(std::string formula) {
  for (std::size_t at; (at = formula.find('@')) != std::string::npos;) {
    formula.replace(at, 1, "datetodouble(\"1582-10-14T00:00:00.000\")");
  }
  return formula;
}

TEST_F(FunctionsTest, EveryFamilyFillsItsFormulaWithTheCoefficients) {
  const double a = 1.5, b = -2, c = 0.25, d = 3;
  using Call = std::function<int(int id, bool date)>;
  using TwoCoefficients = int (ChartXml::*)(int, int, int, const double&, const double&, bool);
  auto two = [&](TwoCoefficients family) -> Call {
    return [=, this](int id, bool t) { return (cx->*family)(chart, frame, id, a, b, t); };
  };
  struct Family {
    Call call;
    std::string name, plain, date;
  } families[] = {
      {two(&ChartXml::AddYOfXLinear), "Linear", "-2 * x + 1.5", "-2 * (x - @ ) + 1.5"},
      {two(&ChartXml::AddYOfXLogarithmic), "Logarithmic", "1.5 + -2 * log(x)",
       "1.5 + -2 * log(x - @)"},
      {two(&ChartXml::AddYOfXInverse), "Inverse", "1.5 + -2 / x", "1.5 + -2 / (x - @ )"},
      {[&](int id, bool t) { return cx->AddYOfXQuadratic(chart, frame, id, a, b, c, t); },
       "Quadratic", "1.5 + -2 * x + 0.25 * x*x", "1.5 + -2 * (x - @ ) + 0.25 * (x - @ )*(x - @ )"},
      {[&](int id, bool t) { return cx->AddYOfXCubic(chart, frame, id, a, b, c, d, t); }, "Cubic",
       "1.5 + -2 * x + 0.25 * x*x + 3 * x*x*x",
       "1.5 + -2 * (x - @) + 0.25 * (x - @)*(x - @) + 3 * (x - @)*(x - @)*(x - @ )"},
      {two(&ChartXml::AddYOfXCompound), "Compound", "1.5 * -2**x", "1.5 * -2**(x - @ )"},
      {two(&ChartXml::AddYOfXPower), "Power", "1.5 * x**-2", "1.5 * (x - @ )**-2"},
      {two(&ChartXml::AddYOfXS), "S", "exp( 1.5 + -2 / x )", "exp( 1.5 + -2 / (x - @ ) )"},
      {two(&ChartXml::AddYOfXGrowth), "Growth", "exp( 1.5 + -2 * x )",
       "exp( 1.5 + -2 * (x - @ ) )"},
      {two(&ChartXml::AddYOfXExponential), "Exponential", "1.5 * exp( -2 * x )",
       "1.5 * exp( -2 * (x  - @ ) )"},
      {[&](int id, bool t) { return cx->AddYOfXLogistic(chart, frame, id, a, b, c, t); },
       "Logistic", "1 / ( 0.25 + 1.5 * -2**x )", "1 / ( 0.25 + 1.5 * -2**(x - @ ) )"},
  };
  int id = 0;
  for (const Family& f : families) {
    for (bool date : {false, true}) {
      SCOPED_TRACE(f.name + (date ? " on a date axis" : ""));
      EXPECT_EQ(describe(f.call(id++, date)),
                "function [" + f.name + " fit line] y=" + (date ? dated(f.date) : f.plain) +
                    " numPoints=1000");
    }
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(FunctionsTest, InfiniteEstimatesIdsAndAFailedGuide) {
  const double inf = VORN_Globals::infinity;
  const std::string before = cx->GetXmlBuffer(chart);
  const int next = cx->NStringNoTranslate("probe") + 1;
  EXPECT_EQ(cx->AddYOfXLinear(chart, frame, 1, 2.0, inf, false), -1);
  EXPECT_EQ(cx->getUTF8String(next), "inf * x + 2");  // the formula was completed first
  EXPECT_EQ(cx->AddYFunctionOfX(chart, frame, str(std::string("x\x02", 2)), 4), -1);
  EXPECT_EQ(cx->GetXmlBuffer(chart), before);
  EXPECT_EQ(describe(cx->AddYOfXQuadratic(chart, frame, 2, 2.0, 3.0, inf, false)),
            "function [Quadratic fit line] y=2 + 3 * x + inf * x*x numPoints=1000");
  // The failed guide gave its id back; a negative id number takes a serial.
  const int numbered = cx->AddYFunctionOfX(chart, frame, str("2 * x"), 4);
  const int unnumbered = cx->AddYOfXLinear(chart, frame, -1, 1.0, 2.0, false);
  EXPECT_EQ(
      attr(elementAt(chart, numbered), u"id") + " " + attr(elementAt(chart, unnumbered), u"id"),
      "guide_yFunctionOfX_4 guide5");
  EXPECT_EQ(messages().size(), 1u);  // the refused formula text
}

}  // namespace
