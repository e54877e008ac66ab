/// \file
/// ChartXml: the process-wide facade through which procedures describe charts.
///
/// Contract, for every public operation:
/// 1. Threads: one instance per process, used from one thread at a time.
///    Nothing here locks.
/// 2. Errors: no exception leaves an operation. A failure is reported to the
///    host's report log through the error handler, with its exact message, the
///    source name and the line, and the operation returns its failure value:
///    -1 unless the operation's comment says otherwise.
/// 3. Handles: chart handles come from CreateChart (0, 1, 2, ..., never reused
///    until KillCharts). Element handles are per chart: 0 is the document
///    element, new elements get 1, 2, ... String handles are shared by all
///    charts: 1 to 156 are the vocabulary codes, caller strings start at 157.
///    -1 means "none" wherever a handle is optional.
/// 4. Texts: narrow texts arrive in the host's default code page; message keys
///    are translated through the host's string tables (an unknown key stands
///    for itself). The two characters backslash and 'n' in a label become a
///    line feed.
/// 5. Ownership: the instance owns its charts, strings, transcoders and string
///    tables. A data source passed in belongs to the host.
#ifndef CHARTXML_CHARTXML_H_
#define CHARTXML_CHARTXML_H_

#include <memory>
#include <string>
#include <vector>

#include <xercesc/util/XercesDefs.hpp>

#include "chartxml/export.h"
#include "chartxml/host/ChartString.h"

XERCES_CPP_NAMESPACE_BEGIN
class DOMDocument;
class DOMElement;
XERCES_CPP_NAMESPACE_END

class Chart;
class ChartErrorHandler;
class VORN_DataSource;
class VORN_Variable;
class VarDataProcessor;
class VORN_FortranDictionary;
class ChartTranscoder;

/// The process-wide facade through which procedures describe charts: one
/// instance, its charts, strings and data source. The contract at the head of
/// ChartXml.h holds for every public operation.
class CHARTXML_EXPORT ChartXml {
 public:
  // ---- Instance lifetime ------------------------------------------------
  /// Marks the instance as initialised (strings and data source then outlive
  /// the last chart) and returns it, creating it if needed.
  static ChartXml* Initialize();
  /// The instance, created on first use; null only when it could not be made
  /// (out of memory).
  static ChartXml* GetInstance();
  /// Destroys the instance (and every chart still open). Returns null.
  static ChartXml* Terminate();

  /// The instance, or null before the first Initialize or GetInstance and
  /// after Terminate; use GetInstance rather than this.
  static ChartXml* _instance;
  /// Whether Initialize has been called since the instance was made.
  static bool _initialized;

  ChartXml(const ChartXml&) = delete;
  ChartXml& operator=(const ChartXml&) = delete;

  // ---- Charts -----------------------------------------------------------
  /// A new chart; its handle, or -1 when no document could be made.
  int CreateChart();
  /// Completes the chart and removes it. Its completion status, or -1.
  int EndChart(int chart);
  /// Removes the chart unsent. Always 0, also for an unknown handle (no report).
  int KillChart(int chart);
  /// Removes every chart; chart handles start again at 0. Always 0.
  int KillCharts();
  /// The chart's document, or null when the handle does not resolve.
  xercesc::DOMDocument* getChart(int chart);
  /// The element handle under which the chart recorded `element`, or -1.
  int getHandle(int chart, xercesc::DOMElement* element);
  /// Marks the y dimension's scale parameter "safe" as false. Always -1, also
  /// after a change.
  int SetLogUnsafe(int chart);
  /// What is sent with the chart: its template name (-1 for an empty name,
  /// else 0), its kind (1 or 2 for icicle plots: returns 1; other kinds -1),
  /// and its description (0, or -1 when the text is empty or the handle bad).
  ///@{
  int SetChartTemplate(int chart, const std::string& name);
  int SetChartType(int chart, int kind);
  int CreateChartDescription(int chart, int text);
  int SetChartDescription(int chart, const std::string& text);
  ///@}
  /// Whether `xml` is a well-formed document (nothing external is read).
  /// Needs chart 0 to exist, whatever chart the caller means: false without it.
  bool ValidXML(const std::string& xml);
  /// The chart's data feed (owned by the chart), or null when the handle does
  /// not resolve.
  VarDataProcessor* getDataProcessor(int chart);
  /// The chart's document as indented XML text; "" when it does not resolve.
  std::string GetXmlBuffer(int chart);

