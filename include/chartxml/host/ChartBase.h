// ChartBase: document helpers and vocabulary constants of the chart utility
// library. Chart derives from it; the helpers are static and work on any
// xerces DOM document.
//
// None of these helpers throws: DOM failures are reported to the host's report
// log and the helper does nothing (or returns null/false).
#ifndef CHARTXML_HOST_CHARTBASE_H_
#define CHARTXML_HOST_CHARTBASE_H_

#include <string>
#include <string_view>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>

#include "chartxml/export.h"

class CHARTXML_HOST_EXPORT ChartBase {
 public:
  ChartBase() = default;
  virtual ~ChartBase() = default;

  // A new, empty chart document whose document element is <visualization>.
  // `encoding` is accepted for callers' sake only: the DOM cannot record a
  // declared encoding, and ChartPrinter always writes UTF-8. Null when the
  // XML platform is not initialised or the DOM refuses (reported).
  static xercesc::DOMDocument* createDocument(const char16_t* encoding);
  // Releases a document made by createDocument and sets the pointer to null.
  // Null is harmless.
  static void releaseDocument(xercesc::DOMDocument*& document);

  // Sets the element's `id` attribute and declares it the element's ID
  // attribute, so that DOMDocument::getElementById finds it.
  static void AddID(xercesc::DOMElement* element, const char16_t* id);
  // Sets an attribute (replacing any earlier value).
  static void AddAttribute(xercesc::DOMElement* element, const char16_t* name,
                           const char16_t* value);
  // The first child element (direct children only) with this tag, or null.
  static xercesc::DOMElement* getChildByTagName(const xercesc::DOMElement* parent,
                                                const char16_t* tag);
  // Copies every attribute of `from` onto `to`, replacing equal names, except
  // `id`: ids are unique, so the target keeps its own.
  static void mergeAttributes(const xercesc::DOMElement* from, xercesc::DOMElement* to);

  // Writes a debug line to the host's debug log.
  static void printDebugInfo(std::string_view line);

  // Numbers as text: what printf("%.16g") writes ("1000", "0.1", "-35"),
  // and plain decimal for integers.
  static std::string asString(double value);
  static std::string asString(int value);

  // The deepest element nesting a chart document may have, the document
  // element being level 1. The host refuses to read deeper documents, so the
  // library refuses to build them; real charts nest a few dozen levels.
  static constexpr int kMaxDepth = 512;

  // True when `xml` is a well-formed XML document. Never resolves a DTD or an
  // external entity, refuses documents that declare a DOCTYPE, and reports the
  // first error with its line and column.
  static bool ValidXML(const std::string& xml);

