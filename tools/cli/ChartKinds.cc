#include "cli/ChartKinds.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/codes.h"
#include "cli/Progress.h"
#include "cli/Session.h"

namespace chartxml::cli {
namespace {

// The vocabulary codes the steps pass, as addresses the entry points can take.
namespace word {
constexpr int64_t kTitle = CX_WORD_TITLE;
constexpr int64_t kArea = CX_WORD_AREA;
constexpr int64_t kInterval = CX_WORD_INTERVAL;
constexpr int64_t kLine = CX_WORD_LINE;
constexpr int64_t kPoint = CX_WORD_POINT;
constexpr int64_t kPolar = CX_WORD_POLAR;
constexpr int64_t kColor = CX_WORD_COLOR;
constexpr int64_t kSimpleBar = CX_WORD_SIMPLEBAR;
constexpr int64_t kSimpleLine = CX_WORD_SIMPLELINE;
constexpr int64_t kHistogram = CX_WORD_HISTOGRAM;
constexpr int64_t kStack = CX_WORD_STACK;
constexpr int64_t kDodge = CX_WORD_DODGE;
constexpr int64_t kSimpleArea = CX_WORD_SIMPLEAREA;
constexpr int64_t kScatter = CX_WORD_SCATTER;
constexpr int64_t kClusteredBar = CX_WORD_CLUSTEREDBAR;
constexpr int64_t kPanel = CX_WORD_PANEL;
}  // namespace word

// Role codes of dimensions and facet variables.
constexpr int64_t kRoleX = CX_ROLE_X;
constexpr int64_t kRoleTheta = CX_ROLE_THETA;

constexpr int64_t kNone = -1;
constexpr int64_t kNo = 0;
constexpr int64_t kYes = 1;
constexpr int64_t kFirst = 1;  // style variant and id number of the first of a kind

void* const kAllOnes = reinterpret_cast<void*>(~std::uintptr_t{0});

// A duration is no point in time, and weekday and month names repeat: none of
// them is placed on a time line.
bool isDateType(int64_t format) {
  const int64_t type = CX_FORMAT_TYPE(format);
  return type >= CX_FORMAT_DATE_DMY && type <= CX_FORMAT_ISO_DATE_TIME &&
         type != CX_FORMAT_DURATION && type != CX_FORMAT_WEEKDAY && type != CX_FORMAT_MONTH_NAME;
}

// A step of the chart that failed, and why.
struct Failure {
  std::string step;
};

class ChartBuilder {
 public:
  ChartBuilder(const Table& table, VORN_FortranDictionary* dictionary, std::string_view procedure)
      : table_(table), dictionary_(dictionary), procedure_(procedure) {}

  int64_t chart() const { return chart_; }

  void build(const ChartRequest& request) {
    create(request.kind == Kind::kPie);
    title(request);
    switch (request.kind) {
      case Kind::kScatter:
        xyElement(request, word::kPoint, word::kScatter);
        break;
      case Kind::kLine:
        xyElement(request, word::kLine, word::kSimpleLine);
        break;
      case Kind::kArea:
        xyElement(request, word::kArea, word::kSimpleArea);
        break;
      case Kind::kBar:
        bars(request);
        break;
      case Kind::kHistogram:
        histogram(request);
        break;
      case Kind::kPie:
        pie(request);
        break;
      case Kind::kSplom:
        scatterPlotMatrix(request);
        break;
      case Kind::kScatter3d:
        scatter3d(request);
        break;
    }
    if (request.color >= 0) colorBy(request);
    if (request.panel >= 0) panelBy(request.panel);
    if (request.fit) fittedLine(*request.fit, request.x.front());
    if (request.yReference) referenceLine(*request.yReference);
    feed();
    if (!request.description.empty()) {
      const int64_t length = static_cast<int64_t>(request.description.size());
      need(CX_SETCHARTDESCRIPTION(&chart_, request.description.data(), &length),
           "CX_SETCHARTDESCRIPTION");
    }
  }

 private:
  // A failed entry point ends the chart: the library has reported why.
  static int64_t need(int64_t result, const char* step) {
    if (result < 0) throw Failure{step};
    return result;
  }

  static int64_t text(std::string_view value) {
    const int64_t length = static_cast<int64_t>(value.size());
    return need(CX_NSTRINGNOTRANSLATE(value.data(), &length), "CX_NSTRINGNOTRANSLATE");
  }

