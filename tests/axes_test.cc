// Coordinates, dimensions, axes, guides and legends through the facade: what
// each builder makes, where it goes, which styles it names, what it refuses.
#include <cmath>
#include <functional>
#include <tuple>

#include <xercesc/dom/DOMNodeList.hpp>

#include "chartxml/codes.h"
#include "test_support.h"

namespace {

using cxtest::messages;
using cxtest::Messages;
using xercesc::DOMElement;

class AxesTest : public cxtest::SourcedChartTest {
 protected:
  void SetUp() override {
    SourcedChartTest::SetUp();
    frame = cx->AddFrame(chart, 0, str("f"));
    point = cx->AddElement(chart, frame, str("point"), str("e"));
    cxh_clear_reports();
  }
  std::string attr(int handle, const char16_t* name) { return cxtest::attr(element(handle), name); }
  std::string tags(int handle) { return cxtest::childTags(element(handle)); }
  // "name=value " of each parameter below the element.
  std::string parameters(int handle) {
    std::string out;
    xercesc::DOMNodeList* all = element(handle)->getElementsByTagName(u"parameter");
    for (XMLSize_t i = 0; i < all->getLength(); ++i) {
      auto* p = static_cast<DOMElement*>(all->item(i));
      out += cxtest::attr(p, u"name") + "=" + cxtest::attr(p, u"value") + " ";
    }
    return out;
  }
  // A failing call must report `expected` and leave the document as it was.
  void refused(const std::function<int()>& call, const Messages& expected) {
    cxh_clear_reports();
    EXPECT_EQ(call(), -1);
    EXPECT_EQ(messages(), expected);
  }

