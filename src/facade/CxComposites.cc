// Entry points made of a fixed sequence of operations: charts with their
// frames, frames with labels or legends, dimensions with axes, scatter-plot
// matrices, 3-D back planes and descriptive texts.
//
// Each sequence stops at the first negative status and returns it. A handle
// that the caller asked for is written back as soon as it is known, so
// outputs reached before a failure keep their values.
#include "chartxml/cx.h"

#include <string>
#include <utility>

#include "chartxml/ChartXml.h"
#include "chartxml/codes.h"
#include "facade/CxArguments.h"

using chartxml::cx::given;
using chartxml::cx::guarded;
using chartxml::cx::integer;
using chartxml::cx::logical;
using chartxml::cx::put;
using chartxml::cx::report;
using chartxml::cx::run;
using chartxml::cx::Text;
using chartxml::cx::usable;

namespace {

// A 64-bit value read as an integer input.
int low32(std::int64_t value) {
  return integer(&value);
}

// Margins and mappings of a dimension, each -1 on all 64 bits when not given.
struct Limits {
  std::int64_t upperMargin;
  std::int64_t lowerMargin;
  std::int64_t upperMapping;
  std::int64_t lowerMapping;
};

constexpr std::int64_t kNotGiven = -1;

Limits marginsOnly(int margin) {
  return {margin, margin, kNotGiven, kNotGiven};
}

int applyLimits(ChartXml& cx, int chart, int dimension, const Limits& limits) {
  using Setter = int (ChartXml::*)(int, int, int);
  const std::pair<std::int64_t, Setter> steps[] = {
      {limits.upperMargin, &ChartXml::SetDimensionUpperMargin},
      {limits.lowerMargin, &ChartXml::SetDimensionLowerMargin},
      {limits.upperMapping, &ChartXml::SetDimensionUpperMapping},
      {limits.lowerMapping, &ChartXml::SetDimensionLowerMapping}};
  for (const auto& [value, setter] : steps) {
    if (!given(value)) continue;
    const int status = (cx.*setter)(chart, dimension, low32(value));
    if (status < 0) return status;
  }
  return dimension;
}

int createChart(ChartXml& cx, void* data, VORN_FortranDictionary*& dictionary,
                const std::string& procName) {
  const int chart = cx.CreateChart();
  if (chart >= 0) {
    cx.SetProcedure(chart, procName);
    cx.SetDataSource(chart, data, dictionary);
  }
  return chart;
}

struct FrameOutputs {
  std::int64_t* chart;
  std::int64_t* source;
  std::int64_t* graphFrame;
  std::int64_t* innerFrame;
};

// A chart with its source, frame "graph_1" under the root and an inner frame
// in it: the chart handle.
int framedChart(ChartXml& cx, void* data, VORN_FortranDictionary*& dictionary,
                const std::string& procName, const char* innerName, const FrameOutputs& out) {
  const int chart = put(out.chart, createChart(cx, data, dictionary, procName));
  if (chart < 0) return chart;
  const int source = put(out.source, cx.AddSource(chart));
  if (source < 0) return source;
  const int graphName = cx.NStringNoTranslate("graph_1");
  if (graphName < 0) return graphName;
  const int graph = put(out.graphFrame, cx.AddFrame(chart, 0, graphName));
  if (graph < 0) return graph;
  const int innerText = cx.NStringNoTranslate(innerName);
  if (innerText < 0) return innerText;
  const int inner = put(out.innerFrame, cx.AddFrame(chart, graph, innerText));
  return inner < 0 ? inner : chart;
}

int frameWithLabel(ChartXml& cx, int chart, int parent, int styleKind, int styleVariant,
                   int label) {
  const int style = cx.StyleString(styleKind, styleVariant);
  if (style < 0) return style;
  const int frame = cx.AddFrame(chart, parent, style);
  if (frame < 0) return frame;
  const int added = cx.AddLabel(chart, frame, style, label);
  return added < 0 ? added : frame;
}

// The frame, legend and style shared by the two legend-frame entry points:
// the legend handle.
int legendFrame(ChartXml& cx, int chart, int parent, int styleVariant, std::int64_t* styleOut,
                std::int64_t* legendOut) {
  const int style = put(styleOut, cx.StyleString(CX_WORD_LEGEND, styleVariant));
  if (style < 0) return style;
  const int frame = cx.AddFrame(chart, parent, style);
  if (frame < 0) return frame;
  return put(legendOut, cx.AddLegend(chart, frame, style));
}

int xyElement(ChartXml& cx, int chart, int parent, int styleVariant, int type, int x, int y,
              int styleKind, std::int64_t* elementOut) {
  const int style = cx.StyleString(styleKind, styleVariant);
  if (style < 0) return style;
  const int element = put(elementOut, cx.AddElement(chart, parent, type, style));
  if (element < 0) return element;
  const int addedX = cx.AddX(chart, element, x);
  if (addedX < 0) return addedX;
  const int addedY = cx.AddY(chart, element, y);
  return addedY < 0 ? addedY : element;
}

// Dimension 1, 2 or 3 with its axis and major ticks: the dimension handle.
// The number doubles as the vocabulary code of the axis style (axisx..axisz).
int dimensionAxis(ChartXml& cx, int chart, int parent, std::int64_t number, int detail,
                  bool opposite, std::int64_t* styleOut, std::int64_t* axisOut,
                  const Limits& limits) {
  if (number < 1 || number > 3) return -1;
  const int role = static_cast<int>(number);
  const int style = put(styleOut, cx.StyleString(role, 1));
  if (style < 0) return style;
  const int dimension = cx.AddDimension(chart, parent, role, detail);
  if (dimension < 0) return dimension;
  const int limited = applyLimits(cx, chart, dimension, limits);
  if (limited < 0) return limited;
  const int axis = put(axisOut, cx.AddAxis(chart, dimension, style, opposite));
  if (axis < 0) return axis;
  const int ticks = cx.AddMajorTicks(chart, axis, -1, false, -1, -1, false, -1);
  return ticks < 0 ? ticks : dimension;
}

struct AxisPair {
  int detail1, detail2;
  bool opposite1, opposite2;
  std::int64_t *style1Out, *axis1Out, *style2Out, *axis2Out;
};

int xyDimension(ChartXml& cx, int chart, int parent, const AxisPair& axes, const Limits& limits1,
                const Limits& limits2) {
  const int x = dimensionAxis(cx, chart, parent, 1, axes.detail1, axes.opposite1, axes.style1Out,
                              axes.axis1Out, limits1);
  if (x < 0) return x;
  const int y = dimensionAxis(cx, chart, parent, 2, axes.detail2, axes.opposite2, axes.style2Out,
                              axes.axis2Out, limits2);
  return y < 0 ? y : x;
}

// A parameter whose value is a number, written as CX_LRVALUE writes it.
int numberParam(ChartXml& cx, int chart, int owner, int name, double value) {
  const int text = cx.LRValue(value, -1);
  return text < 0 ? text : cx.AddParam(chart, owner, name, text);
}

// The rectangular 3-D transform, optionally a wire frame, and the three back
// planes: `parent`.
int backPlanes(ChartXml& cx, int chart, int parent, bool wireFrame) {
  const int transform = cx.AddCoordinateTransform(chart, parent, CX_WORD_RECTANGULAR);
  if (transform < 0) return transform;
  const std::pair<int, double> view[] = {
      {CX_WORD_THETA, 10.0}, {CX_WORD_PHI, -35.0}, {CX_WORD_ZETA, 0.0}, {CX_WORD_DISTANCE, 1.3}};
  for (const auto& [name, value] : view) {
    const int status = numberParam(cx, chart, transform, name, value);
    if (status < 0) return status;
  }
  if (wireFrame) {
    for (const char* step : {"dx", "dy"}) {
      const int name = cx.NStringNoTranslate(step);
      if (name < 0) return name;
      const int status = numberParam(cx, chart, transform, name, 0.1);
      if (status < 0) return status;
    }
    const int style = cx.StyleString(CX_WORD_FRAME, 1);
    if (style < 0) return style;
    const int frame = cx.AddGuide(chart, parent, CX_WORD_FRAME, style);
    if (frame < 0) return frame;
    const int complete = cx.AddParam(chart, frame, CX_WORD_COMPLETE, CX_WORD_FALSE);
    if (complete < 0) return complete;
  }
  const std::pair<int, int> planes[] = {
      {CX_WORD_YZPLANE, CX_WORD_X}, {CX_WORD_XZPLANE, CX_WORD_Y}, {CX_WORD_XYPLANE, CX_WORD_Z}};
  for (const auto& [styleCode, axisCode] : planes) {
    const int style = cx.StyleString(styleCode, 1);
    if (style < 0) return style;
    const int plane = cx.AddGuide(chart, parent, CX_WORD_PLANE, style);
    if (plane < 0) return plane;
    const int normal = cx.AddParam(chart, plane, CX_WORD_NORMAL, axisCode);
    if (normal < 0) return normal;
  }
  return parent;
}

// A matrix axis inside a facet label: the axis, with major ticks.
int facetAxis(ChartXml& cx, int chart, int labeling, int style, int level, int tickLength,
              int labelAngle, bool styleCell) {
  const int label = cx.AddFacetLabel(chart, labeling, style, level, false);
  if (label < 0) return label;
  if (styleCell) cx.SetFacetLabelCellStyle(chart, label, style);  // its result does not matter
  const int axis = cx.AddAxis(chart, label, style, false);
  if (axis < 0) return axis;
  const int ticks = cx.AddMajorTicks(chart, axis, -1, false, tickLength, labelAngle, false, -1);
  return ticks < 0 ? ticks : axis;
}

// A dimension of the matrix over a matrix variable, with its inner axis.
int matrixDimension(ChartXml& cx, int chart, int parent, int role, int variable,
                    const Limits& limits, int styleCode) {
  const int dimension = cx.AddDimension(chart, parent, role, variable);
  if (dimension < 0) return dimension;
  const int limited = applyLimits(cx, chart, dimension, limits);
  if (limited < 0) return limited;
  const int style = cx.StyleString(styleCode, 1);
  if (style < 0) return style;
  const int axis = cx.AddAxis(chart, dimension, style, false);
  if (axis < 0) return axis;
  const int ticks = cx.AddMajorTicks(chart, axis, -1, false, -1, -1, false, -1);
  return ticks < 0 ? ticks : dimension;
}

int scatterMatrix(ChartXml& cx, int chart, int parent, const std::int64_t* variables, int count,
                  std::int64_t* elementOut, const Limits& limits1, const Limits& limits2) {
  const int list1 = cx.BeginVariableList(chart);
  if (list1 < 0) return list1;
  const int list2 = cx.BeginVariableList(chart);
  if (list2 < 0) return list2;
  // The second list runs backwards: the y axis lists the variables bottom up.
  for (int i = 0; i < count; ++i) {
    const int added1 = cx.AddToVariableList(chart, list1, integer(&variables[i]));
    if (added1 < 0) return added1;
    const int added2 = cx.AddToVariableList(chart, list2, integer(&variables[count - 1 - i]));
    if (added2 < 0) return added2;
  }
  const int mx = cx.AddMatrixVariable(chart, list1);
  if (mx < 0) return mx;
  cx.SetVariableName(chart, mx, CX_WORD_X_AXIS);
  cx.SetVariableLabel(chart, mx, CX_WORD_X_AXIS);
  const int my = cx.AddMatrixVariable(chart, list2);
  if (my < 0) return my;
  cx.SetVariableName(chart, my, CX_WORD_Y_AXIS);
  cx.SetVariableLabel(chart, my, CX_WORD_Y_AXIS);

  const int labeling = cx.AddFacetLabeling(chart, parent);
  if (labeling < 0) return labeling;
  const int aspect = cx.SetFacetLabelingCellAspect(chart, labeling, 1.0);
  if (aspect < 0) return aspect;
  const int sx = cx.StyleString(CX_WORD_MATRIXSCATTERX, 1);
  if (sx < 0) return sx;
  const int zero = cx.LRValue(0.0, -1);
  if (zero < 0) return zero;
  const int ax = facetAxis(cx, chart, labeling, sx, 1, zero, -1, false);
  if (ax < 0) return ax;
  const int sy = cx.StyleString(CX_WORD_MATRIXSCATTERY, 1);
  if (sy < 0) return sy;
  const int angle = cx.LRValue(-90.0, -1);
  if (angle < 0) return angle;
  const int ay = facetAxis(cx, chart, labeling, sy, 2, zero, angle, true);
  if (ay < 0) return ay;

  const int dx = matrixDimension(cx, chart, parent, 1, mx, limits1, CX_WORD_MATRIXSCATTERINNERX);
  if (dx < 0) return dx;
  const int dy = matrixDimension(cx, chart, parent, 2, my, limits2, CX_WORD_MATRIXSCATTERINNERY);
  if (dy < 0) return dy;

  const int element =
      xyElement(cx, chart, parent, 1, CX_WORD_POINT, mx, my, CX_WORD_MATRIXSCATTER, elementOut);
  if (element < 0) return element;
  const int diagonal = cx.StyleString(CX_WORD_MATRIXSCATTER, 1);
  if (diagonal < 0) return diagonal;
  cx.AddFacetStyle(chart, element, CX_WORD_MATRIXSCATTERDIAGONAL,
                   diagonal);  // its result does not matter
  return element;
}

}  // namespace