  // ---- Procedure and string tables --------------------------------------
  /// Names the current procedure for string-table look-ups (and for the chart
  /// unless chart is -1). Returns the path of the procedure's own string table,
  /// or "" when it has none.
  const std::string& SetProcedure(int chart, const std::string& name);
  /// Selects the global string table (a string-table folder).
  void SetGlobalStringTable(const std::string& table);
  /// False on the first call after a change of procedure, true afterwards.
  bool warningShownAlready();

  // ---- Strings (no chart; Initialize or GetInstance first) --------------
  /// New string handles. String and NStringNoTranslate take narrow text in the
  /// default code page; NString translates a message key.
  ///@{
  int String(const std::string& text);
  int NStringNoTranslate(const std::string& text);
  int NString(const std::string& key);
  ///@}
  /// Composite strings: a translated pattern with places "^1".."^9" filled by
  /// parameters in order; a repeat list fills one place with its parameters
  /// joined by ", ". AddParameter, BeginRepeat and EndRepeat return 0;
  /// EndCompositeString returns the composite's handle.
  ///@{
  int CompositeString(const std::string& key);
  int AddParameter(int composite, int parameter);
  int BeginRepeat(int composite);
  int EndRepeat(int composite);
  int EndCompositeString(int composite);
  ///@}
  /// A new handle holding the string's text, "_" and the index.
  int StyleString(int string, int index);
  /// Numbers as new string handles, printed as printf("%.16g") does. The
  /// host's missing value, NaN and infinities make no string: -1 (NaN and
  /// infinities are reported).
  ///@{
  int Double(double value);
  int Integer(int value);
  ///@}
  /// A value printed with a display format code; -1 as the format behaves as
  /// Double.
  int LRValue(double value, int format);
  /// Clears every string handle; the vocabulary is reloaded and the next
  /// caller string is 157 again. Always 0.
  int ResetStrings();
  /// The text as a cell text of the host's output tables: its handle, or -1.
  int ToTS(int string);
  /// The string's text as UTF-8 ("" when the handle names nothing).
  std::string getUTF8String(int string);

  // ---- Translation and transcoding ---------------------------------------
  /// A message key's text in the output language (localised and English
  /// forms); an unknown key comes back as itself.
  ChartString translate(const std::string& key);
  /// Narrow text in the host's default code page as UTF-16.
  ChartString transcode(const std::string& text);

  // ---- Document helpers ---------------------------------------------------
  /// Copies the attributes of one element onto another. 0, or -1.
  int CopyAttributes(int chart, int fromElement, int toElement);
  /// The handle of the variable's meta element, made on first call.
  int AddMeta(int chart, int variable);

