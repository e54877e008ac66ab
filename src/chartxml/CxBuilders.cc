// Entry points of the builders and setters: each forwards to the ChartXml
// operation of its name with the arguments in the same order.
#include "chartxml/cx.h"

#include "chartxml/ChartXml.h"
#include "chartxml/CxArguments.h"

using chartxml::cx::call;
using chartxml::cx::integer;
using chartxml::cx::run;

namespace {
constexpr int kInside = 32;  // vocabulary code of "inside"
}

extern "C" {

// ---- Frames, elements, positions and aesthetics ----------------------------

int64_t CX_ADDFRAME(const int64_t* chart, const int64_t* parent, const int64_t* suffix) {
  return call(__func__, &ChartXml::AddFrame, chart, parent, suffix);
}

int64_t CX_SETFRAMECLIPPING(const int64_t* chart, const int64_t* frame, const int64_t* clip) {
  return call(__func__, &ChartXml::SetFrameClipping, chart, frame, clip);
}

int64_t CX_ADDELEMENT(const int64_t* chart, const int64_t* parent, const int64_t* type,
                      const int64_t* suffix) {
  return call(__func__, &ChartXml::AddElement, chart, parent, type, suffix);
}

int64_t CX_ADDELEMENTGROUP(const int64_t* chart, const int64_t* frame, const int64_t* suffix) {
  return call(__func__, &ChartXml::AddElementGroup, chart, frame, suffix);
}

int64_t CX_ADDBINNEDELEMENT(const int64_t* chart, const int64_t* parent, const int64_t* type,
                            const int64_t* suffix, const int64_t* xVariable,
                            const int64_t* yVariable) {
  return call(__func__, &ChartXml::AddBinnedElement, chart, parent, type, suffix, xVariable,
              yVariable);
}

int64_t CX_ADDPOSITION(const int64_t* chart, const int64_t* element) {
  return call(__func__, &ChartXml::AddPosition, chart, element);
}

int64_t CX_ADDX(const int64_t* chart, const int64_t* parent, const int64_t* variable) {
  return call(__func__, &ChartXml::AddX, chart, parent, variable);
}

int64_t CX_ADDY(const int64_t* chart, const int64_t* parent, const int64_t* variable) {
  return call(__func__, &ChartXml::AddY, chart, parent, variable);
}

int64_t CX_ADDZ(const int64_t* chart, const int64_t* parent, const int64_t* variable) {
  return call(__func__, &ChartXml::AddZ, chart, parent, variable);
}

int64_t CX_ADDTHETA(const int64_t* chart, const int64_t* parent, const int64_t* variable) {
  return call(__func__, &ChartXml::AddTheta, chart, parent, variable);
}

int64_t CX_ADDCOLOR(const int64_t* chart, const int64_t* element, const int64_t* variable) {
  return call(__func__, &ChartXml::AddColor, chart, element, variable);
}

int64_t CX_ADDSPLIT(const int64_t* chart, const int64_t* element, const int64_t* variable) {
  return call(__func__, &ChartXml::AddSplit, chart, element, variable);
}

int64_t CX_ADDSTYLEBY(const int64_t* chart, const int64_t* element, const int64_t* variable) {
  return call(__func__, &ChartXml::AddStyleBy, chart, element, variable);
}

int64_t CX_ADDSTYLEBYCOLOR(const int64_t* chart, const int64_t* element, const int64_t* variable) {
  return call(__func__, &ChartXml::AddStyleByColor, chart, element, variable);
}

int64_t CX_ADDSTYLEBYPATTERN(const int64_t* chart, const int64_t* element,
                             const int64_t* variable) {
  return call(__func__, &ChartXml::AddStyleByPattern, chart, element, variable);
}

int64_t CX_ADDSTYLEBYCOLORANDPATTERN(const int64_t* chart, const int64_t* element,
                                     const int64_t* variable) {
  return call(__func__, &ChartXml::AddStyleByColorAndPattern, chart, element, variable);
}

int64_t CX_ADDLABEL(const int64_t* chart, const int64_t* parent, const int64_t* idSuffix,
                    const int64_t* content) {
  return call(__func__, &ChartXml::AddLabel, chart, parent, idSuffix, content);
}

int64_t CX_ADDLABELING(const int64_t* chart, const int64_t* element, const int64_t* variable) {
  return call(__func__, &ChartXml::AddLabeling, chart, element, variable);
}

int64_t CX_ADDLABELINGSUFFIX(const int64_t* chart, const int64_t* element, const int64_t* variable,
                             const int64_t* suffix) {
  return call(__func__, &ChartXml::AddLabelingSuffix, chart, element, variable, suffix);
}

int64_t CX_ADDLABELINGINSIDE(const int64_t* chart, const int64_t* element,
                             const int64_t* variable) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        return cx.AddLabelingSuffix(integer(chart), integer(element), integer(variable), kInside);
      },
      chart, element, variable);
}

