// Fitted-function lines at the facade: a curve family's formula becomes a
// composite string whose places are filled with the estimated coefficients,
// the chart gets a function guide for it (Chart::AddYFunctionOfX), and the
// guide is named by the family's translated name.
#include <initializer_list>
#include <string>

#include "chartxml/host/ChartBase.h"
#include "chartxml/host/Platform.h"
#include "facade/Forward.h"

namespace {

// The curve families, in the order of their name keys.
enum Family {
  kLinear,
  kLogarithmic,
  kInverse,
  kQuadratic,
  kCubic,
  kCompound,
  kPower,
  kS,
  kGrowth,
  kExponential,
  kLogistic,
};

// A family's formula in x, the same with x a date measured from the start of
// the Gregorian calendar, and the message key of its name. The formulas are
// the expression language's text exactly, irregular blanks included, so that
// descriptions stay identical to those procedures have always produced. As
// message keys they are unknown, so translation passes them unchanged.
struct FamilyText {
  const char* plain;
  const char* date;
  const char* nameKey;
};

constexpr FamilyText kFamilies[] = {
    {"^2 * x + ^1", "^2 * (x - datetodouble(\"1582-10-14T00:00:00.000\") ) + ^1", "E60551"},
    {"^1 + ^2 * log(x)", "^1 + ^2 * log(x - datetodouble(\"1582-10-14T00:00:00.000\"))", "E60552"},
    {"^1 + ^2 / x", "^1 + ^2 / (x - datetodouble(\"1582-10-14T00:00:00.000\") )", "E60553"},
    {"^1 + ^2 * x + ^3 * x*x",
     "^1 + ^2 * (x - datetodouble(\"1582-10-14T00:00:00.000\") ) + ^3 * (x - "
     "datetodouble(\"1582-10-14T00:00:00.000\") )*(x - datetodouble(\"1582-10-14T00:00:00.000\") )",
     "E60554"},
    {"^1 + ^2 * x + ^3 * x*x + ^4 * x*x*x",
     "^1 + ^2 * (x - datetodouble(\"1582-10-14T00:00:00.000\")) + ^3 * (x - "
     "datetodouble(\"1582-10-14T00:00:00.000\"))*(x - datetodouble(\"1582-10-14T00:00:00.000\")) + "
     "^4 * (x - datetodouble(\"1582-10-14T00:00:00.000\"))*(x - "
     "datetodouble(\"1582-10-14T00:00:00.000\"))*(x - datetodouble(\"1582-10-14T00:00:00.000\") )",
     "E60555"},
    {"^1 * ^2**x", "^1 * ^2**(x - datetodouble(\"1582-10-14T00:00:00.000\") )", "E60556"},
    {"^1 * x**^2", "^1 * (x - datetodouble(\"1582-10-14T00:00:00.000\") )**^2", "E60557"},
    {"exp( ^1 + ^2 / x )", "exp( ^1 + ^2 / (x - datetodouble(\"1582-10-14T00:00:00.000\") ) )",
     "E60558"},
    {"exp( ^1 + ^2 * x )", "exp( ^1 + ^2 * (x - datetodouble(\"1582-10-14T00:00:00.000\") ) )",
     "E60559"},
    {"^1 * exp( ^2 * x )", "^1 * exp( ^2 * (x  - datetodouble(\"1582-10-14T00:00:00.000\") ) )",
     "E60560"},
    {"1 / ( ^3 + ^1 * ^2**x )",
     "1 / ( ^3 + ^1 * ^2**(x - datetodouble(\"1582-10-14T00:00:00.000\") ) )", "E60561"},
};

const char* formulaOf(Family family, bool dateAxis) {
  return dateAxis ? kFamilies[family].date : kFamilies[family].plain;
}

// A coefficient as the next parameter of the formula. The host's infinity
// value (its mark of a missing estimate) is not a display value, so LRValue
// refuses it; it is written as its number text instead, which lets the
// two-coefficient families refuse the line only once the formula is complete,
// and the other families draw it as they stand.
int addCoefficient(ChartXml& cx, int formula, double value) {
  const int text = value == VORN_Globals::infinity
                       ? cx.NStringNoTranslate(ChartBase::asString(value))
                       : cx.LRValue(value, -1);
  return text < 0 ? text : cx.AddParameter(formula, text);
}

// Names a new line after its family; a failed naming leaves the line as it is.
int named(ChartXml& cx, int chart, int line, Family family) {
  if (line >= 0) cx.SetElementName(chart, line, cx.NString(kFamilies[family].nameKey));
  return line;
}

int twoCoefficientLine(ChartXml& cx, Family family, int chart, int frame, int idNumber, double a,
                       double b, bool dateAxis) {
  // Resolving the chart reports a bad handle before any string is made.
  if (cx.getChart(chart) == nullptr) return -1;
  const int formula = cx.CompositeString(formulaOf(family, dateAxis));
  if (formula < 0) return formula;
  return named(cx, chart, cx.AddYOfXWithAB(chart, frame, formula, idNumber, a, b), family);
}

// The three- and four-coefficient families draw whatever they are given.
int multiCoefficientLine(ChartXml& cx, Family family, int chart, int frame, int idNumber,
                         std::initializer_list<double> coefficients, bool dateAxis) {
  if (cx.getChart(chart) == nullptr) return -1;
  const int formula = cx.CompositeString(formulaOf(family, dateAxis));
  if (formula < 0) return formula;
  for (double coefficient : coefficients) {
    const int added = addCoefficient(cx, formula, coefficient);
    if (added < 0) return added;
  }
  const int finished = cx.EndCompositeString(formula);
  if (finished < 0) return finished;
  return named(cx, chart, cx.AddYFunctionOfX(chart, frame, finished, idNumber), family);
}

}  // namespace

