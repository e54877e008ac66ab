// Domains through the facade: where domains and their parts go, references
// between domains and variables, sorts, and failures that leave the document
// as it was.
#include <string>
#include <vector>

#include <xercesc/dom/DOMNodeList.hpp>

#include "chartxml/codes.h"
#include "test_support.h"

namespace {

using cxtest::attr;
using cxtest::childTags;
using cxtest::messages;
using cxtest::Messages;
using xercesc::DOMElement;

class DomainTest : public cxtest::FacadeTest {
 protected:
  void SetUp() override {
    FacadeTest::SetUp();
    chart = newChart();
  }
  DOMElement* element(int handle) { return elementAt(chart, handle); }
  // A variable without a data source: an aggregate of nothing.
  int variable(bool categorical) {
    return cx->AddAggregate(chart, -1, CX_SUMMARY_MEAN_OF_VALUES, categorical, -1, -1, -1);
  }
  std::string xml() { return cx->GetXmlBuffer(chart); }

  int chart = -1;
};

TEST_F(DomainTest, DomainsAndTheirPartsKeepTheirPlaces) {
  cx->AddFrame(chart, 0, -1);          // serial 1
  const int byValue = variable(true);  // serial 2
  const int domain = cx->AddDomain(chart, true);
  const int other = cx->AddDomain(chart, true);
  EXPECT_EQ(childTags(root(chart)), "variable domain domain frame");
  EXPECT_EQ(attr(element(domain), u"id"), "domain3");
  EXPECT_EQ(attr(element(domain), u"categorical"), "true");
  EXPECT_FALSE(element(domain)->hasAttribute(u"style"));
  EXPECT_EQ(attr(element(cx->AddDomain(chart, false)), u"categorical"), "false");

  cx->AddNumberFormat(chart, domain);
  const int toDomain = cx->AddDomainReference(chart, domain, other);
  const int toVariable = cx->AddDomainReference(chart, domain, byValue);
  cx->AddSort(chart, domain);
  const int interval = cx->AddIntervalEx(chart, domain, str("0"), str("10"));
  const int open = cx->AddIntervalEx(chart, domain, -1, CX_WORD_MAX);
  // Sorts go ahead of formats, intervals ahead of sorts and references, and
  // references last.
  EXPECT_EQ(childTags(element(domain)),
            "interval interval sort numberFormat domainReference domainReference");
  EXPECT_EQ(attr(element(toDomain), u"domain"), "domain4");
  EXPECT_EQ(attr(element(toVariable), u"variable"), "variable2");
  EXPECT_EQ(attr(element(interval), u"min"), "0");
  EXPECT_EQ(attr(element(interval), u"max"), "10");
  EXPECT_FALSE(element(open)->hasAttribute(u"min"));
  EXPECT_EQ(attr(element(open), u"max"), "max");
  EXPECT_TRUE(messages().empty());
}

TEST_F(DomainTest, ReferenceFailures) {
  const int domain = cx->AddDomain(chart, true);  // domain1
  const int scale = variable(false);
  const int frame = cx->AddFrame(chart, 0, -1);
  const std::string before = xml();
  const std::string next = std::to_string(frame + 1);
  EXPECT_EQ(cx->AddDomainReference(chart, domain, scale), -1);
  EXPECT_EQ(cx->AddDomainReference(chart, frame, domain), -1);
  EXPECT_EQ(cx->AddDomainReference(chart, domain, frame), -1);
  EXPECT_EQ(cx->AddDomainReference(chart, 99, domain), -1);
  EXPECT_EQ(cx->AddDomainReference(chart, domain, frame + 1), -1);
  EXPECT_EQ(messages(), (Messages{
                            "domainReference (variable2) categorical value of false is not "
                            "consistent with that of the parent( domain1) value of true",
                            "can't add domainReference to anything but domain - frame",
                            "domainReference must refer to a domain or variable frame",
                            "parent handle (99) out of range (0-" + next + ")",
                            "domain handle (" + next + ") names no element",
                        }));
  EXPECT_EQ(cxtest::reports().front().source, "backend/chartxml/src/chart");
  EXPECT_EQ(xml(), before);

  // A target without the attribute compares as empty text.
  cxh_clear_reports();
  element(scale)->removeAttribute(u"categorical");
  EXPECT_EQ(cx->AddDomainReference(chart, domain, scale), -1);
  EXPECT_EQ(messages(), Messages{"domainReference (variable2) categorical value of  is not "
                                 "consistent with that of the parent( domain1) value of true"});
}

TEST_F(DomainTest, IntervalAndSortFailures) {
  const int domain = cx->AddDomain(chart, true);
  const int frame = cx->AddFrame(chart, 0, -1);
  const int one = str("1");
  const int bad = str("a\x01");  // not allowed in XML
  const std::string before = xml();
  EXPECT_EQ(cx->AddIntervalEx(chart, frame, one, -1), -1);
  EXPECT_EQ(cx->AddIntervalEx(chart, domain, -5, -1), -1);
  EXPECT_EQ(cx->AddIntervalEx(chart, domain, -1, bad + 2), -1);
  EXPECT_EQ(cx->AddIntervalEx(chart, 50, -1, -1), -1);
  EXPECT_EQ(cx->AddIntervalEx(chart, domain, bad, -1), -1);
  EXPECT_EQ(cx->AddSort(chart, frame), -1);
  EXPECT_EQ(cx->SetDomainDescending(chart, frame, true), -1);
  EXPECT_EQ(cx->SetSortDescending(chart, domain, true), -1);
  EXPECT_EQ(cx->AddSimpleSort(chart, domain), -1);
  EXPECT_EQ(cx->AddStatisticSort(chart, domain, domain, -1), -1);
  EXPECT_EQ(messages(),
            (Messages{
                "can't add interval to anything but domain - frame",
                "min handle out of range",
                "max handle out of range",
                "element handle (50) out of range (0-" + std::to_string(frame + 1) + ")",
                "attribute min not set, its text holds a character not allowed in XML",
                "can't add sort to anything but domain - frame",
                "can't set descending attribute for anything but a domain frame",
                "can't set descending attribute for anything but a sort domain",
                "can't add simpleSort to anything but sort - domain",
                "can't add statisticSort to anything but sort - domain",
            }));
  EXPECT_EQ(xml(), before);
}

TEST_F(DomainTest, DescendingMakesOneSortAndReusesIt) {
  const int domain = cx->AddDomain(chart, true);
  const int sort = cx->AddNumberFormat(chart, domain) + 1;  // the handle the sort will get
  EXPECT_EQ(cx->SetDomainDescending(chart, domain, true), domain);
  EXPECT_EQ(cx->SetDomainDescending(chart, domain, false), domain);
  EXPECT_EQ(childTags(element(domain)), "sort numberFormat");
  ASSERT_NE(element(sort), nullptr);
  EXPECT_EQ(attr(element(sort), u"descending"), "false");
  EXPECT_EQ(cx->SetSortDescending(chart, sort, true), sort);
  EXPECT_EQ(attr(element(sort), u"descending"), "true");
}

TEST_F(DomainTest, SimpleAndStatisticSorts) {
  const int sort = cx->AddSort(chart, cx->AddDomain(chart, true));
  const int byValue = variable(true);
  const int byMean = variable(false);
  const int simple = cx->AddSimpleSort(chart, sort);
  const int statistic = cx->AddStatisticSort(chart, sort, byValue, byMean);
  const int plain = cx->AddStatisticSort(chart, sort, byValue, -1);
  EXPECT_EQ(childTags(element(sort)), "simpleSort statisticSort statisticSort");
  EXPECT_EQ(cx->SetSimpleSortMethod(chart, simple, str("natural")), 0);
  EXPECT_EQ(attr(element(simple), u"method"), "natural");
  EXPECT_EQ(attr(element(statistic), u"sourceVariable"), attr(element(byValue), u"id"));
  EXPECT_EQ(attr(element(statistic), u"statVariable"), attr(element(byMean), u"id"));
  EXPECT_FALSE(element(plain)->hasAttribute(u"statVariable"));
  EXPECT_TRUE(messages().empty());

  const std::string before = xml();
  const int next = plain + 1;
  EXPECT_EQ(cx->SetSimpleSortMethod(chart, sort, str("natural")), -1);  // wrong kind: no report
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(cx->SetSimpleSortMethod(chart, simple, -2), -1);
  EXPECT_EQ(cx->AddStatisticSort(chart, sort, byValue, next + 3), -1);
  EXPECT_EQ(cx->AddStatisticSort(chart, sort, next, -1), -1);
  EXPECT_EQ(cx->AddSimpleSort(chart, next), -1);
  EXPECT_EQ(messages(), (Messages{
                            "method handle out of range",
                            "statVariable handle (" + std::to_string(next + 3) +
                                ") out of range (0-" + std::to_string(next) + ")",
                            "sourceVariable handle (" + std::to_string(next) + ") names no element",
                            "sort handle (" + std::to_string(next) + ") names no element",
                        }));
  EXPECT_EQ(xml(), before);
}

}  // namespace
