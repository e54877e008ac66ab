// Elements, positions and aesthetics through the facade: what each builder
// makes, where it goes among its siblings, and what it refuses.
#include <cstddef>

#include <xercesc/dom/DOMNodeList.hpp>

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer runtime's count (its header is not always installed).
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

#include "chartxml/codes.h"
#include "chartxml/host/ChartBase.h"
#include "test_support.h"

namespace {

using cxtest::attr;
using cxtest::childTags;
using cxtest::messages;
using cxtest::Messages;
using xercesc::DOMElement;

// Bytes the process has allocated and not freed.
std::size_t allocatedBytes() {
#if defined(__SANITIZE_ADDRESS__)
  return __sanitizer_get_current_allocated_bytes();
#else
  return mallinfo2().uordblks;
#endif
}

class ElementsTest : public cxtest::SourcedChartTest {
 protected:
  void SetUp() override {
    SourcedChartTest::SetUp();
    sex = cx->AddVariable(chart, sourceElement, 1, true);
    income = cx->AddVariable(chart, sourceElement, 2, false);
    frame = cx->AddFrame(chart, 0, -1);
    cxh_clear_reports();
  }
  DOMElement* at(int handle) { return element(handle); }
  std::string idOf(int handle) { return attr(at(handle), u"id"); }
  // Attributes `names` of `made` joined by '|': "-" for one it lacks.
  static std::string attrs(const DOMElement* made, std::initializer_list<const char16_t*> names) {
    std::string out;
    for (const char16_t* name : names) {
      out += (out.empty() ? "" : "|") + (made->hasAttribute(name) ? attr(made, name) : "-");
    }
    return out;
  }
  // What a test leaves in the report log went unchecked: nothing may be there.
  void TearDown() override {
    EXPECT_EQ(messages(), Messages{}) << "reported and never checked";
    SourcedChartTest::TearDown();
  }
  // A failing call must report `expected` and leave the document as it was;
  // the calls before it reported nothing.
  template <class Call>
  void refused(Call call, const Messages& expected) {
    EXPECT_EQ(messages(), Messages{}) << "reported before the refused call";
    cxh_clear_reports();
    const std::string before = cx->GetXmlBuffer(chart);
    EXPECT_EQ(call(), -1);
    EXPECT_EQ(messages(), expected);
    EXPECT_EQ(cx->GetXmlBuffer(chart), before);
    cxh_clear_reports();
  }