  // ---- Coordinates, dimensions, axes, guides and legends ----------------------
  // Roles: 1 x, 2 y, 3 z, 4 r, 5 theta, 6 phi, 7 position.
  /// A coordinate transform of `method` (a string handle, such as "polar")
  /// under the frame: its handle.
  int AddCoordinateTransform(int chart, int frame, int method);
  /// The frame's dimension for a role, made on first call (one per role).
  int AddDimension(int chart, int frame, int role, int domain);
  /// The first dimension for a role anywhere below the frame, or -1 (no report).
  int GetDimension(int chart, int frame, int role);
  /// Dimension setters; each returns the dimension handle.
  int SetDimensionDomain(int chart, int dimension, int domain);
  ///@{
  /// The lower or upper end of the dimension's mapping (a string handle): the
  /// dimension, or -1.
  int SetDimensionLowerMapping(int chart, int dimension, int mapping);
  int SetDimensionUpperMapping(int chart, int dimension, int mapping);
  ///@}
  ///@{
  /// The margin below or above the data (a string handle such as "5%"): the
  /// dimension, or -1.
  int SetDimensionLowerMargin(int chart, int dimension, int margin);
  int SetDimensionUpperMargin(int chart, int dimension, int margin);
  ///@}
  /// Equal units along x and y, or not: the dimension, or -1.
  int SetDimensionSameRatio(int chart, int dimension, bool sameRatio);
  /// The dimension's domain becomes the union of its variables' domains: the
  /// dimension, or -1.
  int SetUnionDomain(int chart, int dimension);
  /// A scale of `method` ("log", "power", ...) with its parameters: its handle.
  int SetDimensionScale(int chart, int dimension, int method, int value, bool invert);
  /// Every domain of the chart gets the interval -extent..extent: 1, or -1.
  int SetXYDimensionSameScale(int chart, const double& extent);
  /// An axis of a dimension (or facet label), on the opposite side when
  /// `opposite` is set: its handle, or -1.
  int AddAxis(int chart, int dimension, int idSuffix, bool opposite);
  /// Major ticks of an axis with their position, grid lines, length, label
  /// angle, staggering and delta: their handle, or -1.
  int AddMajorTicks(int chart, int parent, int position, bool gridLines, int length, int labelAngle,
                    bool stagger, int delta);
  /// Minor ticks of an axis with their position, grid lines, length and
  /// number between major ticks: their handle, or -1.
  int AddMinorTicks(int chart, int axis, int position, bool gridLines, int length, int number);
  /// A guide of `type` (a string handle: "plane", "frame", ...) under a
  /// frame: its handle, or -1.
  int AddGuide(int chart, int frame, int type, int suffix);
  /// A legend under a frame: its handle, or -1.
  int AddLegend(int chart, int frame, int suffix);
  /// What a legend explains: an element or guide (`target`) and the
  /// aesthetic (a string handle) it shows. The new target's handle, or -1.
  int AddLegendTarget(int chart, int legend, int target, int suffix, int aesthetic);
  /// As AddLegendTarget, the aesthetic read from a style-by element.
  int AddLegendTargetEx(int chart, int legend, int target, int styleBy, int suffix);
  /// A line guide at a value of x or y; `number` (>= 0) names its id.
  ///@{
  int AddXReferenceLine(int chart, int frame, int value, int number);
  int AddYReferenceLine(int chart, int frame, int value, int number);
  ///@}
  /// Makes an axis show percentages: returns `parent`, or -1.
  int SetAxisPercent(int chart, int parent, int formatOwner);

  // ---- Fitted-function lines ---------------------------------------------------
  /// A guide drawing y = f(x) through 1000 points, named by the family's
  /// translated name. `dateAxis`: x is a date, measured from 1582-10-14. The
  /// two-coefficient families refuse the host's infinity value (-1).
  ///@{
  int AddYOfXLinear(int chart, int frame, int idNumber, const double& a, const double& b,
                    bool dateAxis);
  int AddYOfXLogarithmic(int chart, int frame, int idNumber, const double& a, const double& b,
                         bool dateAxis);
  int AddYOfXInverse(int chart, int frame, int idNumber, const double& a, const double& b,
                     bool dateAxis);
  int AddYOfXQuadratic(int chart, int frame, int idNumber, const double& a, const double& b,
                       const double& c, bool dateAxis);
  int AddYOfXCubic(int chart, int frame, int idNumber, const double& a, const double& b,
                   const double& c, const double& d, bool dateAxis);
  int AddYOfXCompound(int chart, int frame, int idNumber, const double& a, const double& b,
                      bool dateAxis);
  int AddYOfXPower(int chart, int frame, int idNumber, const double& a, const double& b,
                   bool dateAxis);
  int AddYOfXS(int chart, int frame, int idNumber, const double& a, const double& b, bool dateAxis);
  int AddYOfXGrowth(int chart, int frame, int idNumber, const double& a, const double& b,
                    bool dateAxis);
  int AddYOfXExponential(int chart, int frame, int idNumber, const double& a, const double& b,
                         bool dateAxis);
  int AddYOfXLogistic(int chart, int frame, int idNumber, const double& a, const double& b,
                      const double& c, bool dateAxis);
  ///@}
  /// Completes a started composite formula with a and b and adds its line.
  int AddYOfXWithAB(int chart, int frame, int compositeString, int idNumber, const double& a,
                    const double& b);
  /// The line of a finished formula string.
  int AddYFunctionOfX(int chart, int frame, int functionText, int idNumber);

