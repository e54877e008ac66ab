// The vocabulary codes: the predefined string handles 1..156 through which
// callers that pass only integers name the fixed words of the chart
// description. Codes 46 and 124 are unassigned.
#include <iterator>
#include <string>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/ChartXml.h"
#include "chartxml/codes.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/KytoUni.h"

namespace {

struct Code {
  int code;
  const char16_t* text;
};

// Codes 11..156 made from a token or a literal, in the order of insertion
// (146 follows 42). The four translated codes are filled separately.
constexpr Code kTokens[] = {
    {CX_WORD_DATA, KytoUni::_data},
    {CX_WORD_ELEMENT, KytoUni::_element},
    {CX_WORD_FOOTNOTE, ChartBase::_footnote},
    {CX_WORD_GRAPH, KytoUni::_graph},
    {CX_WORD_LEGEND, KytoUni::_legend},
    {CX_WORD_SUBTITLE, ChartBase::_subtitle},
    {CX_WORD_TITLE, ChartBase::_title},
    {CX_WORD_AREA, KytoUni::_area},
    {CX_WORD_CONTOUR, u"contour"},
    {CX_WORD_INTERVAL, KytoUni::_interval},
    {CX_WORD_LINE, KytoUni::_line},
    {CX_WORD_PATH, KytoUni::_path},
    {CX_WORD_POINT, KytoUni::_point},
    {CX_WORD_SCHEMA, KytoUni::_schema},
    {CX_WORD_TILE, ChartBase::_tile},
    {CX_WORD_AUTO, KytoUni::_auto},
    {CX_WORD_CENTER, KytoUni::_center},
    {CX_WORD_NEGATIVE, u"negative"},
    {CX_WORD_POSITIVE, u"positive"},
    {CX_WORD_TRANSPOSE, u"transpose"},
    {CX_WORD_POLAR, u"polar"},
    {CX_WORD_INSIDE, KytoUni::_inside},
    {CX_WORD_OUTSIDE, KytoUni::_outside},
    {CX_WORD_CROSS, KytoUni::_cross},
    {CX_WORD_COLOR, KytoUni::_color},
    {CX_WORD_STYLE_BY, u"styleBy"},
    {CX_WORD_NEST, KytoUni::_nest},
    {CX_WORD_BLEND, KytoUni::_blend},
    {CX_WORD_EXACT, KytoUni::_exact},
    {CX_WORD_NICE, KytoUni::_nice},
    {CX_WORD_SIMPLEBAR, ChartBase::_simplebar},
    {CX_WORD_STACKEDBAR, ChartBase::_stackedbar},
    {CX_WORD_CLUSTEREDBAR, ChartBase::_clusteredbar},
    {CX_WORD_SIMPLELINE, ChartBase::_simpleline},
    {CX_WORD_HISTOGRAM, u"histogram"},
    {CX_WORD_AREABAR, u"areabar"},
    {CX_WORD_BINS, ChartBase::_bins},
    {CX_WORD_MIN, KytoUni::_min},
    {CX_WORD_MAX, KytoUni::_max},
    {CX_WORD_REFERENCE_LINE, ChartBase::_referenceLine},
    {CX_WORD_X1, ChartBase::_x1},
    {CX_WORD_Y1, ChartBase::_y1},
    {CX_WORD_X2, ChartBase::_x2},
    {CX_WORD_Y2, ChartBase::_y2},
    {CX_WORD_SERIES, ChartBase::_series},
    {CX_WORD_NMV, ChartBase::_nmv},
    {CX_WORD_WGT, ChartBase::_wgt},
    {CX_WORD_ELEMENT_GROUP, u"elementGroup"},
    {CX_WORD_BOXPLOT, ChartBase::_boxplot},
    {CX_WORD_TUKEY_INNER_FENCE, u"tukeyInnerFence"},
    {CX_WORD_TUKEY_HINGES, u"tukeyHinges"},
    {CX_WORD_MEDIAN, KytoUni::_median},
    {CX_WORD_TUKEY_OUTLIERS, u"tukeyOutliers"},
    {CX_WORD_TUKEY_EXTREMES, u"tukeyExtremes"},
    {CX_WORD_RANGE, KytoUni::_range},
    {CX_WORD_RANGEBAR, ChartBase::_rangebar},
    {CX_WORD_ERRORBAR, ChartBase::_errorbar},
    {CX_WORD_DIFFERENCELINE, ChartBase::_differenceline},
    {CX_WORD_TYPE, KytoUni::_type},
    {CX_WORD_NORMAL, KytoUni::_normal},
    {CX_WORD_DISTRIBUTION, KytoUni::_distribution},
    {CX_WORD_CONTROLCHART_AVERAGE, ChartBase::_controlchart_Average},
    {CX_WORD_CONTROLCHART_LCL, ChartBase::_controlchart_LCL},
    {CX_WORD_CONTROLCHART_LSPEC, ChartBase::_controlchart_LSpec},
    {CX_WORD_CONTROLCHART_LINE, ChartBase::_controlchart_line},
    {CX_WORD_CONTROLCHART_MARKER, ChartBase::_controlchart_marker},
    {CX_WORD_CONTROLCHART_UCL, ChartBase::_controlchart_UCL},
    {CX_WORD_CONTROLCHART_USPEC, ChartBase::_controlchart_USpec},
    {CX_WORD_BARMARGIN, ChartBase::_barmargin},
    {CX_WORD_GROUPBARMARGIN, ChartBase::_groupbarmargin},
    {CX_WORD_BOXPLOTMARGIN, ChartBase::_boxplotmargin},
    {CX_WORD_HISTOGRAMMARGIN, ChartBase::_histogrammargin},
    {CX_WORD_ISOTROPIC, ChartBase::_isotropic},
    {CX_WORD_NONE, KytoUni::_none},
    {CX_WORD_STACK, KytoUni::_stack},
    {CX_WORD_DODGE, KytoUni::_dodge},
    {CX_WORD_MINUS_INTERSECTION, KytoUni::_minusIntersection},
    {CX_WORD_MATRIXSCATTER, ChartBase::_matrixscatter},
    {CX_WORD_MATRIXSCATTERX, ChartBase::_matrixscatterx},
    {CX_WORD_MATRIXSCATTERY, ChartBase::_matrixscattery},
    {CX_WORD_NATURAL, KytoUni::_natural},
    {CX_WORD_SIMPLEAREA, ChartBase::_simplearea},
    {CX_WORD_STACKEDAREA, ChartBase::_stackedarea},
    {CX_WORD_SCATTER, ChartBase::_scatter},
    {CX_WORD_BIPLOT_LINE, ChartBase::_biplot_line},
    {CX_WORD_BIPLOT_POINT, ChartBase::_biplot_point},
    {CX_WORD_TRIPLOT_LINE, ChartBase::_triplot_line},
    {CX_WORD_TRIPLOT_POINT, ChartBase::_triplot_point},
    {CX_WORD_CENTROID, ChartBase::_centroid},
    {CX_WORD_DROPDOWNLINE, ChartBase::_dropdownline},
    {CX_WORD_STYLE_CYCLE_DEFAULT, ChartBase::_styleCycleDefault},
    {CX_WORD_RECTANGULAR, u"rectangular"},
    {CX_WORD_THETA, KytoUni::_theta},
    {CX_WORD_PHI, KytoUni::_phi},
    {CX_WORD_FRAME, KytoUni::_frame},
    {CX_WORD_PLANE, u"plane"},
    {CX_WORD_COMPLETE, KytoUni::_complete},
    {CX_WORD_FALSE, KytoUni::_false},
    {CX_WORD_SUM, KytoUni::_sum},
    {CX_WORD_CUMULATIVE_SUM, KytoUni::_cumulativeSum},
    {CX_WORD_CONTROLCHART_CENTER_STEP_LCL, ChartBase::_controlchart_Center_Step_LCL},
    {CX_WORD_CONTROLCHART_CENTER_STEP_UCL, ChartBase::_controlchart_Center_Step_UCL},
    {CX_WORD_POWER, KytoUni::_power},
    {CX_WORD_LOG, KytoUni::_log},
    {CX_WORD_UTF_BASE, KytoUni::_UTF_base},
    {CX_WORD_EXPONENT, ChartBase::_exponent},
    {CX_WORD_MANOVA_LINE, ChartBase::_manova_line},
    {CX_WORD_MANOVA_POINT, ChartBase::_manova_point},
    {CX_WORD_ALL, u"all"},
    {CX_WORD_MATRIXSCATTERINNERX, ChartBase::_matrixscatterinnerx},
    {CX_WORD_MATRIXSCATTERINNERY, ChartBase::_matrixscatterinnery},
    {CX_WORD_YZPLANE, ChartBase::_yzplane},
    {CX_WORD_XZPLANE, ChartBase::_xzplane},
    {CX_WORD_XYPLANE, ChartBase::_xyplane},
    {CX_WORD_X, KytoUni::_x},
    {CX_WORD_Y, KytoUni::_y},
    {CX_WORD_Z, KytoUni::_z},
    {CX_WORD_MEAN, KytoUni::_mean},
    {CX_WORD_SURVIVAL_LINE, ChartBase::_survival_line},
    {CX_WORD_SURVIVAL_POINT, ChartBase::_survival_point},
    {CX_WORD_SURVIVAL_CENSORED, ChartBase::_survival_censored},
    {CX_WORD_CASENUM, ChartBase::_casenum},
    {CX_WORD_MATRIXSCATTERDIAGONAL, ChartBase::_matrixscatterdiagonal},
    {CX_WORD_ZETA, KytoUni::_zeta},
    {CX_WORD_DISTANCE, KytoUni::_distance},
    {CX_WORD_HIDDENLINE, ChartBase::_hiddenline},
    {CX_WORD_COUNTNAME, ChartBase::_countname},
    {CX_WORD_PERCENTNAME, ChartBase::_percentname},
    {CX_WORD_Y_FUNCTION_OF_X, ChartBase::_yFunctionOfX},
    {CX_WORD_FUNCTION, KytoUni::_function},
    {CX_WORD_NUM_POINTS, u"numPoints"},
    {CX_WORD_AIMCENTERSTEP, ChartBase::_aimcenterstep},
    {CX_WORD_CATEGORIES, ChartBase::_categories},
    {CX_WORD_PANEL, ChartBase::_panel},
    {CX_WORD_STACKINTERPOLATING, ChartBase::_stackinterpolating},
    {CX_WORD_ERRORBARHIDDEN, ChartBase::_errorbarhidden},
    {CX_WORD_FACET_LABEL_ANGLE, ChartBase::_facetLabelAngle},
    {CX_WORD_FACET_GAP, ChartBase::_facetGap},
    {CX_WORD_FACET_GAP_VERT, ChartBase::_facetGapVert},
    {CX_WORD_DOT, KytoUni::_dot},
};

// Codes whose text is a translated message, so that they follow the output
// language and procedure tables current when the table is filled.
constexpr struct {
  int code;
  const char* key;
} kTranslated[] = {{CX_WORD_X_VARIABLE, "X Variable"},
                   {CX_WORD_Y_VARIABLE, "Y Variable"},
                   {CX_WORD_Y_AXIS, "Y Axis"},
                   {CX_WORD_X_AXIS, "X Axis"}};

constexpr const char16_t* kAxisSuffixes[] = {u"x",     u"y",     u"z",     u"r",     u"phi",
                                             u"theta", u"xtick", u"ytick", u"ztick", u"rtick"};

}  // namespace

void ChartStringHandler::fillVocabulary() {
  static_assert(CX_WORD_AXISRTICK - CX_WORD_AXISX + 1 == std::size(kAxisSuffixes));
  int code = CX_WORD_AXISX;
  for (const char16_t* suffix : kAxisSuffixes) {
    ChartString axis(KytoUni::_axis);
    axis.append(suffix);
    insert(code++, axis);
  }
  for (const Code& entry : kTokens) insert(entry.code, ChartString(entry.text));
  for (const auto& entry : kTranslated) insert(entry.code, owner_.translate(entry.key));
  next_ = kFirstCallerHandle;
}
