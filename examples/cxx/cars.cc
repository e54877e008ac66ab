// A procedure written in C++: reads cars.csv (model, weight, mpg,
// transmission) and sends two charts through the ChartXml class,
//   1. mpg by weight, one point per car, coloured by transmission;
//   2. bars of the mean mpg of each transmission;
// into an output folder, where the host's sink writes each chart's document
// (chart-NNNN.xml) and data (chart-NNNN.source0.csv). Built with the
// renderer (CHARTXML_EXAMPLE_RENDER), it also draws each chart as a PNG.
//
// usage: cars DATA.csv OUTPUT_DIR
//
// No exception leaves a ChartXml operation: a failure returns -1 after the
// library has reported why to the host's report log. This program turns the
// first failed step into an exception of its own, caught in main, which
// prints the log.
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "chartxml/ChartXml.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/codes.h"
#ifdef CHARTXML_EXAMPLE_RENDER
#include "chartxml/render.h"
#endif

namespace {

// The columns of cars.csv, 0-based, as the host's data source numbers them.
enum Column { kModel, kWeight, kMpg, kTransmission };

struct Car {
  double weight = 0;
  double mpg = 0;
  bool manual = false;
};

// A step of the chart that failed; the host's report log says why.
struct StepFailed {
  std::string step;
};

int need(int status, const char* step) {
  if (status < 0) throw StepFailed{step};
  return status;
}

void printReports() {
  for (int i = 0; i < cxh_report_count(); ++i) {
    std::fprintf(stderr, "  %s:%d: %s\n", cxh_report_source(i), cxh_report_line(i),
                 cxh_report_message(i));
  }
}

// The rows of the file. The host reads the same file for the columns'
// names, labels and formats, but hands no values back: the procedure feeds
// the rows itself. Nothing on failure, which is printed with file and line.
std::optional<std::vector<Car>> readCars(const std::string& path) {
  std::ifstream in(path);
  if (!in) {
    std::fprintf(stderr, "cars: cannot open %s: %s\n", path.c_str(),
                 std::generic_category().message(errno).c_str());
    return std::nullopt;
  }
  std::vector<Car> cars;
  std::string line;
  std::getline(in, line);  // the header
  for (int number = 2; std::getline(in, line); ++number) {
    std::array<std::string, 4> fields;
    std::istringstream row(line);
    for (std::string& field : fields) std::getline(row, field, ',');
    Car car;
    try {
      std::size_t used = 0;
      car.weight = std::stod(fields[kWeight], &used);
      if (used != fields[kWeight].size()) throw std::invalid_argument("weight");
      car.mpg = std::stod(fields[kMpg], &used);
      if (used != fields[kMpg].size()) throw std::invalid_argument("mpg");
    } catch (const std::exception&) {  // stod's invalid_argument and out_of_range
      std::fprintf(stderr, "cars: %s:%d: WEIGHT and MPG must be numbers\n", path.c_str(), number);
      return std::nullopt;
    }
    if (fields[kTransmission] != "manual" && fields[kTransmission] != "automatic") {
      std::fprintf(stderr, "cars: %s:%d: the transmission is automatic or manual, not '%s'\n",
                   path.c_str(), number, fields[kTransmission].c_str());
      return std::nullopt;
    }
    car.manual = fields[kTransmission] == "manual";
    cars.push_back(car);
  }
  if (in.bad() || cars.empty()) {
    std::fprintf(stderr, "cars: %s: %s\n", path.c_str(), in.bad() ? "read error" : "no rows");
    return std::nullopt;
  }
  return cars;
}

// One chart of the cars: its frames, axes and rows. The handles are the
// library's; every step is checked.
class CarsChart {
 public:
  CarsChart(ChartXml& cx, VORN_FortranDictionary* dictionary, const std::string& title) : cx_(cx) {
    chart_ = need(cx_.CreateChart(), "CreateChart");
    cx_.SetProcedure(chart_, "CARS");
    // All-ones data: "the dictionary is the data source itself".
    void* const allOnes = reinterpret_cast<void*>(~std::uintptr_t{0});
    cx_.SetDataSource(chart_, allOnes, dictionary);
    source_ = need(cx_.AddSource(chart_), "AddSource");
    graph_ = need(cx_.AddFrame(chart_, 0, text("graph_1")), "AddFrame");
    data_ = need(cx_.AddFrame(chart_, graph_, text("data_1")), "AddFrame");
    const int titleStyle = need(cx_.StyleString(CX_WORD_TITLE, 1), "StyleString");
    const int titleFrame = need(cx_.AddFrame(chart_, graph_, titleStyle), "AddFrame");
    need(cx_.AddLabel(chart_, titleFrame, titleStyle, text(title)), "AddLabel");
  }