  // ---- Facets -----------------------------------------------------------------
  /// A coordinate facet under a frame (nothing else may hold one): its
  /// handle, or -1.
  int AddCoordinateFacet(int chart, int frame);
  /// Facet algebra under a coordinate facet; a nest takes exactly two children.
  ///@{
  int AddCross(int chart, int node);
  int AddNest(int chart, int node);
  int AddBlend(int chart, int node);
  ///@}
  /// A facet variable for a role (1 x .. 7 position) under a facet node: its
  /// handle, or -1.
  int AddFacetVariable(int chart, int node, int role, int variable);
  /// The frame's table facet or facet labeling. Made on first call; later
  /// calls return the same handle.
  ///@{
  int AddTableFacet(int chart, int frame);
  int AddFacetLabeling(int chart, int frame);
  ///@}
  /// The aspect ratio of the labeling's cells: the labeling, or -1.
  int SetFacetLabelingCellAspect(int chart, int labeling, const double& aspect);
  /// A label of facet level `level` in a labeling, reversed when `reverse` is
  /// set: its handle, or -1.
  int AddFacetLabel(int chart, int labeling, int idText, int level, bool reverse);
  /// The labeling's first label of `level`, or -1 (no report).
  int GetFacetLabel(int chart, int labeling, int level);
  /// The cell style of a facet label (a string handle): the label, or -1.
  /// -1 as the style removes it.
  int SetFacetLabelCellStyle(int chart, int label, int styleText);
  /// The gap of a facet label (a string handle): the label, or -1.
  int SetFacetLabelGap(int chart, int label, int gapText);
  /// The level of a facet label: the label, or -1.
  int SetFacetLabelLevel(int chart, int label, int level);
  /// A facet style under an element or grid lines: in the facet cells that
  /// `whenText` selects (a string handle such as "odd") they take the style
  /// `styleText` names (-1: the default facet style). Its handle, or -1.
  int AddFacetStyle(int chart, int element, int whenText, int styleText);
  /// Gives each facet panel its own scale. Always -1 (callers ignore it).
  int SetFacetsDifferentScale(int chart, int dimension);
  /// The variable of a scatter-plot matrix over a variable list.
  int AddMatrixVariable(int chart, int list);
  /// The sum of a variable list's variables, labelled for the role's axis.
  int AddOverlayVariable(int chart, int list, int role);