  int sex = -1, income = -1, frame = -1;
};

TEST_F(ElementsTest, ElementsAndGroupsUnderFrames) {
  const int point = cx->AddElement(chart, frame, str("point"), str("dots"));
  const int group = cx->AddElementGroup(chart, frame, -1);
  const int line = cx->AddElement(chart, group, str("line"), -1);
  DOMElement* dots = byId(chart, u"element_dots");
  ASSERT_NE(dots, nullptr);
  EXPECT_EQ(cx->getHandle(chart, dots), point);
  EXPECT_EQ(attrs(dots, {u"type", u"style", u"labelCollisionHandling", u"showCollidingLabels"}),
            "point|element_dots_default_style|normal|true");
  // A point's own style draws no fill pattern.
  EXPECT_EQ(attr(byId(chart, u"element_dots_default_style"), u"value"), "fill-pattern:0");
  EXPECT_EQ(childTags(at(frame)), "element elementGroup");
  EXPECT_EQ(attr(at(group), u"style"), "_default_style");
  EXPECT_EQ(at(line)->getParentNode(), at(group));
  EXPECT_EQ(attrs(at(line), {u"labelCollisionHandling", u"showCollidingLabels"}), "-|true");
}

TEST_F(ElementsTest, ElementBuildersRefuseBeforeMakingAnything) {
  const int element = cx->AddElement(chart, frame, str("point"), -1);
  const int next = cx->AddFrame(chart, 0, -1) + 1;
  const int type = str("line");
  refused([&] { return cx->AddElement(chart, 0, type, -1); },
          {"can't add element to anything but frame or elementGroup - visualization"});
  refused([&] { return cx->AddElementGroup(chart, element, -1); },
          {"can't add element to anything but frame - element"});
  refused([&] { return cx->AddElement(chart, next, type, -1); },
          {"frame or elementGroup handle (" + std::to_string(next) + ") names no element"});
  refused([&] { return cx->AddElement(chart, frame, 9999, -1); }, {"type handle out of range"});
  refused([&] { return cx->AddElement(chart, frame, str(std::string("a\x02", 2)), -1); },
          {"attribute type not set, its text holds a character not allowed in XML"});
  // Nothing was used up: neither a handle nor an id serial.
  EXPECT_EQ(cx->AddElementGroup(chart, frame, -1), next);
  EXPECT_EQ(idOf(next), "elementGroup6");
}

TEST_F(ElementsTest, MembersAndAestheticsKeepTheirOrderWhateverTheOrderOfCalls) {
  const int element = cx->AddElement(chart, frame, str("interval"), -1);
  cx->AddColor(chart, element, sex);
  const int position = cx->AddPosition(chart, element);
  EXPECT_EQ(childTags(at(element)), "position color");
  EXPECT_EQ(cx->AddY(chart, position, income), position + 1);
  cx->AddZ(chart, position, sex);
  cx->AddX(chart, position, sex);
  EXPECT_EQ(childTags(at(position)), "x y z");
  EXPECT_EQ(attr(at(position + 1), u"variable"), idOf(income));
  // Polar members: theta, r, phi, whatever the order of the calls.
  const int polar = cx->AddElement(chart, frame, str("point"), -1);
  cx->AddPhi(chart, polar, sex);
  cx->AddR(chart, polar, sex);
  cx->AddTheta(chart, polar, sex);
  cx->AddStyleBy(chart, polar, sex);
  cx->AddX(chart, polar, sex);  // a member on the element itself stays ahead of styleBy
  EXPECT_EQ(childTags(at(polar)), "theta r phi x styleBy");
  // Aesthetics, whatever the order of the calls.
  const int bars = cx->AddElement(chart, frame, str("interval"), -1);
  cx->AddSplit(chart, bars, sex);
  cx->AddColor(chart, bars, sex);
  cx->AddLabeling(chart, bars, sex);
  cx->AddStyleBy(chart, bars, sex);
  cx->AddPosition(chart, bars);
  EXPECT_EQ(childTags(at(bars)), "position styleBy labeling split color");
  cx->AddX(chart, bars, sex);
  cx->AddFacetStyle(chart, bars, str("cell"), -1);
  cx->AddY(chart, bars, income);
  cx->AddX(chart, bars, income);
  cx->AddColor(chart, bars, income);
  cx->AddLabeling(chart, bars, income);
  cx->AddStatistic(chart, bars, str("count"));
  EXPECT_EQ(childTags(at(bars)),
            "facetStyle position statistic x x y styleBy labeling labeling split color color");
}

TEST_F(ElementsTest, PositionalMembersNeedAnElementAndAVariable) {
  const int element = cx->AddElement(chart, frame, str("point"), -1);
  const int next = element + 1;
  refused([&] { return cx->AddX(chart, frame, sex); },
          {"can't add x to anything but element or position - frame"});
  refused([&] { return cx->AddTheta(chart, frame, sex); },
          {"can't add theta to anything but element or position - frame"});
  refused([&] { return cx->AddX(chart, element, frame); },
          {"x requires a variable id reference frame"});
  refused([&] { return cx->AddPhi(chart, element, next); },  // names nothing: no tag follows
          {"phi requires a variable id reference "});
  refused([&] { return cx->AddY(chart, element, next + 1); },
          {"variable handle (" + std::to_string(next + 1) + ") out of range (0-" +
           std::to_string(next) + ")"});
  refused([&] { return cx->AddPosition(chart, frame); },
          {"can't add position to anything but element - frame"});
}

TEST_F(ElementsTest, ColorAndSplitReferToAnyElementById) {
  const int element = cx->AddElement(chart, frame, str("interval"), -1);
  const int split = cx->AddSplit(chart, element, sex);
  const int color = cx->AddColor(chart, element, frame);  // no check of the kind
  EXPECT_EQ(childTags(at(element)), "split color");
  EXPECT_EQ(attr(at(split), u"variable") + " " + attr(at(color), u"variable"),
            idOf(sex) + " " + idOf(frame));
  refused([&] { return cx->AddColor(chart, frame, sex); },
          {"can't add color to anything but element - frame"});
  refused([&] { return cx->AddSplit(chart, split, sex); },
          {"can't add split to anything but element - split"});
}

TEST_F(ElementsTest, StyleByUsesTheDefaultCycle) {
  const int point = cx->AddElement(chart, frame, str("point"), str("p"));
  cx->AddSplit(chart, point, sex);
  const int position = cx->AddPosition(chart, point);
  const int styleBy = cx->AddStyleBy(chart, point, sex);
  EXPECT_EQ(childTags(at(point)), "position styleBy split");
  // Serials: two variables, the frame, the element.
  EXPECT_EQ(attrs(at(styleBy), {u"id", u"style", u"styleCycle", u"variable"}),
            "styleBy5|-|styleCycleDefault|" + idOf(sex));
  EXPECT_EQ(attr(byId(chart, u"element_p_default_style"), u"value"),
            "fill-pattern:0;fill:transparent");
  refused([&] { return cx->AddStyleBy(chart, position, sex); },
          {"can't add styleBy to anything but element - position"});
}

TEST_F(ElementsTest, ColorAndPatternCyclesAreMadeOnceAndJoinTheDocument) {
  const int bars = cx->AddElement(chart, frame, str("interval"), -1);
  const int first = cx->AddStyleByColor(chart, bars, sex);
  const int second = cx->AddStyleByColor(chart, bars, income);  // reuses the cycle, quietly
  cx->AddStyleByPattern(chart, bars, sex);
  const int both = cx->AddStyleByColorAndPattern(chart, bars, sex);
  EXPECT_EQ(childTags(root(chart)),
            "source variable variable frame styleCycle styleCycle styleCycle");
  EXPECT_EQ(byId(chart, u"styleCycleColor")->getParentNode(), root(chart));
  EXPECT_NE(byId(chart, u"style_styleCyclePattern"), nullptr);
  EXPECT_EQ(attrs(at(first), {u"styleCycle"}) + " " + attrs(at(second), {u"styleCycle"}) + " " +
                attrs(at(both), {u"styleCycle"}),
            "styleCycleColor styleCycleColor color_pattern");
  DOMElement* style = byId(chart, u"style");  // the combined cycle's style is named "style"
  ASSERT_NE(style, nullptr);
  EXPECT_EQ(attr(static_cast<DOMElement*>(style->getParentNode()->getParentNode()), u"id"),
            "color_pattern");
  refused([&] { return cx->AddStyleByPattern(chart, frame, sex); },
          {"can't add styleBy to anything but element frame"});
}

TEST_F(ElementsTest, LabelingsMarkTheirVariable) {
  const int element = cx->AddElement(chart, frame, str("interval"), -1);
  cx->AddSplit(chart, element, sex);
  const int plain = cx->AddLabeling(chart, element, income);
  const int named = cx->AddLabelingSuffix(chart, element, sex, str("v"));
  EXPECT_EQ(childTags(at(element)), "labeling labeling split");
  EXPECT_EQ(attrs(at(plain), {u"variable", u"id", u"style"}),
            idOf(income) + "|-|labeling__default_style");
  EXPECT_EQ(attrs(at(named), {u"variable", u"style"}), idOf(sex) + "|labeling_v_default_style");
  EXPECT_NE(byId(chart, u"labeling_v_default_style"), nullptr);
  EXPECT_EQ(attr(at(cx->AddMeta(chart, income)), u"description"), "labeling");
  refused([&] { return cx->AddLabeling(chart, frame, sex); },
          {"can't add labeling to anything but element - frame"});
  refused([&] { return cx->AddLabelingSuffix(chart, element, sex, str(std::string("\x01", 1))); },
          {"labeling not added, its style id holds a character not allowed in XML - "
           "labeling_\x01_default_style"});
  // An aggregate labeling is described as a labeling too.
  const int mean = CX_SUMMARY_MEAN_OF_VALUES;
  const int aggregate = cx->AddLabelingAggregate(chart, income, mean, false, str("Mean"), -1, -1);
  ASSERT_GT(aggregate, 0);
  EXPECT_EQ(attr(at(aggregate), u"source"), idOf(income));
  EXPECT_EQ(attr(at(cx->AddMeta(chart, aggregate)), u"description"), "labeling");
  refused([&] { return cx->AddLabelingAggregate(chart, income, mean, false, 99999, -1, -1); },
          {"label handle out of range"});
}

TEST_F(ElementsTest, BinnedElementBinsOnAHexGrid) {
  const int strings = str("probe");
  const int binned = cx->AddBinnedElement(chart, frame, str("point"), str("hex"), sex, income);
  EXPECT_EQ(str("probe"), strings + 11);  // the type, the suffix, and eight of its own
  DOMElement* element = byId(chart, u"element_hex");
  ASSERT_NE(element, nullptr);
  EXPECT_EQ(cx->getHandle(chart, element), binned);
  EXPECT_EQ(childTags(element), "position size");
  DOMElement* position = at(binned + 1);
  EXPECT_EQ(childTags(position), "statistic x y");
  DOMElement* statistic = at(binned + 2);
  EXPECT_EQ(attr(statistic, u"method"), "bin");
  std::string parameters;
  for (int p : {binned + 3, binned + 4}) {
    parameters += attr(at(p), u"name") + "=" + attr(at(p), u"value") + " ";
  }
  EXPECT_EQ(parameters, "location=grid grid=hex ");
  EXPECT_EQ(childTags(statistic), "parameter parameter");
  auto* size = static_cast<DOMElement*>(position->getNextSibling());
  EXPECT_EQ(attrs(size, {u"variable", u"high", u"low"}), idOf(sex) + "|binhighval|binlowval");
  EXPECT_EQ(attr(static_cast<DOMElement*>(size->getFirstChild()), u"method"), "count");
  refused([&] { return cx->AddBinnedElement(chart, frame, str("point"), -1, sex, frame); },
          {"y requires a variable id reference frame"});
}

TEST_F(ElementsTest, SettersReturnTheirHandleAndRefuseOtherKindsSilently) {
  const int element = cx->AddElement(chart, frame, str("line"), -1);
  const int dot = str("square");
  EXPECT_EQ(cx->SetElementDot(chart, element, dot), element);
  EXPECT_EQ(cx->SetElementName(chart, element, str("fit")), element);
  EXPECT_EQ(cx->SetElementPositionModifier(chart, element, str("dodge")), element);
  EXPECT_EQ(cx->SetLabelCollisionHandling(chart, frame, str("hide")), 0);  // any kind, result 0
  EXPECT_EQ(cx->SetDisplayOverlappingLabels(chart, element, false), element);
  EXPECT_EQ(cx->SetFrameClipping(chart, frame, true), frame);
  EXPECT_EQ(attrs(at(element), {u"dot", u"name", u"positionModifier", u"showCollidingLabels"}),
            "square|fit|dodge|false");
  EXPECT_EQ(attrs(at(frame), {u"labelCollisionHandling", u"clip"}), "hide|true");
  refused([&] { return cx->SetElementDot(chart, frame, dot); }, {});
  refused([&] { return cx->SetElementName(chart, frame, dot); }, {});
  refused([&] { return cx->SetFrameClipping(chart, element, true); }, {});
  refused([&] { return cx->SetElementPositionModifier(chart, frame, dot); },
          {"can't set positionModifier attribute for anything but an element frame"});
  refused([&] { return cx->SetDisplayOverlappingLabels(chart, element + 1, true); },
          {"element handle (" + std::to_string(element + 1) + ") names no element"});
  // Stacking sets the modifier of the position's element.
  const int position = cx->AddPosition(chart, element);
  for (const auto& [stacked, modifier] : {std::pair{true, "stack"}, {false, "none"}}) {
    EXPECT_EQ(cx->AddStack(chart, position, stacked), position);
    EXPECT_EQ(attr(at(element), u"positionModifier"), modifier);
  }
  refused([&] { return cx->AddStack(chart, frame, true); },
          {"can't set positionModifier attribute for anything but an element visualization"});
  refused([&] { return cx->AddStack(chart, 0, true); },  // the document element has no parent
          {"can't set positionModifier attribute for anything but an element "});
}

TEST_F(ElementsTest, BuildersRefuseWhatWouldNestDeeperThanTheHostReads) {
  // Levels count from the document element; the fixture's frame is level 2.
  int upper = frame;
  for (int level = 3; level < ChartBase::kMaxDepth - 1; ++level) {
    upper = cx->AddFrame(chart, upper, -1);
  }
  const int deep = cx->AddFrame(chart, upper, -1);  // level 511: one more level fits
  const int element = cx->AddElement(chart, deep, str("point"), -1);
  ASSERT_GE(element, 0);
  const std::string tooDeep = " deeper than 512 levels - ";
  refused([&] { return cx->AddPosition(chart, element); },
          {"can't add position" + tooDeep + "element"});
  refused([&] { return cx->AddY(chart, element, income); }, {"can't add y" + tooDeep + "element"});
  refused([&] { return cx->AddColor(chart, element, sex); },
          {"can't add color" + tooDeep + "element"});
  // Not even the style cycle, which would go to the top, is made.
  refused([&] { return cx->AddStyleByColor(chart, element, sex); },
          {"can't add styleBy" + tooDeep + "element"});
  refused([&] { return cx->AddLabeling(chart, element, sex); },
          {"can't add labeling" + tooDeep + "element"});
  const int count = str("count");
  refused([&] { return cx->AddStatistic(chart, element, count); },
          {"can't add statistic" + tooDeep + "element"});
  // A binned element needs four levels: element, position, statistic and
  // its parameters.
  const int type = str("point");
  refused([&] { return cx->AddBinnedElement(chart, deep, type, -1, sex, income); },
          {"can't add element" + tooDeep + "frame"});
  // An axis keeps a level for the major ticks that completion may give it.
  const int dimension = cx->AddDimension(chart, upper, CX_ROLE_X, -1);
  ASSERT_GE(dimension, 0);
  refused([&] { return cx->AddAxis(chart, dimension, -1, false); },
          {"can't add axis" + tooDeep + "dimension"});
  // Facet algebra nests as deep as frames do.
  int node = cx->AddCoordinateFacet(chart, frame);
  for (int level = 4; level <= ChartBase::kMaxDepth; ++level) node = cx->AddCross(chart, node);
  ASSERT_GE(node, 0);
  refused([&] { return cx->AddNest(chart, node); }, {"can't add nest" + tooDeep + "cross"});
  refused([&] { return cx->AddFacetVariable(chart, node, CX_ROLE_X, sex); },
          {"can't add facetVariable" + tooDeep + "cross"});

  // Four levels below level 508 are taken, and everything taken reads back.
  int roomy = frame;
  for (int level = 3; level <= ChartBase::kMaxDepth - 4; ++level) {
    roomy = cx->AddFrame(chart, roomy, -1);
  }
  EXPECT_GE(cx->AddBinnedElement(chart, roomy, type, -1, sex, income), 0);
  EXPECT_EQ(cx->EndChart(chart), 0);
}

TEST_F(ElementsTest, PointsSharingAStyleGrowItInProportion) {
  // Each point without a suffix adds to the one style they share. Setting
  // the whole value anew for each kept every earlier copy in the document:
  // some 375 MB for these points, where in proportion they take a few.
  constexpr int kPoints = 5000;
  const int type = str("point");
  const std::size_t before = allocatedBytes();
  for (int i = 0; i < kPoints; ++i) ASSERT_GE(cx->AddElement(chart, frame, type, -1), 0);
  EXPECT_LT(allocatedBytes(), before + 64 * 1024 * 1024);
  std::string expected = "fill-pattern:0";
  for (int i = 1; i < kPoints; ++i) expected += ";fill-pattern:0";
  EXPECT_TRUE(attr(byId(chart, u"_default_style"), u"value") == expected);
}

}  // namespace
