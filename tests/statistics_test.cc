// Statistics, summary functions, aggregate variables and number formats
// through the facade; aggregates are read back from the chart's data feed.
#include <string>
#include <vector>

#include <xercesc/dom/DOMNodeList.hpp>

#include "chartxml/codes.h"
#include "chartxml/host/VarDataProcessor.h"
#include "test_support.h"

namespace {

using cxtest::attr;
using cxtest::childTags;
using cxtest::messages;
using cxtest::Messages;
using xercesc::DOMElement;

class StatisticTest : public cxtest::SourcedChartTest {
 protected:
  DOMElement* meta(int variable) {
    return static_cast<DOMElement*>(element(variable)->getElementsByTagName(u"meta")->item(0));
  }
  DOMElement* lastChild(int handle) {
    return static_cast<DOMElement*>(element(handle)->getLastChild());
  }
  VarDataProcessor& feed() { return *cx->getDataProcessor(chart); }
  static std::string range(int next) { return " out of range (0-" + std::to_string(next) + ")"; }
};

TEST_F(StatisticTest, StatisticsAndParameters) {
  const int frame = cx->AddFrame(chart, 0, -1);
  cx->AddLabel(chart, frame, -1, str("Title"));
  // A positional member put there directly: its builder is not this family's.
  element(frame)->appendChild(cx->getChart(chart)->createElement(u"y"));
  const int histogram = cx->AddStatistic(chart, frame, CX_WORD_HISTOGRAM);
  const int mean = cx->AddStatistic(chart, frame, str("mean"));
  EXPECT_EQ(childTags(element(frame)), "label statistic statistic y");
  EXPECT_EQ(attr(element(histogram), u"method"), "histogram");
  EXPECT_EQ(childTags(element(histogram)), "parameter");
  EXPECT_EQ(attr(lastChild(histogram), u"name"), "facetsShareSpecification");
  EXPECT_EQ(attr(lastChild(histogram), u"value"), "true");
  EXPECT_EQ(childTags(element(mean)), "");

  const int type = cx->AddParam(chart, histogram, CX_WORD_TYPE, str("hex"));
  EXPECT_EQ(type, mean + 1);
  EXPECT_EQ(lastChild(histogram), element(type));
  EXPECT_EQ(attr(element(type), u"name"), "type");
  EXPECT_EQ(attr(element(type), u"value"), "hex");
  EXPECT_TRUE(messages().empty());

  const int a = str("a");
  const int bad = str("\x1f");
  const std::string before = xml();
  const int next = type + 1;
  EXPECT_EQ(cx->AddStatistic(chart, next + 4, CX_WORD_HISTOGRAM), -1);
  EXPECT_EQ(cx->AddStatistic(chart, frame, -1), -1);
  EXPECT_EQ(cx->AddStatistic(chart, frame, bad), -1);
  EXPECT_EQ(cx->AddParam(chart, next, a, a), -1);
  EXPECT_EQ(cx->AddParam(chart, histogram, -1, a), -1);
  EXPECT_EQ(cx->AddParam(chart, histogram, a, -7), -1);
  EXPECT_EQ(cx->AddParam(chart, histogram, a, bad), -1);
  EXPECT_EQ(messages(),
            (Messages{
                "parent handle (" + std::to_string(next + 4) + ")" + range(next),
                "method handle out of range",
                "attribute method not set, its text holds a character not allowed in XML",
                "statistic handle (" + std::to_string(next) + ") names no element",
                "name handle out of range",
                "value handle out of range",
                "attribute value not set, its text holds a character not allowed in XML",
            }));
  EXPECT_EQ(xml(), before);
}

TEST_F(StatisticTest, BinWidthGoesToEveryHistogram) {
  EXPECT_EQ(cx->SetBinWidth(chart, 2.0), -1);  // no statistic at all
  const int frame = cx->AddFrame(chart, 0, -1);
  const int first = cx->AddStatistic(chart, frame, CX_WORD_HISTOGRAM);
  const int mean = cx->AddStatistic(chart, frame, str("mean"));
  const int second = cx->AddStatistic(chart, cx->AddFrame(chart, frame, -1), str("histogram"));
  const std::string before = xml();
  EXPECT_EQ(cx->SetBinWidth(chart, 0.0), -1);
  EXPECT_EQ(cx->SetBinWidth(chart, -1.5), -1);
  EXPECT_EQ(xml(), before);

  EXPECT_EQ(cx->SetBinWidth(chart, 0.1), 1);
  for (int histogram : {first, second}) {
    EXPECT_EQ(childTags(element(histogram)), "parameter parameter");
    EXPECT_EQ(attr(lastChild(histogram), u"name"), "bin-width");
    EXPECT_EQ(attr(lastChild(histogram), u"value"), "0.1");
  }
  EXPECT_EQ(childTags(element(mean)), "");
  // A later width goes beside the earlier one, not in its place.
  EXPECT_EQ(cx->SetBinWidth(chart, 1e21), 1);
  EXPECT_EQ(childTags(element(first)), "parameter parameter parameter");
  EXPECT_EQ(attr(lastChild(first), u"value"), "1e+21");
  EXPECT_TRUE(messages().empty());
}

TEST_F(StatisticTest, SummaryFunctionDescriptions) {
  std::string described;
  for (int code = -1; code <= 27; ++code) {
    const int variable = cx->AddVariable(chart, 1, 1, true);
    const int result = cx->SetSummaryFunction(chart, variable, code, 5, 0.75);
    described += std::to_string(code) + "=" +
                 (result == code ? attr(meta(variable), u"description") : "rejected") + " ";
  }
  EXPECT_EQ(described,
            "-1=customStatistic 0=rejected 1=numberOfCases 2=rejected 3=minimumValue "
            "4=maximumValue 5=validN 6=sumOfValues 7=cumulativeSum 8=meanOfValues "
            "9=standardDeviation 10=variance 11=medianOfValues 12=modeOfValues "
            "13=percentageOfCases 14=cumulativePercentageOfCases 15=numberOfCases "
            "16=cumulativeNumberOfCases 17=percentile;5 18=percentageBelow;5 "
            "19=percentageAbove;5 20=numberBelow;5 21=numberAbove;5 "
            "22=percentageInside;5;0.75 23=numberInside;5;0.75 24=rejected 25=gMedian;5 "
            "26=gPtile;5 27=rejected ");
  EXPECT_TRUE(messages().empty());
}

TEST_F(StatisticTest, SummaryFunctionIsSetOnce) {
  const int income = cx->AddVariable(chart, 1, 2, false);
  const int copy = cx->CopyVariable(chart, income);  // a copy has no meta
  const std::string before = xml();
  for (int rejected : {0, 2, 24, 27, -2}) {
    EXPECT_EQ(cx->SetSummaryFunction(chart, income, rejected, 1, 1), -1) << rejected;
    EXPECT_EQ(cx->SetSummaryFunction(chart, copy, rejected, 1, 1), -1) << rejected;
  }
  EXPECT_EQ(xml(), before);
  EXPECT_EQ(cx->SetSummaryFunction(chart, income, CX_SUMMARY_PERCENTAGE_INSIDE, 0.1, 1e20),
            CX_SUMMARY_PERCENTAGE_INSIDE);
  EXPECT_EQ(cx->SetSummaryFunction(chart, income, CX_SUMMARY_PERCENTILE, 50, 0),
            CX_SUMMARY_PERCENTILE);
  EXPECT_EQ(cx->SetSummaryFunction(chart, income, 0, 0, 0), 0);  // even a rejected code
  EXPECT_EQ(attr(meta(income), u"description"), "percentageInside;0.1;1e+20");
  EXPECT_EQ(cx->SetSummaryFunction(chart, copy, CX_SUMMARY_VALID_N, 0, 0), CX_SUMMARY_VALID_N);
  EXPECT_EQ(childTags(element(copy)), "meta");
  EXPECT_EQ(attr(meta(copy), u"description"), "validN");
  EXPECT_EQ(cx->SetSummaryFunction(chart, 99, CX_SUMMARY_NUMBER_OF_CASES, 0, 0), -1);
  EXPECT_EQ(messages(), Messages{"variable handle (99)" + range(copy + 2)});
}

TEST_F(StatisticTest, AggregatesAreVariablesTheFeedKnows) {
  cx->AddFrame(chart, 0, -1);                              // serial 1
  const int domain = cx->AddDomain(chart, false);          // serial 2
  const int income = cx->AddVariable(chart, 1, 2, false);  // serial 3
  const int mean = cx->AddAggregate(chart, income, CX_SUMMARY_MEAN_OF_VALUES, false,
                                    str("Mean\\nincome"), str("mean"), domain);
  EXPECT_EQ(childTags(root(chart)), "source variable variable domain frame");
  DOMElement* aggregate = element(mean);
  EXPECT_EQ(attr(aggregate, u"id"), "variable4");
  EXPECT_EQ(attr(aggregate, u"sourceName"), "V4");  // the serial its id took
  EXPECT_EQ(attr(aggregate, u"source"), "variable3");
  EXPECT_EQ(attr(aggregate, u"label"), "Mean\\nincome");  // as typed
  EXPECT_EQ(attr(aggregate, u"shortLabel"), "mean");
  EXPECT_EQ(attr(aggregate, u"domain"), "domain2");
  EXPECT_EQ(attr(aggregate, u"categorical"), "false");
  EXPECT_EQ(attr(meta(mean), u"creator"), "internal_aggregate");

  const int cases = cx->AddAggregate(chart, -1, CX_WORD_CASENUM, true, -1, -1, -1);
  const int count = cx->AddAggregate(chart, income, CX_WORD_COUNTNAME, true, -1, -1, -1);
  const int percent = cx->AddAggregate(chart, income, CX_WORD_PERCENTNAME, false, -1, -1, -1);
  EXPECT_EQ(attr(meta(cases), u"creator"), "external_system");
  EXPECT_FALSE(element(cases)->hasAttribute(u"source"));  // derived from no variable
  EXPECT_FALSE(meta(count)->hasAttribute(u"creator"));
  EXPECT_EQ(attr(meta(percent), u"creator"), "internal_aggregate");

  const int weight = cx->AddWeightAggregate(chart, income, str("Weight\\nfactor"), -1);
  EXPECT_EQ(attr(element(weight), u"label"), "Weight\nfactor");
  EXPECT_EQ(attr(element(weight), u"categorical"), "false");
  EXPECT_EQ(attr(meta(weight), u"weight"), "true");
  EXPECT_EQ(attr(meta(weight), u"creator"), "internal_aggregate");

  EXPECT_EQ(feed().VariableNames("source0"),
            (Messages{"V3", "V4", "casenum", "countname", "percentname", "weightname"}));
  ASSERT_EQ(cx->AddRow(chart, 1), 1);
  for (int variable : {mean, cases, weight}) {
    EXPECT_EQ(cx->AddDoubleDataValue(chart, 1, variable, variable + 0.5), 0);
  }
  EXPECT_EQ(feed().Number("source0", "V4", 0), mean + 0.5);
  EXPECT_EQ(feed().Number("source0", "casenum", 0), cases + 0.5);
  EXPECT_EQ(feed().Number("source0", "weightname", 0), weight + 0.5);
  EXPECT_TRUE(messages().empty());
}

TEST_F(StatisticTest, AggregateValuesFollowTheirVariablesSource) {
  const int second = cx->AddSource(chart);
  const int sex = cx->AddVariable(chart, second, 1, true);
  const int mean = cx->AddAggregate(chart, sex, CX_SUMMARY_MEAN_OF_VALUES, false, -1, -1, -1);
  const int count = cx->AddAggregate(chart, mean, CX_WORD_COUNTNAME, false, -1, -1, -1);
  EXPECT_EQ(feed().VariableNames("source1").size(), 3u);
  cx->AddRow(chart, second);
  EXPECT_EQ(cx->AddDoubleDataValue(chart, second, count, 3), 0);
  EXPECT_EQ(feed().Number("source1", "countname", 0), 3.0);
}

TEST_F(StatisticTest, AggregateFailuresAndExternalAggregates) {
  const int income = cx->AddVariable(chart, 1, 2, false);
  const std::string before = xml();
  const int next = income + 1;
  const int mean = CX_SUMMARY_MEAN_OF_VALUES;
  EXPECT_EQ(cx->AddAggregate(chart, income, mean, false, -2, -1, -1), -1);
  EXPECT_EQ(cx->AddAggregate(chart, income, mean, false, -1, 999999, -1), -1);
  EXPECT_EQ(cx->AddAggregate(chart, income, mean, false, -1, -1, 77), -1);
  EXPECT_EQ(cx->AddAggregate(chart, next, mean, false, -1, -1, -1), -1);
  EXPECT_EQ(cx->AddWeightAggregate(chart, income, -1, -3), -1);
  EXPECT_EQ(cx->SetAggregateExternal(chart, next), -1);
  EXPECT_EQ(messages(), (Messages{
                            "label handle out of range",
                            "shortLabel handle out of range",
                            "domain handle (77)" + range(next),
                            "sourceVariable handle (" + std::to_string(next) + ") names no element",
                            "shortLabel handle out of range",
                            "variable handle (" + std::to_string(next) + ") names no element",
                        }));
  EXPECT_EQ(xml(), before);
  EXPECT_EQ(feed().VariableNames("source0"), Messages{"V1"});

  // A label that XML cannot hold is left out; the aggregate is still made.
  cxh_clear_reports();
  const int made = cx->AddAggregate(chart, income, mean, false, str("a\x02"), -1, -1);
  EXPECT_FALSE(element(made)->hasAttribute(u"label"));
  EXPECT_EQ(messages(),
            Messages{"attribute label not set, its text holds a character not allowed in XML"});

  EXPECT_EQ(cx->SetAggregateExternal(chart, made), made - 1);  // its meta came first
  EXPECT_EQ(attr(meta(made), u"creator"), "external_aggregate");
  const int copy = cx->CopyVariable(chart, income);
  EXPECT_EQ(cx->SetAggregateExternal(chart, copy), copy + 1);  // a meta made once
  EXPECT_EQ(cx->SetAggregateExternal(chart, copy), copy + 1);
}

TEST_F(StatisticTest, NumberFormats) {
  const int frame = cx->AddFrame(chart, 0, -1);
  cx->AddLabel(chart, frame, -1, str("Title"));
  const int format = cx->AddNumberFormat(chart, frame);
  EXPECT_EQ(childTags(element(frame)), "label numberFormat");
  EXPECT_EQ(cx->SetNumberFormatPrefix(chart, format, str("$")), 0);
  EXPECT_EQ(cx->SetNumberFormatMaxFractionDigits(chart, format, str("2")), 0);
  EXPECT_EQ(attr(element(format), u"prefix"), "$");
  EXPECT_EQ(attr(element(format), u"maximumFractionDigits"), "2");

  const int x = str("x");
  const int bell = str("\x07");
  const std::string before = xml();
  const int next = format + 1;
  EXPECT_EQ(cx->SetNumberFormatPrefix(chart, frame, x), -1);  // a wrong kind: no report
  EXPECT_EQ(cx->SetNumberFormatMaxFractionDigits(chart, frame, x), -1);
  for (int digits : {-5, 0, 2}) {  // never anything to set
    EXPECT_EQ(cx->SetNumberFormatMinFractionDigits(chart, format, digits), -1);
  }
  EXPECT_EQ(cx->SetNumberFormatMinFractionDigits(chart + 9, -5, 0), -1);
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(cx->SetNumberFormatPrefix(chart, format, -3), -1);
  EXPECT_EQ(cx->SetNumberFormatMaxFractionDigits(chart, format, -3), -1);
  EXPECT_EQ(cx->SetNumberFormatPrefix(chart, 99, x), -1);
  EXPECT_EQ(cx->SetNumberFormatPrefix(chart, format, bell), -1);
  EXPECT_EQ(cx->AddNumberFormat(chart, next), -1);
  EXPECT_EQ(messages(),
            (Messages{
                "prefix handle out of range",
                "maximumFractionDigits handle out of range",
                "NumberFormat handle (99)" + range(next),
                "attribute prefix not set, its text holds a character not allowed in XML",
                "parent handle (" + std::to_string(next) + ") names no element",
            }));
  EXPECT_EQ(xml(), before);
}

}  // namespace