  // A message key's text in the output language, from the host's string tables.
  static int64_t translated(std::string_view key) {
    const int64_t length = static_cast<int64_t>(key.size());
    return need(CX_NSTRING(nullptr, key.data(), &length), "CX_NSTRING");
  }

  static int64_t styleString(int64_t word, int64_t variant) {
    return need(CX_STYLESTRING(&word, &variant), "CX_STYLESTRING");
  }

  // CX_CREATECHARTEX (or CX_CREATEPIECHART): the chart, its data source
  // element, the outer frame "graph_1" and the inner "data_1" (or "pie_1").
  void create(bool pie) {
    const int64_t length = static_cast<int64_t>(procedure_.size());
    if (pie) {
      need(CX_CREATEPIECHART(kAllOnes, &dictionary_, procedure_.data(), &length, &chart_, &source_,
                             &graph_, &data_),
           "CX_CREATEPIECHART");
    } else {
      need(CX_CREATECHARTEX(kAllOnes, &dictionary_, procedure_.data(), &length, &chart_, &source_,
                            &graph_, &data_),
           "CX_CREATECHARTEX");
    }
  }

  void title(const ChartRequest& request) {
    if (request.title.empty() && request.titleKey.empty()) return;
    const int64_t label =
        request.titleKey.empty() ? text(request.title) : translated(request.titleKey);
    need(CX_ADDFRAMEWITHLABEL(&chart_, &graph_, &word::kTitle, &kFirst, &label, nullptr),
         "CX_ADDFRAMEWITHLABEL");
  }

  // A variable for a column of the data source; every variable made is fed
  // with the rows. A categorical column's value labels become relabels.
  int64_t variable(int column, bool categorical) {
    const int64_t index = column;
    const int64_t isCategorical = categorical ? kYes : kNo;
    const int64_t handle =
        need(CX_ADDVARIABLE(&chart_, &source_, &index, &isCategorical), "CX_ADDVARIABLE");
    // -1 only says the column has no value labels.
    if (categorical) CX_ADDRELABELS(&chart_, &handle, &index);
    fed_.push_back({handle, column});
    return handle;
  }

  // x and y dimensions, each with an axis and margins of 5%.
  void xyAxes() {
    need(CX_ADDXYDIMENSIONWITHAXIS(&chart_, &data_, &kNone, &kNone, &kNo, &kNo, &xStyle_, &xAxis_,
                                   &yStyle_, &yAxis_),
         "CX_ADDXYDIMENSIONWITHAXIS");
  }

  void labelAxis(int64_t axis, std::string_view label) {
    const int64_t content = text(label);
    need(CX_ADDLABEL(&chart_, &axis, &kNone, &content), "CX_ADDLABEL");
  }

  // The statistic an element shows, noted also as the y variable's summary
  // function (y -1: the statistic counts cases).
  void statistic(int64_t element, int64_t y, const Stat& stat) {
    const int64_t method = stat.methodCode != 0 ? stat.methodCode : text(stat.name);
    need(CX_ADDSTATISTIC(&chart_, &element, &method), "CX_ADDSTATISTIC");
    if (y < 0) return;
    const int64_t code = stat.summaryCode;
    const double unused = 0.0;
    need(CX_SETSUMMARYFUNCTION(&chart_, &y, &code, &unused, &unused), "CX_SETSUMMARYFUNCTION");
  }

  // What the axis shows, as the dictionary labels the column.
  void labelAxis(int64_t axis, int column) {
    labelAxis(axis, table_.labelOf(static_cast<std::size_t>(column)));
  }

  // The x axis titled by the x column, the y axis by what y shows.
  void titleAxes(const ChartRequest& request) {
    labelAxis(xAxis_, request.x.front());
    labelAxis(yAxis_, yTitle(table_, request));
  }

  // Points, a line or an area of y by x.
  void xyElement(const ChartRequest& request, int64_t type, int64_t styleWord) {
    const int64_t x = variable(request.x.front(), false);
    const int64_t y = variable(request.y, false);
    xyAxes();
    titleAxes(request);
    need(CX_ADDXYELEMENTEX(&chart_, &data_, &kFirst, &type, &x, &y, &styleWord, &element_),
         "CX_ADDXYELEMENTEX");
    if (request.stat) statistic(element_, y, *request.stat);
  }

