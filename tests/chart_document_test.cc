// The chart document: its initial shape, element handles, ids and style
// references, and the shared checks, driven through the facade.
#include <xercesc/dom/DOMNodeList.hpp>

#include "chartxml/codes.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/KytoUni.h"
#include "test_support.h"

namespace {

using cxtest::attr;
using cxtest::childTags;
using cxtest::FacadeTest;
using cxtest::messages;
using cxtest::reports;
using xercesc::DOMElement;

using ChartDocumentTest = FacadeTest;

TEST_F(ChartDocumentTest, NewChartIsAnEmptyVisualization) {
  const int chart = newChart();
  EXPECT_EQ(cx->GetXmlBuffer(chart),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<visualization/>\n");
  // The style container and cycles exist, outside the tree, until completion.
  EXPECT_NE(byId(chart, u"container"), nullptr);
  EXPECT_NE(byId(chart, u"styleCycleDefault"), nullptr);
  EXPECT_NE(byId(chart, u"style_styleCycleRepository"), nullptr);
  EXPECT_EQ(cx->getHandle(chart, root(chart)), 0);
  EXPECT_EQ(cxtest::debugLines(), std::vector<std::string>{"CreateChart"});
}

TEST_F(ChartDocumentTest, EndChartCompletesAndReleases) {
  const int chart = newChart();
  cx->AddFrame(chart, 0, -1);
  EXPECT_EQ(cx->EndChart(chart), 0);
  EXPECT_EQ(cx->getChart(chart), nullptr);
  EXPECT_EQ(cxtest::debugLines(),
            (std::vector<std::string>{"CreateChart", "endChart - Start", "endChart - Final"}));
}

TEST_F(ChartDocumentTest, BootstrappingEndsWithoutCompletion) {
  const int chart = newChart();
  cxh_set_bootstrapping(1);
  EXPECT_EQ(cx->EndChart(chart), -1);
  cxh_set_bootstrapping(0);
  EXPECT_EQ(cx->getChart(chart), nullptr);  // released all the same
  EXPECT_EQ(cxtest::debugLines().back(), "endChart - Bootstrapping");
}

TEST_F(ChartDocumentTest, FramesGetHandlesIdsAndStyles) {
  const int chart = newChart();
  const int outer = cx->AddFrame(chart, 0, str("graph_1"));
  const int inner = cx->AddFrame(chart, outer, -1);
  const int second = cx->AddFrame(chart, 0, -1);
  EXPECT_EQ(outer, 1);
  EXPECT_EQ(inner, 2);
  EXPECT_EQ(second, 3);

  DOMElement* graph = byId(chart, u"frame_graph_1");
  ASSERT_NE(graph, nullptr);
  EXPECT_EQ(attr(graph, u"style"), "frame_graph_1_default_style");
  EXPECT_EQ(cx->getHandle(chart, graph), 1);
  // Serials count every id given: the suffixed one took 1.
  DOMElement* auto2 = byId(chart, u"frame2");
  ASSERT_NE(auto2, nullptr);
  EXPECT_EQ(attr(auto2, u"style"), "_default_style");
  EXPECT_EQ(auto2->getParentNode(), graph);
  EXPECT_NE(byId(chart, u"frame3"), nullptr);
  // Each style reference names a style in the container.
  EXPECT_NE(byId(chart, u"frame_graph_1_default_style"), nullptr);
  EXPECT_NE(byId(chart, u"_default_style"), nullptr);
  EXPECT_TRUE(messages().empty());
}

TEST_F(ChartDocumentTest, DuplicateSuffixFallsBackToAutomaticId) {
  const int chart = newChart();
  const int suffix = str("data_1x");
  cx->AddFrame(chart, 0, suffix);
  const int again = cx->AddFrame(chart, 0, suffix);
  EXPECT_EQ(again, 2);
  EXPECT_EQ(messages(), std::vector<std::string>{"id has already been used - frame_data_1x"});
  EXPECT_EQ(cx->getHandle(chart, byId(chart, u"frame2")), 2);
}

TEST_F(ChartDocumentTest, ElementHandlesAreCheckedAgainstTheNextHandle) {
  const int chart = newChart();
  cx->AddFrame(chart, 0, -1);  // next handle is now 2
  EXPECT_EQ(cx->AddFrame(chart, 3, -1), -1);
  EXPECT_EQ(cx->AddFrame(chart, -1, -1), -1);
  EXPECT_EQ(cx->AddFrame(chart, 2, -1), -1);  // in range, names nothing
  EXPECT_EQ(cx->AddFrame(chart, 1, 999), -1);
  EXPECT_EQ(messages(), (std::vector<std::string>{
                            "parent handle (3) out of range (0-2)",
                            "parent handle (-1) out of range (0-2)",
                            "parent handle (2) names no element",
                            "suffix handle out of range",
                        }));
  EXPECT_EQ(reports()[0].source, "backend/chartxml/src/chart");
  EXPECT_EQ(cx->AddFrame(chart, 0, -1), 2);  // nothing was used up
}

TEST_F(ChartDocumentTest, FrameOnlyUnderTheRootOrAFrame) {
  const int chart = newChart();
  const int frame = cx->AddFrame(chart, 0, -1);
  const int label = cx->AddLabel(chart, frame, -1, str("t"));
  const std::string before = cx->GetXmlBuffer(chart);
  EXPECT_EQ(cx->AddFrame(chart, label, -1), -1);
  EXPECT_EQ(messages(),
            std::vector<std::string>{"can't add frame to anything but graph or frame - label"});
  EXPECT_EQ(cx->GetXmlBuffer(chart), before);
}

TEST_F(ChartDocumentTest, FramesStayAheadOfStyles) {
  const int chart = newChart();
  DOMElement* top = root(chart);
  top->appendChild(cx->getChart(chart)->createElement(u"style"));
  cx->AddFrame(chart, 0, -1);
  EXPECT_EQ(childTags(top), "frame style");
}

TEST_F(ChartDocumentTest, LabelsReplaceEachOtherAndKeepLineBreaks) {
  const int chart = newChart();
  const int frame = cx->AddFrame(chart, 0, -1);
  const int title = cx->StyleString(CX_WORD_TITLE, 1);
  cx->AddLabel(chart, frame, title, str("first"));
  const int label = cx->AddLabel(chart, frame, title, str("Sepal length\\nby species"));
  DOMElement* owner = byId(chart, u"frame1");
  EXPECT_EQ(childTags(owner), "label");
  DOMElement* element = byId(chart, u"label_title_1");
  ASSERT_NE(element, nullptr);
  EXPECT_EQ(cx->getHandle(chart, element), label);
  EXPECT_EQ(cxtest::utf8(element->getTextContent()), "Sepal length\nby species");
  EXPECT_TRUE(messages().empty());
}

TEST_F(ChartDocumentTest, LabelWithCharactersIllegalInXmlIsRefused) {
  const int chart = newChart();
  const std::string before = cx->GetXmlBuffer(chart);
  EXPECT_EQ(cx->AddLabel(chart, 0, -1, str(std::string("bell\x07", 5))), -1);
  EXPECT_EQ(cx->AddFrame(chart, 0, str(std::string("a\x01", 2))), 1);  // automatic id instead
  EXPECT_NE(byId(chart, u"frame1"), nullptr);
  EXPECT_EQ(messages().size(), 2u);
  EXPECT_NE(cx->GetXmlBuffer(chart), before);
}

TEST_F(ChartDocumentTest, MetaIsMadeOnceAheadOfRelabels) {
  const int chart = newChart();
  const int frame = cx->AddFrame(chart, 0, -1);
  DOMElement* owner = byId(chart, u"frame1");
  owner->appendChild(cx->getChart(chart)->createElement(u"relabel"));
  const int meta = cx->AddMeta(chart, frame);
  EXPECT_EQ(meta, 2);
  EXPECT_EQ(cx->AddMeta(chart, frame), meta);
  EXPECT_EQ(childTags(owner), "meta relabel");
  EXPECT_EQ(cx->AddMeta(chart, 9), -1);
  EXPECT_EQ(messages(), std::vector<std::string>{"variable handle (9) out of range (0-3)"});
}

TEST_F(ChartDocumentTest, CopyAttributesChecksBothHandles) {
  const int chart = newChart();
  const int a = cx->AddFrame(chart, 0, str("a"));
  const int b = cx->AddFrame(chart, 0, str("b"));
  byId(chart, u"frame_a")->setAttribute(u"clip", u"true");
  EXPECT_EQ(cx->CopyAttributes(chart, a, 12), -1);
  EXPECT_EQ(cx->CopyAttributes(chart, -3, b), -1);
  EXPECT_EQ(messages(), (std::vector<std::string>{"toElement handle (12) out of range (0-3)",
                                                  "fromElement handle (-3) out of range (0-3)"}));
  EXPECT_EQ(attr(byId(chart, u"frame_b"), u"clip"), "");
  EXPECT_EQ(cx->CopyAttributes(chart, a, b), 0);
  EXPECT_EQ(attr(byId(chart, u"frame_b"), u"clip"), "true");
}

TEST_F(ChartDocumentTest, HandleTableGrowsWithoutLosingElements) {
  const int chart = newChart();
  // Past 66, 134 and 269 entries the table grows to 179, 359 and 719 buckets.
  for (int i = 1; i <= 400; ++i) ASSERT_EQ(cx->AddFrame(chart, 0, -1), i);
  int nextMeta = 401;
  for (int i : {1, 66, 67, 200, 400}) {
    DOMElement* frame = byId(chart, u"frame" + std::u16string(cxtest::widen(std::to_string(i))));
    ASSERT_NE(frame, nullptr) << i;
    EXPECT_EQ(cx->getHandle(chart, frame), i);
    EXPECT_EQ(cx->AddMeta(chart, i), nextMeta++);
  }
}

TEST_F(ChartDocumentTest, GetHandleOfAForeignElementIsMinusOne) {
  const int chart = newChart();
  DOMElement* stray = cx->getChart(chart)->createElement(u"frame");
  EXPECT_EQ(cx->getHandle(chart, stray), -1);
}

TEST_F(ChartDocumentTest, SetLogUnsafeTurnsOffTheSafeParameter) {
  const int chart = newChart();
  xercesc::DOMDocument* doc = cx->getChart(chart);
  auto make = [&](DOMElement* parent, const char16_t* tag) {
    DOMElement* e = doc->createElement(tag);
    parent->appendChild(e);
    return e;
  };
  DOMElement* x = make(root(chart), u"dimension");
  x->setAttribute(u"role", u"x");
  DOMElement* xSafe = make(make(x, u"scale"), u"parameter");
  xSafe->setAttribute(u"name", u"safe");
  xSafe->setAttribute(u"value", u"true");
  DOMElement* y = make(root(chart), u"dimension");
  y->setAttribute(u"role", u"y");
  DOMElement* scale = make(y, u"scale");
  make(scale, u"parameter")->setAttribute(u"name", u"base");
  DOMElement* ySafe = make(scale, u"parameter");
  ySafe->setAttribute(u"name", u"safe");
  ySafe->setAttribute(u"value", u"true");

  EXPECT_EQ(cx->SetLogUnsafe(chart), -1);  // -1 even on success
  EXPECT_EQ(attr(ySafe, u"value"), "false");
  EXPECT_EQ(attr(xSafe, u"value"), "true");
  EXPECT_TRUE(messages().empty());
}

TEST_F(ChartDocumentTest, FramesNestAsDeepAsTheHostReads) {
  const int chart = newChart();
  // The document element is the first level: 511 nested frames reach the
  // deepest level the host reads.
  int frame = 0;
  for (int level = 2; level <= ChartBase::kMaxDepth; ++level) {
    frame = cx->AddFrame(chart, frame, -1);
    ASSERT_GE(frame, 0) << "level " << level;
  }
  const std::string before = cx->GetXmlBuffer(chart);
  EXPECT_EQ(cx->AddFrame(chart, frame, -1), -1);
  EXPECT_EQ(cx->AddElementGroup(chart, frame, -1), -1);
  EXPECT_EQ(cx->AddLabel(chart, frame, -1, str("deep")), -1);
  EXPECT_EQ(messages(), (std::vector<std::string>{
                            "can't add frame deeper than 512 levels - frame",
                            "can't add elementGroup deeper than 512 levels - frame",
                            "can't add label deeper than 512 levels - frame",
                        }));
  EXPECT_TRUE(cx->GetXmlBuffer(chart) == before);  // a failure would print a megabyte
  // What was taken reads back: the chart ends and is sent.
  const int sent = cxh_sent_count();
  EXPECT_EQ(cx->EndChart(chart), 0);
  EXPECT_EQ(cxh_sent_count(), sent + 1);
}

TEST_F(ChartDocumentTest, ChildrenKeepTheirPlacesAcrossRemovalsAndDirectAppends) {
  const int chart = newChart();
  const int frame = cx->AddFrame(chart, 0, -1);
  cx->AddElement(chart, frame, str("point"), -1);
  cx->AddLabel(chart, frame, -1, str("first"));
  cx->AddDimension(chart, frame, CX_ROLE_X, -1);
  EXPECT_EQ(childTags(elementAt(chart, frame)), "dimension element label");
  // A new label takes the old one's place out; what follows is placed as if
  // it had never been there.
  cx->AddLabel(chart, frame, -1, str("second"));
  cx->AddGuide(chart, frame, str("line"), -1);
  cx->AddCoordinateTransform(chart, frame, str("polar"));
  cx->AddLabel(chart, frame, -1, str("third"));
  cx->AddDimension(chart, frame, CX_ROLE_Y, -1);
  EXPECT_EQ(childTags(elementAt(chart, frame)),
            "coordinateTransform dimension dimension element guide label");
  // Children appended through the document count as well.
  DOMElement* top = root(chart);
  top->appendChild(cx->getChart(chart)->createElement(u"style"));
  cx->AddFrame(chart, 0, -1);
  cx->AddDomain(chart, true);
  top->appendChild(cx->getChart(chart)->createElement(u"domain"));
  cx->AddDomain(chart, false);
  EXPECT_EQ(childTags(top), "domain domain frame frame style domain");
  EXPECT_TRUE(messages().empty());
}

TEST_F(ChartDocumentTest, WideChartsAreBuiltAndCompleted) {
  // Placing a frame used to read every earlier one, and completion counted
  // the frames anew for each graph it looked at: this chart took minutes,
  // past the suite's time limit.
  constexpr int kFrames = 40000;
  const int chart = newChart();
  for (int i = 0; i < kFrames; ++i) {
    ASSERT_GE(cx->AddDimension(chart, cx->AddFrame(chart, 0, -1), CX_ROLE_X, -1), 0);
  }
  EXPECT_EQ(cx->EndChart(chart), 0);
}

}  // namespace
