// Scatter: fuel consumption by weight for thirty cars, coloured by size class,
// described through the ChartXml class.
#include <cstdint>
#include <cstdio>

#include "chartxml/ChartXml.h"
#include "chartxml/codes.h"
#include "guide_support.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s DATA_DIR OUT_DIR\n", argv[0]);
    return 2;
  }
  static guide_table cars;
  if (guide_read(argv[1], "cars.csv", &cars) != 0) return 1;
  void* const carsSource = guide_open(argv[1], "cars.csv");
  if (carsSource == nullptr) return 1;
  // The columns of cars.csv.
  const int kSize = 1, kWeight = 2, kConsumption = 4;

  //! [create]
  ChartXml* cx = ChartXml::Initialize();
  // The all-ones data pointer says that the dictionary is itself the data
  // source, whose variables are then numbered by column from 0.
  void* const allOnes = reinterpret_cast<void*>(~std::uintptr_t{0});
  auto* dictionary = static_cast<VORN_FortranDictionary*>(carsSource);
  const int chart = cx->CreateChart();
  cx->SetProcedure(chart, "GUIDE");
  cx->SetDataSource(chart, allOnes, dictionary);
  const int source = cx->AddSource(chart);
  //! [create]

  //! [frames]
  // The outer frame holds the title, the data frame and the legend.
  const int graph = cx->AddFrame(chart, 0, cx->NStringNoTranslate("graph_1"));
  const int data = cx->AddFrame(chart, graph, cx->NStringNoTranslate("data_1"));
  const int titleStyle = cx->StyleString(CX_WORD_TITLE, 1);
  const int titleFrame = cx->AddFrame(chart, graph, titleStyle);
  cx->AddLabel(chart, titleFrame, titleStyle, cx->String("Fuel consumption of thirty cars"));
  //! [frames]

  //! [variables]
  const int weight = cx->AddVariable(chart, source, kWeight, false);
  const int consumption = cx->AddVariable(chart, source, kConsumption, false);
  const int size = cx->AddVariable(chart, source, kSize, true);
  //! [variables]

  //! [axes]
  // One dimension for each role, each with an axis titled by the column's
  // label from the dictionary, its ticks, and 5% of room beyond the data.
  const int margin = cx->String("5%");
  const struct {
    int role, style, column;
  } axes[] = {{CX_ROLE_X, CX_WORD_AXISX, kWeight}, {CX_ROLE_Y, CX_WORD_AXISY, kConsumption}};
  for (const auto& a : axes) {
    const int dimension = cx->AddDimension(chart, data, a.role, -1);
    cx->SetDimensionLowerMargin(chart, dimension, margin);
    cx->SetDimensionUpperMargin(chart, dimension, margin);
    const int axis = cx->AddAxis(chart, dimension, cx->StyleString(a.style, 1), false);
    cx->AddMajorTicks(chart, axis, -1, false, -1, -1, false, -1);
    cx->AddLabel(chart, axis, -1, cx->VariableLabel(a.column));
  }
  //! [axes]

  //! [element]
  const int points =
      cx->AddElement(chart, data, CX_WORD_POINT, cx->StyleString(CX_WORD_SCATTER, 1));
  cx->AddX(chart, points, weight);
  cx->AddY(chart, points, consumption);
  cx->AddColor(chart, points, size);
  // The legend of the colours in a frame of its own, titled "Size class key"
  // through a composite string of the string tables.
  const int legendStyle = cx->StyleString(CX_WORD_LEGEND, 1);
  const int legend = cx->AddLegend(chart, cx->AddFrame(chart, graph, legendStyle), legendStyle);
  cx->AddLegendTarget(chart, legend, points, -1, CX_WORD_COLOR);
  const int heading = cx->CompositeString("E61219^1");
  cx->AddParameter(heading, cx->VariableLabel(kSize));
  cx->AddLabel(chart, legend, -1, cx->EndCompositeString(heading));
  //! [element]

  //! [rows]
  for (int row = 0; row < cars.rows; ++row) {
    cx->AddRow(chart, source);
    cx->AddDoubleDataValue(chart, source, weight, guide_number(&cars, row, kWeight));
    cx->AddDoubleDataValue(chart, source, consumption, guide_number(&cars, row, kConsumption));
    cx->AddDataValue(chart, source, size, cx->String(cars.cell[row][kSize]));
  }
  //! [rows]

  //! [send]
  const int status = cx->EndChart(chart);
  //! [send]
  const int saved = guide_save(argv[2], "scatter");
  ChartXml::Terminate();
  cxh_close(carsSource);
  return status != 0 || saved != 0;
}