int64_t CX_ADDLABELINGAGGREGATE(const int64_t* chart, const int64_t* sourceVariable,
                                const int64_t* function, const int64_t* categorical,
                                const int64_t* labelText, const int64_t* shortLabelText,
                                const int64_t* domain) {
  return call(__func__, &ChartXml::AddLabelingAggregate, chart, sourceVariable, function,
              categorical, labelText, shortLabelText, domain);
}

int64_t CX_SETELEMENTDOT(const int64_t* chart, const int64_t* element, const int64_t* dot) {
  return call(__func__, &ChartXml::SetElementDot, chart, element, dot);
}

int64_t CX_SETELEMENTNAME(const int64_t* chart, const int64_t* element, const int64_t* name) {
  return call(__func__, &ChartXml::SetElementName, chart, element, name);
}

int64_t CX_SETELEMENTPOSITIONMODIFIER(const int64_t* chart, const int64_t* element,
                                      const int64_t* modifier) {
  return call(__func__, &ChartXml::SetElementPositionModifier, chart, element, modifier);
}

int64_t CX_SETLABELCOLLISIONHANDLING(const int64_t* chart, const int64_t* element,
                                     const int64_t* handling) {
  return call(__func__, &ChartXml::SetLabelCollisionHandling, chart, element, handling);
}

int64_t CX_SETDISPLAYOVERLAPPINGLABELS(const int64_t* chart, const int64_t* element,
                                       const int64_t* show) {
  return call(__func__, &ChartXml::SetDisplayOverlappingLabels, chart, element, show);
}

// ---- Coordinates, dimensions, axes, guides and legends ---------------------

int64_t CX_ADDCOORDINATETRANSFORM(const int64_t* chart, const int64_t* frame,
                                  const int64_t* method) {
  return call(__func__, &ChartXml::AddCoordinateTransform, chart, frame, method);
}

int64_t CX_ADDDIMENSION(const int64_t* chart, const int64_t* frame, const int64_t* role,
                        const int64_t* domain) {
  return call(__func__, &ChartXml::AddDimension, chart, frame, role, domain);
}

int64_t CX_GETDIMENSION(const int64_t* chart, const int64_t* frame, const int64_t* role) {
  return call(__func__, &ChartXml::GetDimension, chart, frame, role);
}

int64_t CX_SETDIMENSIONDOMAIN(const int64_t* chart, const int64_t* dimension,
                              const int64_t* domain) {
  return call(__func__, &ChartXml::SetDimensionDomain, chart, dimension, domain);
}

int64_t CX_SETDIMENSIONLOWERMAPPING(const int64_t* chart, const int64_t* dimension,
                                    const int64_t* mapping) {
  return call(__func__, &ChartXml::SetDimensionLowerMapping, chart, dimension, mapping);
}

int64_t CX_SETDIMENSIONUPPERMAPPING(const int64_t* chart, const int64_t* dimension,
                                    const int64_t* mapping) {
  return call(__func__, &ChartXml::SetDimensionUpperMapping, chart, dimension, mapping);
}

int64_t CX_SETDIMENSIONUPPER(const int64_t* chart, const int64_t* dimension,
                             const int64_t* mapping) {
  return CX_SETDIMENSIONUPPERMAPPING(chart, dimension, mapping);
}

int64_t CX_SETDIMENSIONLOWERMARGIN(const int64_t* chart, const int64_t* dimension,
                                   const int64_t* margin) {
  return call(__func__, &ChartXml::SetDimensionLowerMargin, chart, dimension, margin);
}