  int frame = -1, point = -1;
};

TEST_F(AxesTest, OneDimensionPerRoleAndFrame) {
  const int domain = cx->AddDomain(chart, false);
  const int x = cx->AddDimension(chart, frame, CX_ROLE_X, domain);
  EXPECT_EQ(cx->AddDimension(chart, frame, CX_ROLE_X, -1), x);
  const int y = cx->AddDimension(chart, frame, CX_ROLE_Y, -1);
  const int transform = cx->AddCoordinateTransform(chart, frame, str("polar"));
  EXPECT_EQ(tags(frame), "coordinateTransform dimension dimension element");
  EXPECT_EQ(attr(x, u"role") + attr(y, u"role") + attr(transform, u"method"), "xypolar");
  EXPECT_EQ(attr(x, u"domain") + attr(y, u"facetsShareScale"), attr(domain, u"id") + "true");
  // Look-ups reach nested frames and create nothing.
  const int z = cx->AddDimension(chart, cx->AddFrame(chart, frame, -1), CX_ROLE_Z, -1);
  EXPECT_EQ(cx->GetDimension(chart, frame, CX_ROLE_Z), z);
  EXPECT_EQ(cx->GetDimension(chart, z - 1, CX_ROLE_X), -1);
  const int pie = cx->AddFrame(chart, 0, str("mypie"));
  EXPECT_EQ(attr(cx->AddDimension(chart, pie, CX_ROLE_X, -1), u"facetsShareScale"), "");
  EXPECT_TRUE(messages().empty());
}

TEST_F(AxesTest, BuildersRefuseBeforeMakingAnything) {
  const int legend = cx->AddLegend(chart, frame, -1), next = legend + 1;
  const std::string nothing = "handle (" + std::to_string(next) + ") names no element";
  refused([&] { return cx->AddDimension(chart, frame, 0, -1); }, {"invalid role 0"});
  refused([&] { return cx->GetDimension(chart, frame, CX_ROLE_POSITION + 1); }, {"invalid role 8"});
  refused([&] { return cx->AddDimension(chart, frame, CX_ROLE_X, next); }, {"domain " + nothing});
  refused([&] { return cx->AddGuide(chart, point, CX_WORD_LINE, -1); },
          {"can't add guide to anything but frame - element"});
  refused([&] { return cx->AddLegendTarget(chart, frame, point, -1, CX_WORD_COLOR); },
          {"can't add legendTarget to anything but a legend - frame"});
  refused([&] { return cx->SetUnionDomain(chart, frame); },
          {"can't set unionDomain attribute for anything but a dimension frame"});
  refused([&] { return cx->AddCoordinateTransform(chart, frame, str(std::string("\x01", 1))); },
          {"attribute method not set, its text holds a character not allowed in XML"});
  refused([&] { return cx->SetDimensionScale(chart, frame, CX_WORD_LOG, str("10"), false); },
          {});  // silent
  refused([&] { return cx->SetAxisPercent(chart, frame, next); }, {"parent " + nothing});
}

TEST_F(AxesTest, DimensionSettersAndScales) {
  const int d = cx->AddDimension(chart, frame, CX_ROLE_X, -1);
  const int domain = cx->AddDomain(chart, true);
  for (int result :
       {cx->SetDimensionLowerMapping(chart, d, str("1%")),
        cx->SetDimensionUpperMapping(chart, d, str("99%")),
        cx->SetDimensionLowerMargin(chart, d, str("2%")),
        cx->SetDimensionUpperMargin(chart, d, str("3%")), cx->SetUnionDomain(chart, d),
        cx->SetDimensionDomain(chart, d, domain), cx->SetDimensionSameRatio(chart, d, true)}) {
    EXPECT_EQ(result, d);
  }
  std::string written;
  for (const char16_t* name : {u"lowerMapping", u"upperMapping", u"lowerMargin", u"upperMargin",
                               u"unionDomain", u"domain", u"sameRatio"}) {
    written += attr(d, name) + " ";
  }
  EXPECT_EQ(written, "1% 99% 2% 3% true " + attr(domain, u"id") + " trueCentered ");
  // A same-ratio request squares the facet cells, even when it is refused.
  const int labeling = cx->AddFacetLabeling(chart, frame);
  cx->SetFacetLabelingCellAspect(chart, labeling, 2.0);
  EXPECT_EQ(cx->SetDimensionSameRatio(chart, frame, false), -1);
  EXPECT_EQ(cx->SetDimensionSameRatio(chart, d, false), d);
  EXPECT_EQ(attr(labeling, u"cellAspect") + attr(d, u"sameRatio"), "1false");

  // Scales go ahead of the axes; their parameters depend on the method's handle.
  cx->AddAxis(chart, d, -1, false);
  const std::string baseE = "UTF_base=2.718281828459045 safe=true ";
  const std::tuple<int, int, std::string, std::string> cases[] = {
      {CX_WORD_LOG, str("10"), "log", "UTF_base=10 safe=true "},
      {CX_WORD_EXPONENT, str("0.5"), "exponent", "exponent=0.5 safe=true "},
      {124, 99999, "log", baseE},  // the hole in the vocabulary: its value goes unchecked
      {CX_WORD_POWER, str("3"), "power", baseE},
      {str("sqrt"), str("2"), "sqrt", baseE},
  };
  for (const auto& [method, value, text, params] : cases) {
    const int scale = cx->SetDimensionScale(chart, d, method, value, method == CX_WORD_EXPONENT);
    ASSERT_GT(scale, d) << text;
    EXPECT_EQ(attr(scale, u"method") + attr(scale, u"invert"),
              text + (method == CX_WORD_EXPONENT ? "true" : ""));
    EXPECT_EQ(parameters(scale), params);
  }
  EXPECT_EQ(tags(d), "scale scale scale scale scale axis");
  EXPECT_TRUE(messages().empty());
}

TEST_F(AxesTest, AxesAndTicksNameTheirStyles) {
  const int axis =
      cx->AddAxis(chart, cx->AddDimension(chart, frame, CX_ROLE_X, -1), str("x"), true);
  EXPECT_EQ(attr(axis, u"id") + " " + attr(axis, u"style") + " " + attr(axis, u"baselineStyle"),
            "axis_x axis_x_default_style axis_xbaselineStyle");
  EXPECT_EQ(attr(axis, u"opposite") + attr(axis, u"combineAxisLabels"), "truetrue");
  const int loose = cx->AddAxis(chart, frame, -1, false);  // any parent will do
  EXPECT_EQ(attr(loose, u"style") + attr(loose, u"opposite") + attr(loose, u"combineAxisLabels"),
            "_default_style");

  const int minor = cx->AddMinorTicks(chart, axis, str("inside"), true, str("3px"), str("4"));
  const int major = cx->AddMajorTicks(chart, axis, -1, true, str("5"), str("45"), false, str("9"));
  EXPECT_EQ(tags(axis), "majorTicks minorTicks");
  EXPECT_EQ(tags(major) + attr(major, u"length") + attr(major, u"labelAngle") +
                attr(major, u"delta") + attr(major, u"stagger") + attr(major, u"id"),
            "gridLines5459false");
  // Grid lines register ahead of their ticks.
  EXPECT_EQ(attr(major - 1, u"style") + " " + attr(major, u"markStyle") + " " +
                attr(major, u"tickLabelStyle"),
            "majorTicks_axis_xgridLineStyle majorTicks_axis_xmarkStyle "
            "majorTicks_axis_xtickLabelStyle");
  EXPECT_EQ(attr(minor - 1, u"style") + " " + attr(minor, u"markStyle"),
            "axis_xmajorTicksgridLineStyle minorTicks_axis_xmarkStyle");
  EXPECT_EQ(attr(minor, u"position") + attr(minor, u"length") + attr(minor, u"number"),
            "inside3px4");
  EXPECT_TRUE(messages().empty());
}

TEST_F(AxesTest, GuidesLegendsAndReferenceLines) {
  const int guide = cx->AddGuide(chart, frame, CX_WORD_LINE, str("g"));
  EXPECT_EQ(attr(guide, u"id") + " " + attr(guide, u"type") + " " + attr(guide, u"style"),
            "guide_g line guide_g_default_style");
  const int legend = cx->AddLegend(chart, frame, str("l"));
  const int target = cx->AddLegendTarget(chart, legend, point, str("t"), str("color"));
  EXPECT_EQ(attr(target, u"id") + " " + attr(target, u"element") + " " + attr(target, u"aesthetic"),
            "legendTarget_t element_e color");
  const int styleBy = cx->AddStyleBy(chart, point, cx->AddVariable(chart, sourceElement, 1, true));
  const int byStyle = cx->AddLegendTargetEx(chart, legend, guide, styleBy, -1);
  EXPECT_EQ(attr(byStyle, u"element") + " " + attr(byStyle, u"aesthetic"),
            "guide_g " + attr(styleBy, u"id"));

  const int x = cx->AddXReferenceLine(chart, frame, str("3.5"), 3);
  const int y = cx->AddYReferenceLine(chart, frame, str("7"), 3);
  const int plain = cx->AddXReferenceLine(chart, frame, str("1"), -1);
  EXPECT_EQ(attr(x, u"id") + " " + attr(y, u"id") + " " + attr(plain, u"style"),
            "guide_referenceLine_103 guide_referenceLine_203 _default_style");
  EXPECT_EQ(parameters(x) + parameters(y), "x=3.5 y=7 ");
  EXPECT_TRUE(messages().empty());
  refused([&] { return cx->AddYReferenceLine(chart, point, str("1"), 1); },
          {"can't add guide to anything but frame - element"});
  // A value that cannot be written takes the line out again, id and all.
  refused([&] { return cx->AddXReferenceLine(chart, frame, str(std::string("\x01", 1)), 4); },
          {"attribute value not set, its text holds a character not allowed in XML"});
  cxh_clear_reports();
  EXPECT_EQ(attr(cx->AddXReferenceLine(chart, frame, str("2"), 4), u"id"),
            "guide_referenceLine_104");
  EXPECT_TRUE(messages().empty());
}

TEST_F(AxesTest, PercentAxisAndSymmetricDomains) {
  const int axis = cx->AddAxis(chart, cx->AddDimension(chart, frame, CX_ROLE_Y, -1), -1, false);
  EXPECT_EQ(cx->SetAxisPercent(chart, axis, axis), axis);
  EXPECT_EQ(tags(axis), "numberFormat transform");
  EXPECT_EQ(attr(axis + 1, u"suffix") + attr(axis + 1, u"scientific") + attr(axis + 2, u"method"),
            "%neverpercent");

  EXPECT_EQ(cx->SetXYDimensionSameScale(newChart(), 2.5), -1);  // no domain at all
  const int sorted = cx->AddDomain(chart, false);
  cx->AddSort(chart, sorted);
  const int plain = cx->AddDomain(chart, true);
  for (double bad : {0.0, -1.0, std::nan(""), HUGE_VAL}) {
    EXPECT_EQ(cx->SetXYDimensionSameScale(chart, bad), -1) << bad;
  }
  EXPECT_EQ(cx->SetXYDimensionSameScale(chart, 2.5), 1);
  EXPECT_EQ(cx->SetXYDimensionSameScale(chart, 1e20), 1);  // a second interval, kept
  EXPECT_EQ(tags(sorted), "interval interval sort");       // and none from the refused extents
  DOMElement* interval = element(plain)->getFirstElementChild();  // no handle of its own
  EXPECT_EQ(cxtest::attr(interval, u"min") + " " + cxtest::attr(interval, u"max"), "-2.5 2.5");
  EXPECT_TRUE(messages().empty());
}

}  // namespace