  // Bars of a statistic of y in each category of x (the mean unless told),
  // or of the count of cases without a y; clustered side by side by colour.
  void bars(const ChartRequest& request) {
    const int64_t x = variable(request.x.front(), true);
    xyAxes();
    titleAxes(request);
    const int64_t styleWord = request.color >= 0 ? word::kClusteredBar : word::kSimpleBar;
    int64_t y = kNone;
    if (request.y >= 0) {
      y = variable(request.y, false);
      need(CX_ADDXYELEMENTEX(&chart_, &data_, &kFirst, &word::kInterval, &x, &y, &styleWord,
                             &element_),
           "CX_ADDXYELEMENTEX");
    } else {
      const int64_t style = styleString(styleWord, kFirst);
      element_ = need(CX_ADDELEMENT(&chart_, &data_, &word::kInterval, &style), "CX_ADDELEMENT");
      need(CX_ADDX(&chart_, &element_, &x), "CX_ADDX");
    }
    statistic(element_, y, *statisticOf(request));
    if (request.color >= 0) {
      need(CX_SETELEMENTPOSITIONMODIFIER(&chart_, &element_, &word::kDodge),
           "CX_SETELEMENTPOSITIONMODIFIER");
    }
  }

  // Bars of the count of cases in bins of x; stacked when coloured.
  void histogram(const ChartRequest& request) {
    const int64_t x = variable(request.x.front(), false);
    xyAxes();
    const int64_t style = styleString(word::kHistogram, kFirst);
    element_ = need(CX_ADDELEMENT(&chart_, &data_, &word::kInterval, &style), "CX_ADDELEMENT");
    need(CX_ADDX(&chart_, &element_, &x), "CX_ADDX");
    need(CX_ADDSTATISTIC(&chart_, &element_, &word::kHistogram), "CX_ADDSTATISTIC");
    if (request.binWidth) need(CX_SETBINWIDTH(&chart_, &*request.binWidth), "CX_SETBINWIDTH");
    labelAxis(xAxis_, request.x.front());
    labelAxis(yAxis_, "Count");
    if (request.color >= 0) {
      need(CX_SETELEMENTPOSITIONMODIFIER(&chart_, &element_, &word::kStack),
           "CX_SETELEMENTPOSITIONMODIFIER");
    }
  }

  // Slices of a statistic of y (the sum unless told), or of the count of
  // cases, for each category of x: stacked intervals around a polar angle.
  void pie(const ChartRequest& request) {
    need(CX_ADDCOORDINATETRANSFORM(&chart_, &data_, &word::kPolar), "CX_ADDCOORDINATETRANSFORM");
    const int64_t slices = variable(request.x.front(), true);
    need(CX_ADDDIMENSION(&chart_, &data_, &kRoleTheta, &kNone), "CX_ADDDIMENSION");
    element_ = need(CX_ADDELEMENT(&chart_, &data_, &word::kInterval, &kNone), "CX_ADDELEMENT");
    const int64_t angle = request.y >= 0 ? variable(request.y, false) : slices;
    need(CX_ADDTHETA(&chart_, &element_, &angle), "CX_ADDTHETA");
    statistic(element_, request.y >= 0 ? angle : kNone, *statisticOf(request));
    need(CX_SETELEMENTPOSITIONMODIFIER(&chart_, &element_, &word::kStack),
         "CX_SETELEMENTPOSITIONMODIFIER");
    need(CX_ADDCOLOR(&chart_, &element_, &slices), "CX_ADDCOLOR");
    legend(request.x.front());
  }

  // Every pair of the columns in a grid of scatters.
  void scatterPlotMatrix(const ChartRequest& request) {
    std::vector<int64_t> variables;
    for (const int column : request.x) variables.push_back(variable(column, false));
    const int64_t count = static_cast<int64_t>(variables.size());
    need(CX_ADDSPLOMELEMENT(&chart_, &data_, variables.data(), &count, &element_),
         "CX_ADDSPLOMELEMENT");
  }

  // Points in three dimensions in front of the three back planes.
  void scatter3d(const ChartRequest& request) {
    const int64_t x = variable(request.x.front(), false);
    const int64_t y = variable(request.y, false);
    const int64_t z = variable(request.z, false);
    const int64_t margin = text("5%");
    const int columns[] = {request.x.front(), request.y, request.z};
    for (int64_t dimension = 1; dimension <= 3; ++dimension) {
      int64_t style = kNone;
      int64_t axis = kNone;
      need(CX_ADDDIMENSIONAXIS(&chart_, &data_, &dimension, &kNone, &kNo, &style, &axis, &margin,
                               &margin, &kNone, &kNone),
           "CX_ADDDIMENSIONAXIS");
      labelAxis(axis, columns[dimension - 1]);
    }
    need(CX_ADDXYZBACKPLANES(&chart_, &data_), "CX_ADDXYZBACKPLANES");
    need(CX_ADDXYELEMENTEX(&chart_, &data_, &kFirst, &word::kPoint, &x, &y, &word::kScatter,
                           &element_),
         "CX_ADDXYELEMENTEX");
    need(CX_ADDZ(&chart_, &element_, &z), "CX_ADDZ");
  }