int64_t CX_SETDIMENSIONUPPERMARGIN(const int64_t* chart, const int64_t* dimension,
                                   const int64_t* margin) {
  return call(__func__, &ChartXml::SetDimensionUpperMargin, chart, dimension, margin);
}

int64_t CX_SETDIMENSIONSAMERATIO(const int64_t* chart, const int64_t* dimension,
                                 const int64_t* sameRatio) {
  return call(__func__, &ChartXml::SetDimensionSameRatio, chart, dimension, sameRatio);
}

int64_t CX_SETUNIONDOMAIN(const int64_t* chart, const int64_t* dimension) {
  return call(__func__, &ChartXml::SetUnionDomain, chart, dimension);
}

int64_t CX_SETDIMENSIONSCALE(const int64_t* chart, const int64_t* dimension, const int64_t* method,
                             const int64_t* value, const int64_t* invert) {
  return call(__func__, &ChartXml::SetDimensionScale, chart, dimension, method, value, invert);
}

int64_t CX_SETXYDIMENSIONSAMESCALE(const int64_t* chart, const double* extent) {
  return call(__func__, &ChartXml::SetXYDimensionSameScale, chart, extent);
}

int64_t CX_ADDAXIS(const int64_t* chart, const int64_t* dimension, const int64_t* idSuffix,
                   const int64_t* opposite) {
  return call(__func__, &ChartXml::AddAxis, chart, dimension, idSuffix, opposite);
}

int64_t CX_ADDMAJORTICKS(const int64_t* chart, const int64_t* parent, const int64_t* position,
                         const int64_t* gridLines, const int64_t* length, const int64_t* labelAngle,
                         const int64_t* stagger, const int64_t* delta) {
  return call(__func__, &ChartXml::AddMajorTicks, chart, parent, position, gridLines, length,
              labelAngle, stagger, delta);
}

int64_t CX_ADDMINORTICKS(const int64_t* chart, const int64_t* axis, const int64_t* position,
                         const int64_t* gridLines, const int64_t* length, const int64_t* number) {
  return call(__func__, &ChartXml::AddMinorTicks, chart, axis, position, gridLines, length, number);
}

int64_t CX_SETAXISPERCENT(const int64_t* chart, const int64_t* parent, const int64_t* formatOwner) {
  return call(__func__, &ChartXml::SetAxisPercent, chart, parent, formatOwner);
}

int64_t CX_ADDGUIDE(const int64_t* chart, const int64_t* frame, const int64_t* type,
                    const int64_t* suffix) {
  return call(__func__, &ChartXml::AddGuide, chart, frame, type, suffix);
}

int64_t CX_ADDXREFERENCELINE(const int64_t* chart, const int64_t* frame, const int64_t* value,
                             const int64_t* number) {
  return call(__func__, &ChartXml::AddXReferenceLine, chart, frame, value, number);
}

int64_t CX_ADDYREFERENCELINE(const int64_t* chart, const int64_t* frame, const int64_t* value,
                             const int64_t* number) {
  return call(__func__, &ChartXml::AddYReferenceLine, chart, frame, value, number);
}

int64_t CX_ADDLEGEND(const int64_t* chart, const int64_t* frame, const int64_t* suffix) {
  return call(__func__, &ChartXml::AddLegend, chart, frame, suffix);
}

int64_t CX_ADDLEGENDTARGETEX(const int64_t* chart, const int64_t* legend, const int64_t* target,
                             const int64_t* styleBy, const int64_t* suffix) {
  return call(__func__, &ChartXml::AddLegendTargetEx, chart, legend, target, styleBy, suffix);
}

// ---- Fitted-function lines -------------------------------------------------

int64_t CX_ADDYOFXLINEAR(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                         const double* a, const double* b, const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXLinear, chart, frame, idNumber, a, b, dateAxis);
}

int64_t CX_ADDYOFXLOGARITHMIC(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                              const double* a, const double* b, const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXLogarithmic, chart, frame, idNumber, a, b, dateAxis);
}