int ChartXml::AddYOfXWithAB(int chart, int frame, int compositeString, int idNumber,
                            const double& a, const double& b) {
  return state_->guard(-1, __LINE__, [&] {
    if (getValidChart(chart, chartxml::kFacadeSource, __LINE__, true) == nullptr) return -1;
    if (compositeString < 0) return compositeString;
    for (double coefficient : {a, b}) {
      const int added = addCoefficient(*this, compositeString, coefficient);
      if (added < 0) return added;
    }
    const int formula = EndCompositeString(compositeString);
    if (formula < 0) return formula;
    // A missing estimate makes no line. Tested only now, with the formula
    // complete: the finished string stays in the table, as callers expect.
    if (a == VORN_Globals::infinity || b == VORN_Globals::infinity) return -1;
    return AddYFunctionOfX(chart, frame, formula, idNumber);
  });
}

int ChartXml::AddYFunctionOfX(int chart, int frame, int functionText, int idNumber) {
  return state_->forward(
      chart, __LINE__, [&](Chart& c) { return c.AddYFunctionOfX(frame, functionText, idNumber); });
}

int ChartXml::AddYOfXLinear(int chart, int frame, int idNumber, const double& a, const double& b,
                            bool dateAxis) {
  return twoCoefficientLine(*this, kLinear, chart, frame, idNumber, a, b, dateAxis);
}

int ChartXml::AddYOfXLogarithmic(int chart, int frame, int idNumber, const double& a,
                                 const double& b, bool dateAxis) {
  return twoCoefficientLine(*this, kLogarithmic, chart, frame, idNumber, a, b, dateAxis);
}

int ChartXml::AddYOfXInverse(int chart, int frame, int idNumber, const double& a, const double& b,
                             bool dateAxis) {
  return twoCoefficientLine(*this, kInverse, chart, frame, idNumber, a, b, dateAxis);
}

int ChartXml::AddYOfXQuadratic(int chart, int frame, int idNumber, const double& a, const double& b,
                               const double& c, bool dateAxis) {
  return multiCoefficientLine(*this, kQuadratic, chart, frame, idNumber, {a, b, c}, dateAxis);
}

int ChartXml::AddYOfXCubic(int chart, int frame, int idNumber, const double& a, const double& b,
                           const double& c, const double& d, bool dateAxis) {
  return multiCoefficientLine(*this, kCubic, chart, frame, idNumber, {a, b, c, d}, dateAxis);
}

int ChartXml::AddYOfXCompound(int chart, int frame, int idNumber, const double& a, const double& b,
                              bool dateAxis) {
  return twoCoefficientLine(*this, kCompound, chart, frame, idNumber, a, b, dateAxis);
}

int ChartXml::AddYOfXPower(int chart, int frame, int idNumber, const double& a, const double& b,
                           bool dateAxis) {
  return twoCoefficientLine(*this, kPower, chart, frame, idNumber, a, b, dateAxis);
}

int ChartXml::AddYOfXS(int chart, int frame, int idNumber, const double& a, const double& b,
                       bool dateAxis) {
  return twoCoefficientLine(*this, kS, chart, frame, idNumber, a, b, dateAxis);
}

int ChartXml::AddYOfXGrowth(int chart, int frame, int idNumber, const double& a, const double& b,
                            bool dateAxis) {
  return twoCoefficientLine(*this, kGrowth, chart, frame, idNumber, a, b, dateAxis);
}

int ChartXml::AddYOfXExponential(int chart, int frame, int idNumber, const double& a,
                                 const double& b, bool dateAxis) {
  return twoCoefficientLine(*this, kExponential, chart, frame, idNumber, a, b, dateAxis);
}

int ChartXml::AddYOfXLogistic(int chart, int frame, int idNumber, const double& a, const double& b,
                              const double& c, bool dateAxis) {
  return multiCoefficientLine(*this, kLogistic, chart, frame, idNumber, {a, b, c}, dateAxis);
}