  // A variable for a column; each one made is fed with the rows.
  int variable(Column column, bool categorical) {
    const int handle = need(cx_.AddVariable(chart_, source_, column, categorical), "AddVariable");
    fed_.push_back({handle, column});
    return handle;
  }

  // x and y dimensions, each with an axis titled by the given text and
  // margins of 5%, so that no point sits on an axis.
  void axes(int xTitle, int yTitle) {
    const int margin = text("5%");
    for (const auto& [role, title] : {std::pair{CX_ROLE_X, xTitle}, std::pair{CX_ROLE_Y, yTitle}}) {
      const int style = need(cx_.StyleString(role, 1), "StyleString");
      const int dimension = need(cx_.AddDimension(chart_, data_, role, -1), "AddDimension");
      need(cx_.SetDimensionUpperMargin(chart_, dimension, margin), "SetDimensionUpperMargin");
      need(cx_.SetDimensionLowerMargin(chart_, dimension, margin), "SetDimensionLowerMargin");
      const int axis = need(cx_.AddAxis(chart_, dimension, style, false), "AddAxis");
      need(cx_.AddMajorTicks(chart_, axis, -1, false, -1, -1, false, -1), "AddMajorTicks");
      need(cx_.AddLabel(chart_, axis, -1, title), "AddLabel");
    }
  }

  // A column's label from the data dictionary, else its name.
  int label(Column column) { return need(cx_.VariableLabel(column), "VariableLabel"); }

  // An element of a type with its style, x and y.
  int element(int type, int styleWord, int x, int y) {
    const int style = need(cx_.StyleString(styleWord, 1), "StyleString");
    const int element = need(cx_.AddElement(chart_, data_, type, style), "AddElement");
    need(cx_.AddX(chart_, element, x), "AddX");
    need(cx_.AddY(chart_, element, y), "AddY");
    return element;
  }

  // A legend of the element's colours, beside the data frame.
  void legend(int element, Column column) {
    const int style = need(cx_.StyleString(CX_WORD_LEGEND, 1), "StyleString");
    const int frame = need(cx_.AddFrame(chart_, graph_, style), "AddFrame");
    const int legend = need(cx_.AddLegend(chart_, frame, style), "AddLegend");
    need(cx_.AddLegendTarget(chart_, legend, element, style, CX_WORD_COLOR), "AddLegendTarget");
    need(cx_.AddLabel(chart_, legend, -1, label(column)), "AddLabel");
  }

  int chart() const { return chart_; }

  // The rows, one per car, then the chart completed and sent.
  void send(const std::vector<Car>& cars) {
    const int texts[] = {text("automatic"), text("manual")};  // one handle per distinct text
    for (const Car& car : cars) {
      need(cx_.AddRow(chart_, source_), "AddRow");
      for (const auto& [handle, column] : fed_) {
        const int status = column == kTransmission
                               ? cx_.AddDataValue(chart_, source_, handle, texts[car.manual])
                               : cx_.AddDoubleDataValue(chart_, source_, handle,
                                                        column == kWeight ? car.weight : car.mpg);
        need(status, "AddDataValue");
      }
    }
    need(cx_.EndChart(chart_), "EndChart");
  }

  // A text shown as it is (not looked up in the string tables): its handle.
  int text(const std::string& value) {
    return need(cx_.NStringNoTranslate(value), "NStringNoTranslate");
  }