  // A scale colour goes as a scale variable: the chart engine then draws a
  // continuous colour and a gradient legend.
  void colorBy(const ChartRequest& request) {
    const int64_t color = variable(request.color, !request.colorScale);
    need(CX_ADDCOLOR(&chart_, &element_, &color), "CX_ADDCOLOR");
    if (request.kind != Kind::kPie) legend(request.color);
  }

  // A legend of the element's colours in a frame of its own, titled
  // "LABEL key" from the string tables.
  void legend(int column) {
    int64_t style = kNone;
    int64_t legend = kNone;
    need(CX_ADDLEGENDFRAME(&chart_, &graph_, &element_, &kFirst, &word::kColor, nullptr, &style,
                           &legend),
         "CX_ADDLEGENDFRAME");
    const std::string_view pattern = "E61219^1";
    const int64_t patternLength = static_cast<int64_t>(pattern.size());
    const int64_t composite =
        need(CX_COMPOSITESTRING(pattern.data(), &patternLength), "CX_COMPOSITESTRING");
    const int64_t index = column;
    const int64_t label = need(CX_VARIABLELABEL(&index), "CX_VARIABLELABEL");
    need(CX_ADDPARAMETER(&composite, &label), "CX_ADDPARAMETER");
    const int64_t heading = need(CX_ENDCOMPOSITESTRING(&composite), "CX_ENDCOMPOSITESTRING");
    need(CX_ADDLABEL(&chart_, &legend, &kNone, &heading), "CX_ADDLABEL");
  }

  // One panel for each category of the column, side by side.
  void panelBy(int column) {
    const int64_t panel = variable(column, true);
    const int64_t facet = need(CX_ADDCOORDINATEFACET(&chart_, &data_), "CX_ADDCOORDINATEFACET");
    need(CX_ADDFACETVARIABLE(&chart_, &facet, &kRoleX, &panel), "CX_ADDFACETVARIABLE");
    const int64_t labeling = need(CX_ADDFACETLABELING(&chart_, &data_), "CX_ADDFACETLABELING");
    const int64_t style = styleString(word::kPanel, kFirst);
    need(CX_ADDFACETLABEL(&chart_, &labeling, &style, &kFirst, &kNo), "CX_ADDFACETLABEL");
  }

  // The fitted curve as a function line through the frame; a date x gives
  // the formula that measures x from the calendar's start.
  void fittedLine(const fit::Curve& curve, int xColumn) {
    const int64_t column = xColumn;
    const int64_t dateAxis = isDateType(CX_GETVARIABLEFORMAT(&chart_, &column)) ? kYes : kNo;
    const double a = curve.a();
    const double b = curve.b();
    const double c = curve.c();
    const double d = curve.d();
    const int64_t* id = &kFirst;
    switch (curve.family) {
      case fit::Family::kLinear:
        need(CX_ADDYOFXLINEAR(&chart_, &data_, id, &a, &b, &dateAxis), "CX_ADDYOFXLINEAR");
        break;
      case fit::Family::kLogarithmic:
        need(CX_ADDYOFXLOGARITHMIC(&chart_, &data_, id, &a, &b, &dateAxis),
             "CX_ADDYOFXLOGARITHMIC");
        break;
      case fit::Family::kInverse:
        need(CX_ADDYOFXINVERSE(&chart_, &data_, id, &a, &b, &dateAxis), "CX_ADDYOFXINVERSE");
        break;
      case fit::Family::kQuadratic:
        need(CX_ADDYOFXQUADRATIC(&chart_, &data_, id, &a, &b, &c, &dateAxis),
             "CX_ADDYOFXQUADRATIC");
        break;
      case fit::Family::kCubic:
        need(CX_ADDYOFXCUBIC(&chart_, &data_, id, &a, &b, &c, &d, &dateAxis), "CX_ADDYOFXCUBIC");
        break;
      case fit::Family::kCompound:
        need(CX_ADDYOFXCOMPOUND(&chart_, &data_, id, &a, &b, &dateAxis), "CX_ADDYOFXCOMPOUND");
        break;
      case fit::Family::kPower:
        need(CX_ADDYOFXPOWER(&chart_, &data_, id, &a, &b, &dateAxis), "CX_ADDYOFXPOWER");
        break;
      case fit::Family::kS:
        need(CX_ADDYOFXS(&chart_, &data_, id, &a, &b, &dateAxis), "CX_ADDYOFXS");
        break;
      case fit::Family::kGrowth:
        need(CX_ADDYOFXGROWTH(&chart_, &data_, id, &a, &b, &dateAxis), "CX_ADDYOFXGROWTH");
        break;
      case fit::Family::kExponential:
        need(CX_ADDYOFXEXPONENTIAL(&chart_, &data_, id, &a, &b, &dateAxis),
             "CX_ADDYOFXEXPONENTIAL");
        break;
      case fit::Family::kLogistic:
        need(CX_ADDYOFXLOGISTIC(&chart_, &data_, id, &a, &b, &c, &dateAxis), "CX_ADDYOFXLOGISTIC");
        break;
    }
  }