extern "C" {

// ---- Procedure and charts -------------------------------------------------

int64_t CX_INIT(void* data, VORN_FortranDictionary** dictionary, const char* procName,
                const int64_t* procNameLength) {
  const Text name{procName, procNameLength};
  if (!usable(__func__, dictionary) || !usable(__func__, name)) return -1;
  // Initialize, not GetInstance: strings and data source then outlive charts.
  return guarded(__func__, [&]() -> int64_t {
    ChartXml* cx = ChartXml::Initialize();
    if (cx == nullptr) {
      report(std::string("no chart instance for ") + __func__, __LINE__);
      return -1;
    }
    cx->SetProcedure(-1, name.str());
    cx->SetDataSource(-1, data, *dictionary);
    return 0;
  });
}

int64_t CX_CREATECHART(void* data, VORN_FortranDictionary** dictionary, const char* procName,
                       const int64_t* procNameLength) {
  const Text name{procName, procNameLength};
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t { return createChart(cx, data, *dictionary, name.str()); },
      dictionary, name);
}

int64_t CX_CREATECHARTEX(void* data, VORN_FortranDictionary** dictionary, const char* procName,
                         const int64_t* procNameLength, int64_t* chartOut, int64_t* sourceOut,
                         int64_t* graphFrameOut, int64_t* dataFrameOut) {
  const Text name{procName, procNameLength};
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const int chart = framedChart(cx, data, *dictionary, name.str(), "data_1",
                                      {chartOut, sourceOut, graphFrameOut, dataFrameOut});
        if (chart < 0) return chart;
        // The clipping results overwrite the frame handles: callers rely on it.
        const int graph =
            put(graphFrameOut, cx.SetFrameClipping(chart, integer(graphFrameOut), true));
        if (graph < 0) return graph;
        const int inner =
            put(dataFrameOut, cx.SetFrameClipping(chart, integer(dataFrameOut), false));
        return inner < 0 ? inner : chart;
      },
      dictionary, name, chartOut, sourceOut, graphFrameOut, dataFrameOut);
}