int64_t CX_ADDYOFXINVERSE(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                          const double* a, const double* b, const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXInverse, chart, frame, idNumber, a, b, dateAxis);
}

int64_t CX_ADDYOFXQUADRATIC(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                            const double* a, const double* b, const double* c,
                            const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXQuadratic, chart, frame, idNumber, a, b, c, dateAxis);
}

int64_t CX_ADDYOFXCUBIC(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                        const double* a, const double* b, const double* c, const double* d,
                        const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXCubic, chart, frame, idNumber, a, b, c, d, dateAxis);
}

int64_t CX_ADDYOFXCOMPOUND(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                           const double* a, const double* b, const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXCompound, chart, frame, idNumber, a, b, dateAxis);
}

int64_t CX_ADDYOFXPOWER(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                        const double* a, const double* b, const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXPower, chart, frame, idNumber, a, b, dateAxis);
}

int64_t CX_ADDYOFXS(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                    const double* a, const double* b, const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXS, chart, frame, idNumber, a, b, dateAxis);
}

int64_t CX_ADDYOFXGROWTH(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                         const double* a, const double* b, const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXGrowth, chart, frame, idNumber, a, b, dateAxis);
}

int64_t CX_ADDYOFXEXPONENTIAL(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                              const double* a, const double* b, const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXExponential, chart, frame, idNumber, a, b, dateAxis);
}

int64_t CX_ADDYOFXLOGISTIC(const int64_t* chart, const int64_t* frame, const int64_t* idNumber,
                           const double* a, const double* b, const double* c,
                           const int64_t* dateAxis) {
  return call(__func__, &ChartXml::AddYOfXLogistic, chart, frame, idNumber, a, b, c, dateAxis);
}

int64_t CX_ADDYFUNCTIONOFX(const int64_t* chart, const int64_t* frame, const int64_t* functionText,
                           const int64_t* idNumber) {
  return call(__func__, &ChartXml::AddYFunctionOfX, chart, frame, functionText, idNumber);
}

// ---- Facets ----------------------------------------------------------------

int64_t CX_ADDCOORDINATEFACET(const int64_t* chart, const int64_t* frame) {
  return call(__func__, &ChartXml::AddCoordinateFacet, chart, frame);
}

int64_t CX_ADDCROSS(const int64_t* chart, const int64_t* node) {
  return call(__func__, &ChartXml::AddCross, chart, node);
}

int64_t CX_ADDNEST(const int64_t* chart, const int64_t* node) {
  return call(__func__, &ChartXml::AddNest, chart, node);
}

int64_t CX_ADDBLEND(const int64_t* chart, const int64_t* node) {
  return call(__func__, &ChartXml::AddBlend, chart, node);
}

int64_t CX_ADDFACETVARIABLE(const int64_t* chart, const int64_t* node, const int64_t* role,
                            const int64_t* variable) {
  return call(__func__, &ChartXml::AddFacetVariable, chart, node, role, variable);
}

int64_t CX_ADDTABLEFACET(const int64_t* chart, const int64_t* frame) {
  return call(__func__, &ChartXml::AddTableFacet, chart, frame);
}

int64_t CX_ADDFACETLABELING(const int64_t* chart, const int64_t* frame) {
  return call(__func__, &ChartXml::AddFacetLabeling, chart, frame);
}

int64_t CX_SETFACETLABELINGCELLASPECT(const int64_t* chart, const int64_t* labeling,
                                      const double* aspect) {
  return call(__func__, &ChartXml::SetFacetLabelingCellAspect, chart, labeling, aspect);
}

int64_t CX_ADDFACETLABEL(const int64_t* chart, const int64_t* labeling, const int64_t* idText,
                         const int64_t* level, const int64_t* reverse) {
  return call(__func__, &ChartXml::AddFacetLabel, chart, labeling, idText, level, reverse);
}

int64_t CX_GETFACETLABEL(const int64_t* chart, const int64_t* labeling, const int64_t* level) {
  return call(__func__, &ChartXml::GetFacetLabel, chart, labeling, level);
}

int64_t CX_SETFACETLABELCELLSTYLE(const int64_t* chart, const int64_t* label,
                                  const int64_t* styleText) {
  return call(__func__, &ChartXml::SetFacetLabelCellStyle, chart, label, styleText);
}