  // ---- Data source and variables --------------------------------------------
  // Variable indexes: with a procedure dictionary (second SetDataSource form
  // with a data area) callers pass the procedure's 1-based variable numbers;
  // otherwise 0-based column indexes.
  //
  /// Ties a data source to the instance (the first one set stays for the life
  /// of the instance) and, unless chart is -1, to the chart. The source is the
  /// host's: it must outlive the instance and is never freed here.
  void SetDataSource(int chart, VORN_DataSource* source);
  /// The same from a procedure's data area and dictionary: with the all-ones
  /// data pointer ((void*)-1) the dictionary is itself the data source;
  /// otherwise the dictionary maps the procedure's variable numbers.
  void SetDataSource(int chart, void* data, VORN_FortranDictionary*& dictionary);
  /// A `source` element (ids "source0", "source1", ...); its handle.
  int AddSource(int chart);
  /// A `variable` element for a data-source column; its handle.
  int AddVariable(int chart, int source, int variable, bool categorical);
  /// As AddVariable, its meta described as a labeling variable.
  int AddLabelingVariable(int chart, int source, int variable, bool categorical);
  /// Points a variable element at another column; returns the column index.
  int SetVariable(int chart, int variableHandle, int variable, bool categorical);
  /// A copy of a variable element (attributes only) with its own id.
  int CopyVariable(int chart, int variableHandle);
  /// Marks the variable as log-scaled. Returns `chart`, whatever happens.
  int CreateLogVar(int chart, int variableHandle);
  /// Each returns the variable handle.
  ///@{
  int SetVariableCategorical(int chart, int variableHandle, bool categorical);
  int SetVariableFormat(int chart, int variableHandle, long formatCode);
  int SetVariableLabel(int chart, int variableHandle, int text);
  int SetVariableName(int chart, int variableHandle, int text);
  int SetVariableValue(int chart, int variableHandle, int text);
  ///@}
  /// The column's display format as a format code.
  int GetVariableFormat(int chart, int variable);
  /// Variable lists, numbered 0, 1, ... per chart.
  ///@{
  int BeginVariableList(int chart);
  int AddToVariableList(int chart, int list, int variableHandle);
  ///@}
  /// A variable whose expression sums a list's variables.
  int AddRangeVariable(int chart, int list);
  /// A relabel of a variable's value; 0 (nothing added) past 1000 relabels.
  int AddRelabel(int chart, int variableHandle, int from, int to);
  /// The column's value labels as relabels: the variable handle, or -1 when
  /// none was added.
  int AddRelabels(int chart, int variableHandle, int variable);

  // ---- Data rows (quiet about bad chart handles: called once per case) -----
  /// Opens the next row; the new row count, or -1.
  int AddRow(int chart, int source);
  /// Stores the text of a string handle (a number when it reads as one) in the
  /// current row. 0, or -1 (a refused value discards the chart).
  int AddDataValue(int chart, int source, int variableHandle, int text);
  /// Stores a number in the current row. 0, or -1 (which discards the chart,
  /// also for a handle that is not a data-source variable).
  int AddDoubleDataValue(int chart, int source, int variableHandle, double value);
  /// From now on every text value is stored as a number. Returns `chart`.
  int AllDataDoubles(int chart);
  /// Marks the chart as failed: it refuses data and is not sent. The handle, or -1.
  int SetFatalError(int chart);

  // ---- Value texts (new string handles; no chart) ---------------------------
  /// The column's name; its label (blanks trimmed), else its name.
  ///@{
  int VariableName(int variable);
  int VariableLabel(int variable);
  ///@}
  /// The value's label, else the value in the column's display format; the
  /// host's missing value gives the translated "missing" text. Longer texts are
  /// cut to maxLength bytes (0: no limit) without splitting a character. With a
  /// pattern key the text fills "^1" of that pattern.
  ///@{
  int ValueLabel(int variable, double value, int maxLength);
  int ValueLabel(int variable, double value, int maxLength, const std::string& patternKey);
  ///@}
  /// The value in the column's display format (never its label).
  int Value(int variable, double value);
  /// The value in the display format of a mean of the column.
  int MeanValue(int variable, double value);
  /// "LABEL: VALUE": the variable's label and the value's label or text.
  int ObjectLabel(int variable, double value);
  /// As LRValue, but the missing value gives the translated "missing" text.
  int LRValueAsString(double value, int format);