int64_t CX_CREATEPIECHART(void* data, VORN_FortranDictionary** dictionary, const char* procName,
                          const int64_t* procNameLength, int64_t* chartOut, int64_t* sourceOut,
                          int64_t* graphFrameOut, int64_t* dataFrameOut) {
  const Text name{procName, procNameLength};
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const int chart = framedChart(cx, data, *dictionary, name.str(), "pie_1",
                                      {chartOut, sourceOut, graphFrameOut, dataFrameOut});
        if (chart < 0) return chart;
        const int inner =
            put(dataFrameOut, cx.SetFrameClipping(chart, integer(dataFrameOut), true));
        return inner < 0 ? inner : chart;
      },
      dictionary, name, chartOut, sourceOut, graphFrameOut, dataFrameOut);
}

// ---- Frames, legends and elements ----------------------------------------------

int64_t CX_ADDFRAMEWITHLABEL(const int64_t* chart, const int64_t* parent, const int64_t* styleKind,
                             const int64_t* styleVariant, const int64_t* label, const void*) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        return frameWithLabel(cx, integer(chart), integer(parent), integer(styleKind),
                              integer(styleVariant), integer(label));
      },
      chart, parent, styleKind, styleVariant, label);
}

int64_t CX_ADDSPLITHEADEREX(const int64_t* chart, const int64_t* parent, const int64_t* header,
                            const int64_t* flag) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const int text = cx.SplitHeader(integer(header), logical(flag));
        if (text < 0) return text;
        return frameWithLabel(cx, integer(chart), integer(parent), CX_WORD_SUBTITLE, 1, text);
      },
      chart, parent, header, flag);
}