int64_t CX_SETFACETLABELGAP(const int64_t* chart, const int64_t* label, const int64_t* gapText) {
  return call(__func__, &ChartXml::SetFacetLabelGap, chart, label, gapText);
}

int64_t CX_SETFACETLABELLEVEL(const int64_t* chart, const int64_t* label, const int64_t* level) {
  return call(__func__, &ChartXml::SetFacetLabelLevel, chart, label, level);
}

// ---- Domains, sorts, statistics and aggregates -----------------------------

int64_t CX_ADDDOMAINREFERENCE(const int64_t* chart, const int64_t* domain, const int64_t* target) {
  return call(__func__, &ChartXml::AddDomainReference, chart, domain, target);
}

int64_t CX_ADDINTERVALEX(const int64_t* chart, const int64_t* domain, const int64_t* minText,
                         const int64_t* maxText) {
  return call(__func__, &ChartXml::AddIntervalEx, chart, domain, minText, maxText);
}

int64_t CX_SETDOMAINDESCENDING(const int64_t* chart, const int64_t* domain,
                               const int64_t* descending) {
  return call(__func__, &ChartXml::SetDomainDescending, chart, domain, descending);
}

int64_t CX_ADDSORT(const int64_t* chart, const int64_t* domain) {
  return call(__func__, &ChartXml::AddSort, chart, domain);
}

int64_t CX_SETSORTDESCENDING(const int64_t* chart, const int64_t* sort, const int64_t* descending) {
  return call(__func__, &ChartXml::SetSortDescending, chart, sort, descending);
}

int64_t CX_ADDSIMPLESORT(const int64_t* chart, const int64_t* sort) {
  return call(__func__, &ChartXml::AddSimpleSort, chart, sort);
}

int64_t CX_SETSIMPLESORTMETHOD(const int64_t* chart, const int64_t* simpleSort,
                               const int64_t* methodText) {
  return call(__func__, &ChartXml::SetSimpleSortMethod, chart, simpleSort, methodText);
}

int64_t CX_ADDSTATISTICSORT(const int64_t* chart, const int64_t* sort,
                            const int64_t* sourceVariable, const int64_t* statVariable) {
  return call(__func__, &ChartXml::AddStatisticSort, chart, sort, sourceVariable, statVariable);
}

int64_t CX_ADDSTATISTIC(const int64_t* chart, const int64_t* parent, const int64_t* methodText) {
  return call(__func__, &ChartXml::AddStatistic, chart, parent, methodText);
}

int64_t CX_ADDPARAM(const int64_t* chart, const int64_t* parent, const int64_t* nameText,
                    const int64_t* valueText) {
  return call(__func__, &ChartXml::AddParam, chart, parent, nameText, valueText);
}

int64_t CX_SETBINWIDTH(const int64_t* chart, const double* width) {
  return call(__func__, &ChartXml::SetBinWidth, chart, width);
}

int64_t CX_SETSUMMARYFUNCTION(const int64_t* chart, const int64_t* variable, const int64_t* code,
                              const double* p1, const double* p2) {
  return call(__func__, &ChartXml::SetSummaryFunction, chart, variable, code, p1, p2);
}

int64_t CX_ADDAGGREGATE(const int64_t* chart, const int64_t* sourceVariable,
                        const int64_t* function, const int64_t* categorical,
                        const int64_t* labelText, const int64_t* shortLabelText,
                        const int64_t* domain) {
  return call(__func__, &ChartXml::AddAggregate, chart, sourceVariable, function, categorical,
              labelText, shortLabelText, domain);
}

int64_t CX_ADDWEIGHTAGGREGATE(const int64_t* chart, const int64_t* sourceVariable,
                              const int64_t* labelText, const int64_t* shortLabelText) {
  return call(__func__, &ChartXml::AddWeightAggregate, chart, sourceVariable, labelText,
              shortLabelText);
}

int64_t CX_SETAGGREGATEEXTERNAL(const int64_t* chart, const int64_t* variable) {
  return call(__func__, &ChartXml::SetAggregateExternal, chart, variable);
}

}  // extern "C"
