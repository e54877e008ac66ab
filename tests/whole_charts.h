// The whole charts the library's suites build through the facade, each built
// in one place: the document tests compare what they make with the document
// they must produce, and the render suite feeds each one its data, ends it
// and draws what was sent.
#ifndef CHARTXML_TESTS_WHOLE_CHARTS_H_
#define CHARTXML_TESTS_WHOLE_CHARTS_H_

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "chartxml/ChartXml.h"
#include "chartxml/host/VORN_DataSource.h"

namespace cxtest {

// A variable of a built chart and the data-source column whose values it takes.
struct FedColumn {
  int variable = -1;
  int column = -1;
};

struct WholeChart {
  std::string name;
  // The path of the CSV the chart is built over, written into `dir` first
  // when the chart makes its own data.
  std::function<std::string(const std::string& dir)> data;
  // Builds the document of `chart`, whose data source is set and whose
  // source element is `source`. Returns the variables to feed, by column.
  std::function<std::vector<FedColumn>(ChartXml& cx, int chart, int source)> build;
};

// Every whole chart, in a fixed order.
const std::vector<WholeChart>& wholeCharts();
// The whole chart called `name`; a test fails (and a chart of no parts is
// returned) when there is none.
const WholeChart& wholeChart(std::string_view name);

// Builders the document tests call with handles of their own fixtures.
// A scatter-plot matrix of `sex` and `city` (categorical variables) in
// `frame`: its variable lists, blends, facet labels and dimensions.
void buildMatrixSkeleton(ChartXml& cx, int chart, int frame, int sex, int city);
// 1,000 cases of x = 0..999 and y = x / 2, every seventh y missing.
void writePointsCsv(const std::string& path);

// Feeds every row of `data` to `chart`: numbers as numbers, texts as texts,
// missing values left out.
void feedRows(ChartXml& cx, int chart, int source, VORN_DataSource& data,
              const std::vector<FedColumn>& columns);

// Builds `whole` in `chart` over its data (written into `folder`), feeds its
// rows and ends it, so that the host holds it as sent: EndChart's result, or
// -2 when the data cannot be opened.
int sendWholeChart(ChartXml& cx, int chart, const WholeChart& whole, const std::string& folder);

}  // namespace cxtest

#endif  // CHARTXML_TESTS_WHOLE_CHARTS_H_