  // ---- Frames, elements, positions and aesthetics ----------------------------
  // Builders return the new element's handle, setters the handle they were
  // given; both -1 on failure. `suffix` (-1: none) names the new element's id:
  // its tag, "_" and the suffix text; without one the id is the tag and a
  // per-chart serial.
  //
  /// A frame under the document element (0) or a frame.
  int AddFrame(int chart, int parent, int suffix);
  /// A graphic element of `type` ("point", "line", "interval", ...) under a
  /// frame or element group.
  int AddElement(int chart, int parent, int type, int suffix);
  /// A group of elements under a frame: its handle, or -1.
  int AddElementGroup(int chart, int frame, int suffix);
  /// An element binned on a hexagonal grid: its position bins x and y and its
  /// size shows the count.
  int AddBinnedElement(int chart, int parent, int type, int suffix, int xVariable, int yVariable);
  /// The position of an element: its handle, or -1.
  int AddPosition(int chart, int element);
  /// Positional members referring to a variable element, under an element or
  /// position, kept in the order x, y, z (theta, r, phi for polar charts).
  ///@{
  int AddX(int chart, int parent, int variable);
  int AddY(int chart, int parent, int variable);
  int AddZ(int chart, int parent, int variable);
  int AddR(int chart, int parent, int variable);
  int AddTheta(int chart, int parent, int variable);
  int AddPhi(int chart, int parent, int variable);
  ///@}
  /// An element's colour by a variable: the colour's handle, or -1.
  int AddColor(int chart, int element, int variable);
  /// Splits an element into one mark per value of a variable: the split's
  /// handle, or -1.
  int AddSplit(int chart, int element, int variable);
  /// Styles of an element that vary by a variable's values: by the default
  /// cycle, by colour, by pattern, or by both.
  ///@{
  int AddStyleBy(int chart, int element, int variable);
  int AddStyleByColor(int chart, int element, int variable);
  int AddStyleByPattern(int chart, int element, int variable);
  int AddStyleByColorAndPattern(int chart, int element, int variable);
  ///@}
  /// A label under any element, replacing the parent's earlier label.
  int AddLabel(int chart, int parent, int idSuffix, int content);
  /// Value labels of an element drawn from a variable: their handle, or -1.
  int AddLabeling(int chart, int element, int variable);
  /// As AddLabeling, with a suffix naming their style.
  int AddLabelingSuffix(int chart, int element, int variable, int suffix);
  /// An aggregate variable (see AddAggregate) described as a labeling.
  int AddLabelingAggregate(int chart, int sourceVariable, int function, bool categorical,
                           int labelText, int shortLabelText, int domain);
  /// Stacks (or not) the elements of a position's element. The position, or -1.
  int AddStack(int chart, int position, bool stacked);
  /// An element's dot setting (a string handle): the element, or -1.
  int SetElementDot(int chart, int element, int dot);
  /// Names an element or a guide.
  int SetElementName(int chart, int elementOrGuide, int name);
  /// An element's position modifier (a string handle: stack, dodge, ...): the
  /// element, or -1.
  int SetElementPositionModifier(int chart, int element, int modifier);
  /// How an element's labels make way for each other (a string handle).
  /// Returns 0 on success.
  int SetLabelCollisionHandling(int chart, int element, int handling);
  /// Whether an element's overlapping labels show: the element, or -1.
  int SetDisplayOverlappingLabels(int chart, int element, bool show);
  /// Clips (or not) what is drawn in a frame to it: the frame, or -1.
  int SetFrameClipping(int chart, int frame, bool clip);