int64_t CX_ADDLEGENDFRAME(const int64_t* chart, const int64_t* parent, const int64_t* target,
                          const int64_t* styleVariant, const int64_t* targetKind, const void*,
                          int64_t* styleOut, int64_t* legendOut) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const int legend = legendFrame(cx, integer(chart), integer(parent), integer(styleVariant),
                                       styleOut, legendOut);
        if (legend < 0) return legend;
        const int added = cx.AddLegendTarget(integer(chart), legend, integer(target),
                                             integer(styleOut), integer(targetKind));
        return added < 0 ? added : legend;
      },
      chart, parent, target, styleVariant, targetKind, styleOut, legendOut);
}

int64_t CX_ADDLEGENDFRAMEEX(const int64_t* chart, const int64_t* parent, const int64_t* target,
                            const int64_t* styleVariant, const int64_t* targetKind,
                            int64_t* styleOut, int64_t* legendOut) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const int legend = legendFrame(cx, integer(chart), integer(parent), integer(styleVariant),
                                       styleOut, legendOut);
        if (legend < 0) return legend;
        const int style = integer(styleOut);
        const int added =
            given(*targetKind)
                ? cx.AddLegendTargetEx(integer(chart), legend, integer(target), style,
                                       integer(targetKind))
                : cx.AddLegendTarget(integer(chart), legend, integer(target), style, -1);
        return added < 0 ? added : legend;
      },
      chart, parent, target, styleVariant, targetKind, styleOut, legendOut);
}

