#include "whole_charts.h"

#include <gtest/gtest.h>

#include <fstream>

#include "chartxml/codes.h"
#include "chartxml/host/Platform.h"
#include "test_support.h"

namespace cxtest {
namespace {

int text(ChartXml& cx, const std::string& value) {
  return cx.NStringNoTranslate(value);
}

std::string peopleCsv(const std::string&) {
  return CHARTXML_TEST_DATA_DIR "/people.csv";
}

// People's id against their income, the mean per income coloured by sex,
// with a categorical domain sorted automatically.
std::vector<FedColumn> colouredMeanScatter(ChartXml& cx, int chart, int source) {
  const int x = cx.AddVariable(chart, source, 2, false);      // income
  const int y = cx.AddVariable(chart, source, 0, false);      // id
  const int colour = cx.AddVariable(chart, source, 1, true);  // sex
  const int frame = cx.AddFrame(chart, 0, text(cx, "graph_1"));
  const int point = cx.AddElement(chart, frame, CX_WORD_POINT, -1);
  const int position = cx.AddPosition(chart, point);
  cx.AddY(chart, position, y);
  cx.AddX(chart, position, x);  // x goes ahead of y
  cx.AddColor(chart, point, colour);
  EXPECT_GT(cx.AddStatistic(chart, point, CX_WORD_MEAN), 0);
  const int domain = cx.AddDomain(chart, true);
  const int sort = cx.AddSort(chart, domain);
  cx.SetSimpleSortMethod(chart, cx.AddSimpleSort(chart, sort), CX_WORD_AUTO);
  return {{x, 2}, {y, 0}, {colour, 1}};
}

// A scatter-plot matrix of sex and city in a data frame of its own.
std::vector<FedColumn> matrixScatter(ChartXml& cx, int chart, int source) {
  const int sex = cx.AddVariable(chart, source, 1, true);
  const int city = cx.AddVariable(chart, source, 3, true);
  const int frame = cx.AddFrame(chart, 0, text(cx, "data_1"));  // comes with a facet labeling
  cx.AddElement(chart, frame, CX_WORD_POINT, -1);
  buildMatrixSkeleton(cx, chart, frame, sex, city);
  return {{sex, 1}, {city, 3}};
}

std::string pointsCsv(const std::string& dir) {
  const std::string path = dir + "/points.csv";
  writePointsCsv(path);
  return path;
}

// A titled scatter of y by x, y noted as the 90th percentile of its values.
std::vector<FedColumn> percentileScatter(ChartXml& cx, int chart, int source) {
  const int x = cx.AddVariable(chart, source, 0, false);
  const int y = cx.AddVariable(chart, source, 1, false);
  const int graph = cx.AddFrame(chart, 0, text(cx, "graph_1"));
  cx.AddLabel(chart, graph, cx.StyleString(CX_WORD_TITLE, 1), text(cx, "Points"));
  const int point = cx.AddElement(chart, graph, CX_WORD_POINT, -1);
  const int position = cx.AddPosition(chart, point);
  EXPECT_GT(cx.AddX(chart, position, x), 0);
  EXPECT_GT(cx.AddY(chart, position, y), 0);
  EXPECT_EQ(cx.SetSummaryFunction(chart, y, CX_SUMMARY_PERCENTILE, 90.0, 0.0),
            CX_SUMMARY_PERCENTILE);
  return {{x, 0}, {y, 1}};
}

// A day's hours around a clock face: y = 10 + h mod 6 at hour h.
std::string hoursCsv(const std::string& dir) {
  const std::string path = dir + "/hours.csv";
  std::ofstream csv(path);
  csv << "hour,value\n";
  for (int h = 0; h < 24; ++h) csv << h << ',' << 10 + h % 6 << '\n';
  return path;
}

// The hours' values as points and a line in polar coordinates.
std::vector<FedColumn> polarPointsAndLine(ChartXml& cx, int chart, int source) {
  const int x = cx.AddVariable(chart, source, 0, false);
  const int y = cx.AddVariable(chart, source, 1, false);
  const int frame = cx.AddFrame(chart, 0, text(cx, "graph_1"));
  EXPECT_GT(cx.AddCoordinateTransform(chart, frame, CX_WORD_POLAR), 0);
  for (const int type : {CX_WORD_POINT, CX_WORD_LINE}) {
    const int position = cx.AddPosition(chart, cx.AddElement(chart, frame, type, -1));
    cx.AddX(chart, position, x);
    cx.AddY(chart, position, y);
  }
  return {{x, 0}, {y, 1}};
}

// Income by id in a panel per city, cities in reverse order, square cells.
std::vector<FedColumn> labelledFacets(ChartXml& cx, int chart, int source) {
  const int id = cx.AddVariable(chart, source, 0, false);
  const int income = cx.AddVariable(chart, source, 2, false);
  const int city = cx.AddVariable(chart, source, 3, true);
  const int frame = cx.AddFrame(chart, 0, text(cx, "graph_1"));
  const int position = cx.AddPosition(chart, cx.AddElement(chart, frame, CX_WORD_POINT, -1));
  cx.AddX(chart, position, id);
  cx.AddY(chart, position, income);
  EXPECT_GT(cx.AddFacetVariable(chart, cx.AddCoordinateFacet(chart, frame), CX_ROLE_X, city), 0);
  const int labeling = cx.AddFacetLabeling(chart, frame);
  EXPECT_EQ(cx.SetFacetLabelingCellAspect(chart, labeling, 1.0), labeling);
  EXPECT_GT(cx.AddFacetLabel(chart, labeling, -1, 1, true), 0);
  return {{id, 0}, {income, 2}, {city, 3}};
}

}  // namespace

const std::vector<WholeChart>& wholeCharts() {
  static const std::vector<WholeChart> kCharts = {
      {"coloured mean scatter", peopleCsv, colouredMeanScatter},
      {"scatter-plot matrix", peopleCsv, matrixScatter},
      {"percentile scatter", pointsCsv, percentileScatter},
      {"polar points and line", hoursCsv, polarPointsAndLine},
      {"labelled facets", peopleCsv, labelledFacets},
  };
  return kCharts;
}

const WholeChart& wholeChart(std::string_view name) {
  for (const WholeChart& chart : wholeCharts()) {
    if (chart.name == name) return chart;
  }
  ADD_FAILURE() << "no whole chart called " << name;
  static const WholeChart kNone{"", [](const std::string&) { return std::string(); },
                                [](ChartXml&, int, int) { return std::vector<FedColumn>{}; }};
  return kNone;
}

void buildMatrixSkeleton(ChartXml& cx, int chart, int frame, int sex, int city) {
  const int list1 = cx.BeginVariableList(chart), list2 = cx.BeginVariableList(chart);
  for (int v : {sex, city}) cx.AddToVariableList(chart, list1, v);
  for (int v : {city, sex}) cx.AddToVariableList(chart, list2, v);
  const int mx = cx.AddMatrixVariable(chart, list1);
  const int my = cx.AddMatrixVariable(chart, list2);  // reuses the label variables
  const int labeling = cx.AddFacetLabeling(chart, frame);
  const int sx = cx.StyleString(CX_WORD_MATRIXSCATTERX, 1);
  const int sy = cx.StyleString(CX_WORD_MATRIXSCATTERY, 1);
  cx.AddAxis(chart, cx.AddFacetLabel(chart, labeling, sx, 1, false), sx, false);
  cx.SetFacetLabelCellStyle(chart, cx.AddFacetLabel(chart, labeling, sy, 2, false), sy);
  cx.AddDimension(chart, frame, CX_ROLE_X, mx);
  cx.AddDimension(chart, frame, CX_ROLE_Y, my);
}

void writePointsCsv(const std::string& path) {
  std::ofstream csv(path);
  csv << "x,y\n";
  for (int i = 0; i < 1000; ++i) {
    csv << i << ',';
    if (i % 7 != 0) csv << i * 0.5;
    csv << '\n';
  }
}

void feedRows(ChartXml& cx, int chart, int source, VORN_DataSource& data,
              const std::vector<FedColumn>& columns) {
  for (int row = 0; row < data.RowCount(); ++row) {
    cx.AddRow(chart, source);
    for (const FedColumn& fed : columns) {
      if (data.GetVariable(fed.column)->IsString()) {
        const std::string value = data.GetString(row, fed.column);
        if (!value.empty()) cx.AddDataValue(chart, source, fed.variable, text(cx, value));
      } else {
        const double value = data.GetNumber(row, fed.column);
        if (value != kVornMissingValue) cx.AddDoubleDataValue(chart, source, fed.variable, value);
      }
    }
  }
}

int sendWholeChart(ChartXml& cx, int chart, const WholeChart& whole, const std::string& folder) {
  const std::string path = whole.data(folder);
  VORN_DataSource* data = openCsv(path.c_str());
  if (data == nullptr) return -2;
  cx.SetDataSource(chart, data);
  const int source = cx.AddSource(chart);
  feedRows(cx, chart, source, *data, whole.build(cx, chart, source));
  const int ended = cx.EndChart(chart);
  cxh_close(data);
  return ended;
}

}  // namespace cxtest
