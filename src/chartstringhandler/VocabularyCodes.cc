// The vocabulary codes: the predefined string handles 1..156 through which
// callers that pass only integers name the fixed words of the chart
// description. Codes 46 and 124 are unassigned.
#include <string>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/ChartXml.h"
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
    {11, KytoUni::_data},
    {12, KytoUni::_element},
    {13, ChartBase::_footnote},
    {14, KytoUni::_graph},
    {15, KytoUni::_legend},
    {16, ChartBase::_subtitle},
    {17, ChartBase::_title},
    {18, KytoUni::_area},
    {19, u"contour"},
    {20, KytoUni::_interval},
    {21, KytoUni::_line},
    {22, KytoUni::_path},
    {23, KytoUni::_point},
    {24, KytoUni::_schema},
    {25, ChartBase::_tile},
    {26, KytoUni::_auto},
    {27, KytoUni::_center},
    {28, u"negative"},
    {29, u"positive"},
    {30, u"transpose"},
    {31, u"polar"},
    {32, KytoUni::_inside},
    {33, KytoUni::_outside},
    {34, KytoUni::_cross},
    {35, KytoUni::_color},
    {36, u"styleBy"},
    {37, KytoUni::_nest},
    {38, KytoUni::_blend},
    {39, KytoUni::_exact},
    {40, KytoUni::_nice},
    {41, ChartBase::_simplebar},
    {42, ChartBase::_stackedbar},
    {146, ChartBase::_clusteredbar},
    {43, ChartBase::_simpleline},
    {44, u"histogram"},
    {45, u"areabar"},
    {47, ChartBase::_bins},
    {48, KytoUni::_min},
    {49, KytoUni::_max},
    {50, ChartBase::_referenceLine},
    {51, ChartBase::_x1},
    {52, ChartBase::_y1},
    {53, ChartBase::_x2},
    {54, ChartBase::_y2},
    {57, ChartBase::_series},
    {58, ChartBase::_nmv},
    {59, ChartBase::_wgt},
    {60, u"elementGroup"},
    {61, ChartBase::_boxplot},
    {62, u"tukeyInnerFence"},
    {63, u"tukeyHinges"},
    {64, KytoUni::_median},
    {65, u"tukeyOutliers"},
    {66, u"tukeyExtremes"},
    {67, KytoUni::_range},
    {68, ChartBase::_rangebar},
    {69, ChartBase::_errorbar},
    {70, ChartBase::_differenceline},
    {71, KytoUni::_type},
    {72, KytoUni::_normal},
    {73, KytoUni::_distribution},
    {74, ChartBase::_controlchart_Average},
    {75, ChartBase::_controlchart_LCL},
    {76, ChartBase::_controlchart_LSpec},
    {77, ChartBase::_controlchart_line},
    {78, ChartBase::_controlchart_marker},
    {79, ChartBase::_controlchart_UCL},
    {80, ChartBase::_controlchart_USpec},
    {81, ChartBase::_barmargin},
    {82, ChartBase::_groupbarmargin},
    {83, ChartBase::_boxplotmargin},
    {84, ChartBase::_histogrammargin},
    {85, ChartBase::_isotropic},
    {86, KytoUni::_none},
    {87, KytoUni::_stack},
    {88, KytoUni::_dodge},
    {89, KytoUni::_minusIntersection},
    {90, ChartBase::_matrixscatter},
    {91, ChartBase::_matrixscatterx},
    {92, ChartBase::_matrixscattery},
    {93, KytoUni::_natural},
    {94, ChartBase::_simplearea},
    {95, ChartBase::_stackedarea},
    {96, ChartBase::_scatter},
    {97, ChartBase::_biplot_line},
    {98, ChartBase::_biplot_point},
    {99, ChartBase::_triplot_line},
    {100, ChartBase::_triplot_point},
    {101, ChartBase::_centroid},
    {102, ChartBase::_dropdownline},
    {103, ChartBase::_styleCycleDefault},
    {104, u"rectangular"},
    {105, KytoUni::_theta},
    {106, KytoUni::_phi},
    {107, KytoUni::_frame},
    {108, u"plane"},
    {109, KytoUni::_complete},
    {110, KytoUni::_false},
    {111, KytoUni::_sum},
    {112, KytoUni::_cumulativeSum},
    {113, ChartBase::_controlchart_Center_Step_LCL},
    {114, ChartBase::_controlchart_Center_Step_UCL},
    {115, KytoUni::_power},
    {116, KytoUni::_log},
    {117, KytoUni::_UTF_base},
    {118, ChartBase::_exponent},
    {119, ChartBase::_manova_line},
    {120, ChartBase::_manova_point},
    {121, u"all"},
    {122, ChartBase::_matrixscatterinnerx},
    {123, ChartBase::_matrixscatterinnery},
    {125, ChartBase::_yzplane},
    {126, ChartBase::_xzplane},
    {127, ChartBase::_xyplane},
    {128, KytoUni::_x},
    {129, KytoUni::_y},
    {130, KytoUni::_z},
    {131, KytoUni::_mean},
    {132, ChartBase::_survival_line},
    {133, ChartBase::_survival_point},
    {134, ChartBase::_survival_censored},
    {135, ChartBase::_casenum},
    {136, ChartBase::_matrixscatterdiagonal},
    {137, KytoUni::_zeta},
    {138, KytoUni::_distance},
    {139, ChartBase::_hiddenline},
    {140, ChartBase::_countname},
    {141, ChartBase::_percentname},
    {142, ChartBase::_yFunctionOfX},
    {143, KytoUni::_function},
    {144, u"numPoints"},
    {145, ChartBase::_aimcenterstep},
    {147, ChartBase::_categories},
    {149, ChartBase::_panel},
    {150, ChartBase::_stackinterpolating},
    {151, ChartBase::_errorbarhidden},
    {152, ChartBase::_facetLabelAngle},
    {153, ChartBase::_facetGap},
    {154, ChartBase::_facetGapVert},
    {156, KytoUni::_dot},
};

// Codes whose text is a translated message, so that they follow the output
// language and procedure tables current when the table is filled.
constexpr struct {
  int code;
  const char* key;
} kTranslated[] = {{55, "X Variable"}, {56, "Y Variable"}, {148, "Y Axis"}, {155, "X Axis"}};

constexpr const char16_t* kAxisSuffixes[] = {u"x",     u"y",     u"z",     u"r",     u"phi",
                                             u"theta", u"xtick", u"ytick", u"ztick", u"rtick"};

}  // namespace

void ChartStringHandler::fillVocabulary() {
  int code = 1;
  for (const char16_t* suffix : kAxisSuffixes) {
    ChartString axis(KytoUni::_axis);
    axis.append(suffix);
    insert(code++, axis);
  }
  for (const Code& entry : kTokens) insert(entry.code, ChartString(entry.text));
  for (const auto& entry : kTranslated) insert(entry.code, owner_.translate(entry.key));
  next_ = kFirstCallerHandle;
}