int64_t CX_ADDXYELEMENTEX(const int64_t* chart, const int64_t* parent, const int64_t* styleVariant,
                          const int64_t* type, const int64_t* x, const int64_t* y,
                          const int64_t* styleKind, int64_t* elementOut) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        return xyElement(cx, integer(chart), integer(parent), integer(styleVariant), integer(type),
                         integer(x), integer(y), integer(styleKind), elementOut);
      },
      chart, parent, styleVariant, type, x, y, styleKind, elementOut);
}

// ---- Dimensions and axes ---------------------------------------------------------

int64_t CX_ADDDIMENSIONAXIS(const int64_t* chart, const int64_t* parent,
                            const int64_t* dimensionNumber, const int64_t* detail,
                            const int64_t* opposite, int64_t* styleOut, int64_t* axisOut,
                            const int64_t* upperMargin, const int64_t* lowerMargin,
                            const int64_t* upperMapping, const int64_t* lowerMapping) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        return dimensionAxis(cx, integer(chart), integer(parent), *dimensionNumber, integer(detail),
                             logical(opposite), styleOut, axisOut,
                             {*upperMargin, *lowerMargin, *upperMapping, *lowerMapping});
      },
      chart, parent, dimensionNumber, detail, opposite, styleOut, axisOut, upperMargin, lowerMargin,
      upperMapping, lowerMapping);
}