  void referenceLine(double y) {
    const int64_t value = need(CX_DOUBLE(&y), "CX_DOUBLE");
    need(CX_ADDYREFERENCELINE(&chart_, &data_, &value, &kFirst), "CX_ADDYREFERENCELINE");
  }

  // The rows, case by case: a row, then each variable's value in it. Texts
  // go as string handles, one handle for each distinct text.
  void feed() {
    std::unordered_map<std::string, int64_t> texts;
    Progress progress(stderr, table_.rows(), "feeding rows");
    for (std::size_t row = 0; row < table_.rows(); ++row) {
      progress.update(row);
      need(CX_ADDROW(&chart_, &source_), "CX_ADDROW");
      for (const Fed& fed : fed_) {
        const Column& column = table_.column(static_cast<std::size_t>(fed.column));
        if (column.numeric) {
          const double value = column.numbers[row];
          if (std::isnan(value)) continue;  // missing: no value in the row
          need(CX_ADDDOUBLEDATAVALUE(&chart_, &source_, &fed.handle, &value),
               "CX_ADDDOUBLEDATAVALUE");
          continue;
        }
        const std::string& value = column.texts[row];
        if (value.empty()) continue;
        auto [it, fresh] = texts.try_emplace(value, kNone);
        if (fresh) it->second = text(value);
        need(CX_ADDDATAVALUE(&chart_, &source_, &fed.handle, &it->second), "CX_ADDDATAVALUE");
      }
    }
  }

  struct Fed {
    int64_t handle;
    int column;
  };

  const Table& table_;
  VORN_FortranDictionary* dictionary_;
  std::string_view procedure_;
  int64_t chart_ = kNone;
  int64_t source_ = kNone;
  int64_t graph_ = kNone;
  int64_t data_ = kNone;
  int64_t element_ = kNone;
  int64_t xStyle_ = kNone;
  int64_t xAxis_ = kNone;
  int64_t yStyle_ = kNone;
  int64_t yAxis_ = kNone;
  std::vector<Fed> fed_;
};

}  // namespace

std::optional<int> buildChart(const Table& table, VORN_FortranDictionary* dictionary,
                              std::string_view procedure, const ChartRequest& request,
                              std::string& error) {
  const int mark = cxh_report_count();
  ChartBuilder builder(table, dictionary, procedure);
  try {
    builder.build(request);
  } catch (const Failure& failure) {
    error =
        "building the " + std::string(kindName(request.kind)) + " chart failed at " + failure.step;
    const std::string reports = reportsSince(mark);
    if (!reports.empty()) error += ": " + reports;
    if (builder.chart() >= 0) {
      const int64_t chart = builder.chart();
      CX_KILLCHART(&chart);
    }
    return std::nullopt;
  }
  // Nothing the library reports is expected of a chart built here.
  const int64_t chart = builder.chart();
  if (cxh_report_count() > mark) {
    error = "the library reported problems with the " + std::string(kindName(request.kind)) +
            " chart: " + reportsSince(mark);
    CX_KILLCHART(&chart);
    return std::nullopt;
  }
  if (CX_ENDCHART(&chart) != 0) {
    error = "the " + std::string(kindName(request.kind)) + " chart was not sent";
    const std::string reports = reportsSince(mark);
    if (!reports.empty()) error += ": " + reports;
    return std::nullopt;
  }
  return cxh_sent_count();
}

}  // namespace chartxml::cli