  // Vocabulary tokens of the chart utility library. Most texts are the
  // constant's name without the leading underscore.
  static constexpr char16_t _aimcenterstep[] = u"aimcenterstep";
  static constexpr char16_t _barmargin[] = u"barmargin";
  static constexpr char16_t _bins[] = u"bins";
  static constexpr char16_t _biplot_line[] = u"biplot_line";
  static constexpr char16_t _biplot_point[] = u"biplot_point";
  static constexpr char16_t _boxplot[] = u"boxplot";
  static constexpr char16_t _boxplotmargin[] = u"boxplotmargin";
  static constexpr char16_t _casenum[] = u"casenum";
  static constexpr char16_t _categories[] = u"categories";
  static constexpr char16_t _centroid[] = u"centroid";
  static constexpr char16_t _clusteredbar[] = u"clusteredbar";
  static constexpr char16_t _container[] = u"container";
  static constexpr char16_t _controlchart_Average[] = u"controlchart_Average";
  static constexpr char16_t _controlchart_Center_Step_LCL[] = u"controlchart_Center_Step_LCL";
  static constexpr char16_t _controlchart_Center_Step_UCL[] = u"controlchart_Center_Step_UCL";
  static constexpr char16_t _controlchart_LCL[] = u"controlchart_LCL";
  static constexpr char16_t _controlchart_LSpec[] = u"controlchart_LSpec";
  static constexpr char16_t _controlchart_UCL[] = u"controlchart_UCL";
  static constexpr char16_t _controlchart_USpec[] = u"controlchart_USpec";
  static constexpr char16_t _controlchart_line[] = u"controlchart_line";
  static constexpr char16_t _controlchart_marker[] = u"controlchart_marker";
  static constexpr char16_t _countname[] = u"countname";
  static constexpr char16_t _datasource[] = u"datasource";
  static constexpr char16_t _differenceline[] = u"differenceline";
  static constexpr char16_t _dropdownline[] = u"dropdownline";
  static constexpr char16_t _errorbar[] = u"errorbar";
  static constexpr char16_t _errorbarhidden[] = u"errorbarhidden";
  static constexpr char16_t _exponent[] = u"exponent";
  static constexpr char16_t _external_[] = u"external_";
  static constexpr char16_t _facetGap[] = u"facetGap";
  static constexpr char16_t _facetGapVert[] = u"facetGapVert";
  static constexpr char16_t _facetLabelAngle[] = u"facetLabelAngle";
  static constexpr char16_t _footnote[] = u"footnote";
  static constexpr char16_t _gridLineStyle[] = u"gridLineStyle";
  static constexpr char16_t _groupbarmargin[] = u"groupbarmargin";
  static constexpr char16_t _hiddenline[] = u"hiddenline";
  static constexpr char16_t _histogrammargin[] = u"histogrammargin";
  static constexpr char16_t _internal_[] = u"internal_";
  static constexpr char16_t _isotropic[] = u"isotropic";
  static constexpr char16_t _manova_line[] = u"manova_line";
  static constexpr char16_t _manova_point[] = u"manova_point";
  static constexpr char16_t _matrixscatter[] = u"matrixscatter";
  static constexpr char16_t _matrixscatterdiagonal[] = u"matrixscatterdiagonal";
  static constexpr char16_t _matrixscatterinnerx[] = u"matrixscatterinnerx";
  static constexpr char16_t _matrixscatterinnery[] = u"matrixscatterinnery";
  static constexpr char16_t _matrixscatterx[] = u"matrixscatterx";
  static constexpr char16_t _matrixscattery[] = u"matrixscattery";
  static constexpr char16_t _nmv[] = u"nmv";
  static constexpr char16_t _panel[] = u"panel";
  static constexpr char16_t _percentname[] = u"percentname";
  static constexpr char16_t _rangebar[] = u"rangebar";
  static constexpr char16_t _referenceLine[] = u"referenceLine";
  static constexpr char16_t _scatter[] = u"scatter";
  static constexpr char16_t _series[] = u"series";
  static constexpr char16_t _simplearea[] = u"simplearea";
  static constexpr char16_t _simplebar[] = u"simplebar";
  static constexpr char16_t _simpleline[] = u"simpleline";
  static constexpr char16_t _stackedarea[] = u"stackedarea";
  static constexpr char16_t _stackedbar[] = u"stackedbar";
  static constexpr char16_t _stackinterpolating[] = u"stackinterpolating";
  static constexpr char16_t _styleCycleColor[] = u"styleCycleColor";
  static constexpr char16_t _styleCycleDefault[] = u"styleCycleDefault";
  static constexpr char16_t _styleCyclePattern[] = u"styleCyclePattern";
  static constexpr char16_t _styleCycleRepository[] = u"styleCycleRepository";
  static constexpr char16_t _subtitle[] = u"subtitle";
  static constexpr char16_t _survival_censored[] = u"survival_censored";
  static constexpr char16_t _survival_line[] = u"survival_line";
  static constexpr char16_t _survival_point[] = u"survival_point";
  static constexpr char16_t _tile[] = u"tile";
  static constexpr char16_t _title[] = u"title";
  static constexpr char16_t _triplot_line[] = u"triplot_line";
  static constexpr char16_t _triplot_point[] = u"triplot_point";
  static constexpr char16_t _wgt[] = u"wgt";
  static constexpr char16_t _x1[] = u"x1";
  static constexpr char16_t _x2[] = u"x2";
  static constexpr char16_t _xyplane[] = u"xyplane";
  static constexpr char16_t _xzplane[] = u"xzplane";
  static constexpr char16_t _y1[] = u"y1";
  static constexpr char16_t _y2[] = u"y2";
  static constexpr char16_t _yFunctionOfX[] = u"yFunctionOfX";
  static constexpr char16_t _yzplane[] = u"yzplane";
  static constexpr char16_t _weightname[] = u"weightname";
  static constexpr char16_t _underscore[] = u"_";
  static constexpr char16_t _semicolon[] = u";";
  static constexpr char16_t _colon[] = u":";
  static constexpr char16_t _utf8[] = u"UTF-8";
  static constexpr char16_t _default_style[] = u"_default_style";
};

#endif  // CHARTXML_HOST_CHARTBASE_H_