int64_t CX_ADDXYDIMENSION(const int64_t* chart, const int64_t* parent, const int64_t* detail1,
                          const int64_t* detail2, const int64_t* opposite1,
                          const int64_t* opposite2, int64_t* style1Out, int64_t* axis1Out,
                          int64_t* style2Out, int64_t* axis2Out, const int64_t* upperMargin1,
                          const int64_t* lowerMargin1, const int64_t* upperMargin2,
                          const int64_t* lowerMargin2, const int64_t* upperMapping1,
                          const int64_t* lowerMapping1, const int64_t* upperMapping2,
                          const int64_t* lowerMapping2) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const AxisPair axes{integer(detail1),   integer(detail2), logical(opposite1),
                            logical(opposite2), style1Out,        axis1Out,
                            style2Out,          axis2Out};
        return xyDimension(cx, integer(chart), integer(parent), axes,
                           {*upperMargin1, *lowerMargin1, *upperMapping1, *lowerMapping1},
                           {*upperMargin2, *lowerMargin2, *upperMapping2, *lowerMapping2});
      },
      chart, parent, detail1, detail2, opposite1, opposite2, style1Out, axis1Out, style2Out,
      axis2Out, upperMargin1, lowerMargin1, upperMargin2, lowerMargin2, upperMapping1,
      lowerMapping1, upperMapping2, lowerMapping2);
}

int64_t CX_ADDXYDIMENSIONWITHAXIS(const int64_t* chart, const int64_t* parent,
                                  const int64_t* detail1, const int64_t* detail2,
                                  const int64_t* opposite1, const int64_t* opposite2,
                                  int64_t* style1Out, int64_t* axis1Out, int64_t* style2Out,
                                  int64_t* axis2Out) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const int margin = cx.NStringNoTranslate("5%");
        if (margin < 0) return margin;
        const AxisPair axes{integer(detail1),   integer(detail2), logical(opposite1),
                            logical(opposite2), style1Out,        axis1Out,
                            style2Out,          axis2Out};
        return xyDimension(cx, integer(chart), integer(parent), axes, marginsOnly(margin),
                           marginsOnly(margin));
      },
      chart, parent, detail1, detail2, opposite1, opposite2, style1Out, axis1Out, style2Out,
      axis2Out);
}

int64_t CX_ADDXYDIMAXISWITHSAMERATIO(const int64_t* chart, const int64_t* parent,
                                     const int64_t* detail1, const int64_t* detail2,
                                     const int64_t* opposite1, const int64_t* opposite2,
                                     const int64_t* sameRatio, int64_t* style1Out,
                                     int64_t* axis1Out, int64_t* style2Out, int64_t* axis2Out) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const int margin = cx.NStringNoTranslate("0%");
        if (margin < 0) return margin;
        const int c = integer(chart);
        const int x = dimensionAxis(cx, c, integer(parent), 1, integer(detail1), logical(opposite1),
                                    style1Out, axis1Out, marginsOnly(margin));
        if (x < 0) return x;
        const int y = dimensionAxis(cx, c, integer(parent), 2, integer(detail2), logical(opposite2),
                                    style2Out, axis2Out, marginsOnly(margin));
        if (y < 0) return y;
        for (const int dimension : {x, y}) {
          const int status = cx.SetDimensionSameRatio(c, dimension, logical(sameRatio));
          if (status < 0) return status;
        }
        return x;
      },
      chart, parent, detail1, detail2, opposite1, opposite2, sameRatio, style1Out, axis1Out,
      style2Out, axis2Out);
}

int64_t CX_ADDXYZBACKPLANES(const int64_t* chart, const int64_t* parent) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        return backPlanes(cx, integer(chart), integer(parent), false);
      },
      chart, parent);
}

int64_t CX_ADDXYZWIREFRAME(const int64_t* chart, const int64_t* parent) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        return backPlanes(cx, integer(chart), integer(parent), true);
      },
      chart, parent);
}

// ---- Domains and scatter-plot matrices -------------------------------------------

int64_t CX_ADDDOMAIN(const int64_t* chart, const void*, const void*, const int64_t* categorical,
                     const int64_t* sortMethod) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const int c = integer(chart);
        const int domain = cx.AddDomain(c, logical(categorical));
        if (domain == -1 || !given(*sortMethod)) return domain;
        const int sort = cx.AddSort(c, domain);
        if (sort == -1) return -1;
        const int simple = cx.AddSimpleSort(c, sort);
        if (simple == -1) return -1;
        // With a sort method the caller gets this status, not the domain.
        return cx.SetSimpleSortMethod(c, simple, integer(sortMethod));
      },
      chart, categorical, sortMethod);
}