  // ---- Domains, sorts, statistics and aggregates --------------------------------
  /// A categorical or continuous domain: its handle, or -1.
  int AddDomain(int chart, bool categorical);
  /// A reference from a domain to another domain or a variable with the same
  /// categorical setting.
  int AddDomainReference(int chart, int domain, int target);
  /// An interval of a domain from two string handles, its least and greatest
  /// values: its handle, or -1.
  int AddIntervalEx(int chart, int domain, int minText, int maxText);
  /// The sort of a domain: its handle, or -1.
  int AddSort(int chart, int domain);
  /// Sets the domain's sort descending, making the sort if needed. The domain.
  int SetDomainDescending(int chart, int domain, bool descending);
  /// A sort's direction: the sort, or -1.
  int SetSortDescending(int chart, int sort, bool descending);
  /// A simple sort under a sort: its handle, or -1.
  int AddSimpleSort(int chart, int sort);
  /// A simple sort's method (a string handle): 0, or -1.
  int SetSimpleSortMethod(int chart, int simpleSort, int methodText);
  /// A sort by a statistic (`statVariable`) of a source variable: its
  /// handle, or -1.
  int AddStatisticSort(int chart, int sort, int sourceVariable, int statVariable);
  /// A statistic of `method` under any element ("histogram" gets its facets'
  /// shared-specification parameter).
  int AddStatistic(int chart, int parent, int methodText);
  /// A name/value parameter under a statistic, guide or element.
  int AddParam(int chart, int statisticOrElement, int nameText, int valueText);
  /// Adds a bin-width parameter to every histogram statistic: 1, or -1 when
  /// there is none or the width is not positive.
  int SetBinWidth(int chart, const double& width);
  /// Describes the statistic a variable shows, once per variable: returns the
  /// code (-1 for codes 0, 2, 24 and unknown ones).
  int SetSummaryFunction(int chart, int variable, int code, const double& p1, const double& p2);
  /// A variable computed from another (function: a vocabulary code for the
  /// case number, count and percent names, else any function number).
  int AddAggregate(int chart, int sourceVariable, int function, bool categorical, int labelText,
                   int shortLabelText, int domain);
  /// A variable of case weights computed from another, with its label and
  /// short label (string handles): its handle, or -1.
  int AddWeightAggregate(int chart, int sourceVariable, int labelText, int shortLabelText);
  /// Marks an aggregate as computed by the host. The meta element's handle.
  int SetAggregateExternal(int chart, int variable);
  /// A number format under `parent` (such as a domain or an axis): its
  /// handle, or -1.
  int AddNumberFormat(int chart, int parent);
  /// A number format's prefix or most fraction digits, from a string handle:
  /// 0, or -1 when the handle names no number format.
  ///@{
  int SetNumberFormatPrefix(int chart, int numberFormat, int text);
  int SetNumberFormatMaxFractionDigits(int chart, int numberFormat, int text);
  ///@}
  /// Does nothing: always -1.
  int SetNumberFormatMinFractionDigits(int chart, int numberFormat, int digits);

  // ---- Operations of the procedural entry points ------------------------
  /// A split group is described by one column and its values in the group:
  /// `numbers` (count values) for a numeric column, or `texts` (count fields of
  /// textWidth bytes each, blank-padded) for a string column. Only the array
  /// that fits the column is read; the other may be null.
  ///
  /// The values' labels (else the values in the column's display format, a
  /// missing value as the translated "missing" text, string values without
  /// trailing blanks), each cut to maxLength bytes (0: no limit), joined by
  /// ", ": a new composite handle. -1 for a count below 1.
  int SplitList(int chart, int variable, int count, const double* numbers, const char* texts,
                int textWidth, int maxLength);
  /// A subtitle from a split description: a new handle with its text, where
  /// `lineBreaks` puts every ", "-separated item on a line of its own.
  int SplitHeader(int text, bool lineBreaks);
  /// Fills the next place of an open composite (a title such as "Sales, ^1")
  /// with a split description and ends it: the composite's handle.
  int SetSplitComposite(int composite, int text);
  /// A column's label (else its name) through a data area and dictionary read
  /// as SetDataSource reads them (all-ones data: the dictionary is the source
  /// and `variable` a 0-based column; otherwise a 1-based procedure number),
  /// without tying them to the instance: a new string handle.
  int VariableLabelFromDataSource(void* data, VORN_FortranDictionary*& dictionary, int variable);
  /// A case-weight variable: as AddVariable (never categorical), its meta
  /// marked weight="true". Its handle.
  int AddWeightVariable(int chart, int source, int variable);
  /// A variable element's label as it now stands in the chart (else its short
  /// label): a new string handle; -1 when it has neither.
  int GetVariableLabel(int chart, int variableHandle);

 protected:
  /// The chart under `chart`, or null. When `report` is set a failure is
  /// reported with `file` and `line`.
  Chart* getValidChart(int chart, const char* file, unsigned line, bool report);

 private:
  ChartXml();
  ~ChartXml();

  /// The instance's charts, strings, data source and transcoders, and the
  /// helpers that work on them, defined with the library's sources.
  struct State;
  std::unique_ptr<State> state_;
};

#endif  // CHARTXML_CHARTXML_H_