 private:
  struct Fed {
    int handle;
    Column column;
  };
  ChartXml& cx_;
  int chart_ = -1, source_ = -1, graph_ = -1, data_ = -1;
  std::vector<Fed> fed_;
};

// Chart 1: a point per car, mpg by weight, coloured by transmission.
void scatter(ChartXml& cx, VORN_FortranDictionary* dictionary, const std::vector<Car>& cars) {
  CarsChart chart(cx, dictionary, "Fuel use by weight");
  const int weight = chart.variable(kWeight, false);
  const int mpg = chart.variable(kMpg, false);
  const int transmission = chart.variable(kTransmission, true);
  chart.axes(chart.label(kWeight), chart.label(kMpg));
  const int points = chart.element(CX_WORD_POINT, CX_WORD_SCATTER, weight, mpg);
  need(cx.AddColor(chart.chart(), points, transmission), "AddColor");
  chart.legend(points, kTransmission);
  chart.send(cars);
}

// Chart 2: a bar per transmission, as high as the mean mpg of its cars; the
// host's chart engine computes the means from the rows.
void meanBars(ChartXml& cx, VORN_FortranDictionary* dictionary, const std::vector<Car>& cars) {
  CarsChart chart(cx, dictionary, "Mean fuel use by transmission");
  const int transmission = chart.variable(kTransmission, true);
  const int mpg = chart.variable(kMpg, false);
  chart.axes(chart.label(kTransmission), chart.text("Mean miles per US gallon"));
  const int bars = chart.element(CX_WORD_INTERVAL, CX_WORD_SIMPLEBAR, transmission, mpg);
  need(cx.AddStatistic(chart.chart(), bars, CX_WORD_MEAN), "AddStatistic");
  // The y variable notes the same summary, for the chart's texts.
  need(cx.SetSummaryFunction(chart.chart(), mpg, CX_SUMMARY_MEAN_OF_VALUES, 0.0, 0.0),
       "SetSummaryFunction");
  chart.send(cars);
}

// Closes the host's data source however main leaves.
struct DataSource {
  VORN_FortranDictionary* handle;
  ~DataSource() { cxh_close(handle); }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s DATA.csv OUTPUT_DIR\n", argv[0]);
    return 2;
  }
  const std::string csv = argv[1];
  const std::string out = argv[2];
  std::error_code error;
  std::filesystem::create_directories(out, error);
  if (error) {
    std::fprintf(stderr, "cars: cannot make %s: %s\n", out.c_str(), error.message().c_str());
    return 1;
  }
  const std::optional<std::vector<Car>> cars = readCars(csv);
  if (!cars) return 1;

  // The sink writes each sent chart into OUT; the data source gives the
  // library the columns' names, labels and formats.
  cxh_set_output_dir(out.c_str());
  cxh_set_quiet(1);  // this program prints the reports itself
  DataSource source{static_cast<VORN_FortranDictionary*>(cxh_open_csv(csv.c_str()))};
  if (source.handle == nullptr) {
    std::fprintf(stderr, "cars: the host cannot read %s:\n", csv.c_str());
    printReports();
    return 1;
  }
  ChartXml* cx = ChartXml::Initialize();
  if (cx == nullptr) {
    std::fprintf(stderr, "cars: no chart instance (out of memory)\n");
    return 1;
  }
  try {
    scatter(*cx, source.handle, *cars);
    meanBars(*cx, source.handle, *cars);
  } catch (const StepFailed& failure) {
    std::fprintf(stderr, "cars: %s failed; the host reported:\n", failure.step.c_str());
    printReports();
    ChartXml::Terminate();
    return 1;
  }
  ChartXml::Terminate();

  int status = 0;
  for (int i = 0; i < cxh_sent_count(); ++i) {
    std::printf("chart %d: data in %s\n", i + 1, cxh_sent_data_path(i, "source0"));
#ifdef CHARTXML_EXAMPLE_RENDER
    const std::string picture = out + "/cars-" + std::to_string(i + 1) + ".png";
    if (cxr_render_sent(i, picture.c_str(), nullptr) != 0) {
      std::fprintf(stderr, "cars: %s\n", cxr_error());
      status = 1;
    } else {
      std::printf("chart %d: drawn in %s\n", i + 1, picture.c_str());
    }
#endif
  }
  return status;
}