int64_t CX_ADDSPLOMELEMENT(const int64_t* chart, const int64_t* parent, const int64_t* variables,
                           const int64_t* count, int64_t* elementOut) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const int margin = cx.NStringNoTranslate("15%");
        if (margin < 0) return margin;
        return scatterMatrix(cx, integer(chart), integer(parent), variables, integer(count),
                             elementOut, marginsOnly(margin), marginsOnly(margin));
      },
      chart, parent, variables, count, elementOut);
}

int64_t CX_ADDSPLOMELEMENTEX(const int64_t* chart, const int64_t* parent, const int64_t* variables,
                             const int64_t* count, int64_t* elementOut, const int64_t* upperMargin1,
                             const int64_t* lowerMargin1, const int64_t* upperMargin2,
                             const int64_t* lowerMargin2, const int64_t* upperMapping1,
                             const int64_t* lowerMapping1, const int64_t* upperMapping2,
                             const int64_t* lowerMapping2) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        return scatterMatrix(cx, integer(chart), integer(parent), variables, integer(count),
                             elementOut,
                             {*upperMargin1, *lowerMargin1, *upperMapping1, *lowerMapping1},
                             {*upperMargin2, *lowerMargin2, *upperMapping2, *lowerMapping2});
      },
      chart, parent, variables, count, elementOut, upperMargin1, lowerMargin1, upperMargin2,
      lowerMargin2, upperMapping1, lowerMapping1, upperMapping2, lowerMapping2);
}

// ---- Descriptive texts -----------------------------------------------------------

int64_t CX_WEIGHTINFO(const void*, const void*, const int64_t* variable, const int64_t* flag) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        if (integer(variable) <= 0) return -1;
        const int label = cx.VariableLabel(integer(variable));
        if (label < 0) return label;
        const int text = cx.CompositeString(logical(flag) ? "E61214^1" : "E61215^1");
        if (text < 0) return text;
        const int added = cx.AddParameter(text, label);
        return added < 0 ? added : cx.EndCompositeString(text);
      },
      variable, flag);
}

int64_t CX_SPLITVARIABLEINFO(const int64_t* chart, const int64_t* name, const int64_t* variable,
                             const int64_t* count, const double* numbers, const char* texts,
                             const int64_t* textWidth, const int64_t* maxLength,
                             const int64_t* showName, const int64_t* useKey) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const bool key = logical(useKey);
        if (integer(count) <= 0 || (key && !logical(showName))) return *name;
        int head = -1;
        if (given(*name)) {
          head = cx.CompositeString(key ? "E61219^1" : "^1 ^2");
          if (head < 0) return head;
          const int semicolon = key ? -1 : cx.NStringNoTranslate(";");
          if (!key && semicolon < 0) return semicolon;
          const int added = cx.AddParameter(head, integer(name));
          if (added < 0) return added;
          if (!key) {
            const int separated = cx.AddParameter(head, semicolon);
            if (separated < 0) return separated;
          }
          const int ended = cx.EndCompositeString(head);
          if (ended < 0) return ended;
        } else {
          head = key ? cx.NString("E61218") : cx.NStringNoTranslate(";");
          if (head < 0) return head;
        }
        const int info = cx.CompositeString("^1 ^2");
        if (info < 0) return info;
        const int headAdded = cx.AddParameter(info, head);
        if (headAdded < 0) return headAdded;
        const int list = cx.SplitList(integer(chart), integer(variable), integer(count), numbers,
                                      texts, integer(textWidth), integer(maxLength));
        if (list < 0) return list;
        const int listAdded = cx.AddParameter(info, list);
        return listAdded < 0 ? listAdded : cx.EndCompositeString(info);
      },
      chart, name, variable, count, numbers, Text{texts, textWidth}, maxLength, showName, useKey);
}

}  // extern "C"
