// Chart: one chart description under construction. It owns its DOM document
// and the table from element handles to the document's elements; builders
// (one file per family) add elements through the shared checks here.
//
// Every failure is reported through the chart's own error handler and turned
// into the operation's failure value; a builder checks everything before it
// creates anything, so a failed builder leaves the document unchanged.
#ifndef CHARTXML_CHART_CHART_H_
#define CHARTXML_CHART_CHART_H_

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartString.h"
#include "chartxml/host/ElementTag.h"
#include "chartxml/host/VORN_Format.h"
#include "chartxml/host/VarDataProcessor.h"
#include "common/KeyedTable.h"

class VORN_DataSource;
class VORN_Variable;

class Chart : public ChartBase {
 public:
  using Tags = std::initializer_list<const char16_t*>;

  Chart(int chartIndex, ChartStringHandler* strings);
  ~Chart() override;
  Chart(const Chart&) = delete;
  Chart& operator=(const Chart&) = delete;

  // Creates the document, its style container and style cycles. False when
  // no document could be made.
  bool CreateChart();

  // ---- Handles ----------------------------------------------------------
  // 0 <= handle <= next handle; else reports "WHAT handle (N) out of range
  // (0-NEXT)".
  bool checkHandle(int handle, const char* what, const char* file, int line);
  // checkHandle, then the element itself: the next, not yet issued handle
  // passes the range check but names nothing, which is reported as
  // "WHAT handle (N) names no element". Null on failure.
  xercesc::DOMElement* checkedElement(int handle, const char* what, int line);
  xercesc::DOMElement* getElement(int handle);
  int registerElement(xercesc::DOMElement* element);
  // Reverse look-up: the element's handle, or -1.
  int getHandle(const xercesc::DOMElement* element);

  // ---- Ids and styles ---------------------------------------------------
  // False (reported "id has already been used - ID") when the id is taken.
  bool checkIdUnused(const char16_t* id, const char* file, int line);
  // Gives the element its id (tag, "_" and the suffix text, or tag and the
  // next serial) and its default style reference. The serial used, or -1.
  int assignId(xercesc::DOMElement* element, int suffixHandle);
  // Inserts before the parent's first child whose tag is in `before`, else
  // appends. Costs no scan of the children (see Chart.cc): children put in
  // any other way, the document's own included, may only be appended or
  // removed, never inserted among the others.
  void insertChild(xercesc::DOMElement* parent, xercesc::DOMElement* child, Tags before);
  // True when `levels` more levels of elements fit below `parent` in a
  // document the host can read back (ChartBase::kMaxDepth levels, the
  // document element being the first). Else reports "can't add TAG deeper
  // than 512 levels - " + the parent's tag. Builders call it after their
  // other checks, before they make anything.
  bool checkDepth(const xercesc::DOMElement* parent, const char16_t* tag, int line, int levels = 1);
  // The levels a new meta child needs: its own and its display formats'.
  static constexpr int kMetaLevels = 2;
  int addStyle(xercesc::DOMElement* container, const char16_t* id);
  int addReferencedStyle(xercesc::DOMElement* idSource, xercesc::DOMElement* target,
                         const char16_t* attribute);
  xercesc::DOMElement* addStyleCycle(const char16_t* cycleId, const char16_t* styleId);

  // ---- Shared document operations ---------------------------------------
  int CopyAttributes(int fromElement, int toElement);
  int AddMeta(int variable);
  int SetLogUnsafe();
  void SetProcedure(const ChartString& name);
  // The document as indented XML text.
  std::string serialize() const;

  // ---- Completion (Completion.cc) ---------------------------------------
  // Ends the chart: appends the style elements, has the sending library parse
  // the document and adjust its model, and sends document and data. 0, or -1
  // when the host is bootstrapping, the chart is marked fatal, or attaching
  // or sending fails (reported).
  int EndChart();
  // -1 for an empty name (nothing changed), else 0.
  int SetChartTemplate(const std::string& name);
  // Kinds 1 and 2 only (icicle plots): 1, else -1 and nothing changed.
  int SetChartType(int kind);
  // The description from a string handle: 0 when it is now non-empty, -1
  // when empty or the handle is bad.
  int CreateChartDescription(int text);
  // Appends the style container and cycles to the document element. 0, or -1
  // (reported).
  int attachStyles();
  // Marks the chart as failed: it refuses data and is never sent.
  void setFatalError() { fatalError_ = true; }
  bool fatalError() const { return fatalError_; }

  // ---- Frames and labels (FrameBuilders.cc) -----------------------------
  int AddFrame(int parent, int suffix);
  int AddLabel(int parent, int idSuffix, int content);

  // ---- Data source and variables (Variables.cc) ---------------------------
  // The chart's data source (not owned); null until set.
  void setDataSource(VORN_DataSource* source) { dataSource_ = source; }
  VORN_DataSource* dataSource() const { return dataSource_; }
  int AddSource();
  int AddVariable(int source, int column, bool categorical);
  int AddLabelingVariable(int source, int column, bool categorical);
  // A numeric variable whose meta marks it as the case weight.
  int AddWeightVariable(int source, int column);
  // A new string handle with the variable element's label, else its short
  // label; -1 (reported) when it is no variable or has neither.
  int GetVariableLabel(int variable);
  int SetVariable(int variable, int column, bool categorical);
  int CopyVariable(int variable);
  int CreateLogVar(int variable);
  int SetVariableCategorical(int variable, bool categorical);
  int SetVariableFormat(int variable, int formatCode);
  int GetVariableFormat(int column);
  int SetVariableLabel(int variable, int text);
  int SetVariableName(int variable, int text);
  int SetVariableValue(int variable, int text);
  int BeginVariableList();
  int AddToVariableList(int list, int variable);
  int AddRelabel(int variable, int from, int to);
  int AddRelabels(int variable, int column);
  int AddRangeVariable(int list);
  // The overlay-expression variable: the ids of a list's variables joined by
  // " + "; mode 1 labels it "X Axis", other modes "Y Axis".
  int addExpressionVariable(int list, int mode);
  // The meta child of `element`, made (and registered) on first need.
  xercesc::DOMElement* metaOf(xercesc::DOMElement* element);
  // Writes a display format into a meta element as its format children,
  // replacing earlier ones (DisplayFormats.cc).
  void writeDisplayFormat(xercesc::DOMElement* meta, const VORN_Format& format);

  // ---- Data rows (DataFeed.cc) --------------------------------------------
  // The two per-case operations are inline: they run once per case and
  // variable.
  int AddRow() {
    if (fatalError()) return -1;
    ++rowCounter_;
    if (rowCounter_ % kProgressEvery == 0) [[unlikely]]
      reportProgress();
    return static_cast<int>(rowCounter_);
  }
  int AddDataValue(int variable, int text);
  int AddDoubleDataValue(int variable, double value) {
    if (fatalError()) return -1;
    VarDataProcessor::_varinfo* record = feedRecord(variable);
    if (record == nullptr) return -1;  // stricter than AddDataValue: no such variable
    // Before the first row the index wraps to the top; the feed refuses it.
    VarDataProcessor::StoreNumber(record, rowCounter_ - 1, value);
    return 0;
  }
  // The same operations for the flat entry points' fast lane: each does the
  // operation and returns true only where it cannot fail, report or throw (a
  // live chart, a data-source variable, a string value seen before, no
  // progress line due); otherwise it changes nothing and returns false, and
  // the caller takes the full path, which reports as it always did.
  bool tryAddRow(int& rows) noexcept {
    if (fatalError() || (rowCounter_ + 1) % kProgressEvery == 0) return false;
    rows = static_cast<int>(++rowCounter_);
    return true;
  }
  bool tryAddDoubleDataValue(int variable, double value) noexcept {
    if (fatalError()) return false;
    VarDataProcessor::_varinfo* record = feedRecord(variable);
    if (record == nullptr) return false;
    VarDataProcessor::StoreNumber(record, rowCounter_ - 1, value);
    return true;
  }
  bool tryAddDataValue(int variable, int text) noexcept {
    if (fatalError()) return false;
    VarDataProcessor::_varinfo* record = feedRecord(variable);
    if (record == nullptr) return false;
    const TextSlot* slot = cachedText(variable, text);
    if (slot == nullptr) return false;
    storeCached(record, *slot);
    return true;
  }
  // The feed record of a data-source variable, or null.
  VarDataProcessor::_varinfo* feedRecord(int variable) const {
    return variable >= 0 && static_cast<std::size_t>(variable) < feedRecords_.size()
               ? feedRecords_[variable]
               : nullptr;
  }
  void AllDataDoubles() {
    allDoubles_ = true;
    textCaches_.clear();  // what a text became depends on it
  }
  std::uint32_t rowCount() const { return rowCounter_; }
  VarDataProcessor& dataProcessor() { return dataProcessor_; }

  // ---- Elements, positions and aesthetics (ElementBuilders.cc) ------------
  int AddElement(int parent, int type, int suffix);
  int AddElementGroup(int frame, int suffix);
  int AddBinnedElement(int parent, int type, int suffix, int xVariable, int yVariable);
  int AddPosition(int element);
  // The positional members by role code (1 x, 2 y, 3 z, 4 r, 5 theta, 6 phi).
  int addPositional(int role, int parent, int variable);
  int AddColor(int element, int variable);
  int AddSplit(int element, int variable);
  int AddStyleBy(int element, int variable);
  int AddStyleByColor(int element, int variable);
  int AddStyleByPattern(int element, int variable);
  int AddStyleByColorAndPattern(int element, int variable);
  int addSize(int parent, int variable);
  int setSizeHigh(int size, int text);
  int setSizeLow(int size, int text);
  int AddLabeling(int element, int variable);
  int AddLabelingSuffix(int element, int variable, int suffix);
  int AddLabelingAggregate(int sourceVariable, int function, bool categorical, int labelText,
                           int shortLabelText, int domain);
  int AddStack(int position, bool stacked);
  int SetElementDot(int element, int dot);
  int SetElementName(int elementOrGuide, int name);
  int SetElementPositionModifier(int element, int modifier);
  int SetLabelCollisionHandling(int element, int handling);
  int SetDisplayOverlappingLabels(int element, bool show);
  int SetFrameClipping(int frame, bool clip);
  int setPositionModifier(xercesc::DOMElement* target, const ChartString& text);

  // ---- Domains and sorts (DomainBuilders.cc) -------------------------------
  int AddDomain(bool categorical);
  int AddDomainReference(int domain, int target);
  int AddIntervalEx(int domain, int minText, int maxText);
  int AddSort(int domain);
  int SetDomainDescending(int domain, bool descending);
  int SetSortDescending(int sort, bool descending);
  int AddSimpleSort(int sort);
  int SetSimpleSortMethod(int simpleSort, int methodText);
  int AddStatisticSort(int sort, int sourceVariable, int statVariable);

  // ---- Statistics, aggregates and number formats (StatisticBuilders.cc) ----
  int AddStatistic(int parent, int methodText);
  int AddParam(int statisticOrElement, int nameText, int valueText);
  int SetBinWidth(double width);
  int SetSummaryFunction(int variable, int code, double p1, double p2);
  int AddAggregate(int sourceVariable, int function, bool categorical, int labelText,
                   int shortLabelText, int domain);
  int AddWeightAggregate(int sourceVariable, int labelText, int shortLabelText);
  int SetAggregateExternal(int variable);
  int AddNumberFormat(int parent);
  int SetNumberFormatPrefix(int numberFormat, int text);
  int setNumberFormatSuffix(int numberFormat, int text);
  int SetNumberFormatMaxFractionDigits(int numberFormat, int text);

  // ---- Coordinates, dimensions, axes, guides, legends (AxisBuilders.cc) --
  int AddCoordinateTransform(int frame, int method);
  int AddDimension(int frame, int role, int domain);
  int GetDimension(int frame, int role);
  int SetDimensionDomain(int dimension, int domain);
  int SetDimensionLowerMapping(int dimension, int mapping);
  int SetDimensionUpperMapping(int dimension, int mapping);
  int SetDimensionLowerMargin(int dimension, int margin);
  int SetDimensionUpperMargin(int dimension, int margin);
  int SetDimensionSameRatio(int dimension, bool sameRatio);
  int SetUnionDomain(int dimension);
  int SetDimensionScale(int dimension, int method, int value, bool invert);
  int SetXYDimensionSameScale(double extent);
  int AddAxis(int dimension, int idSuffix, bool opposite);
  int AddMajorTicks(int parent, int position, bool gridLines, int length, int labelAngle,
                    bool stagger, int delta);
  int AddMinorTicks(int axis, int position, bool gridLines, int length, int number);
  int AddGuide(int frame, int type, int suffix);
  int AddLegend(int frame, int suffix);
  int AddLegendTarget(int legend, int target, int suffix, int aesthetic);
  int AddLegendTargetEx(int legend, int target, int styleBy, int suffix);
  // Axis code 1 (x) or 2 (y).
  int addReferenceLine(int axis, int frame, int value, int number);
  int SetAxisPercent(int parent, int formatOwner);

  // ---- Fitted-function lines (FunctionBuilders.cc) ------------------------
  // The document part of a function line: the guide and its two parameters.
  int AddYFunctionOfX(int frame, int functionText, int idNumber);

  // ---- Facets (FacetBuilders.cc) ---------------------------------------------
  int AddCoordinateFacet(int frame);
  int AddCross(int node);
  int AddNest(int node);
  int AddBlend(int node);
  int AddFacetVariable(int node, int role, int variable);
  int AddTableFacet(int frame);
  int AddFacetLabeling(int frame);
  int SetFacetLabelingCellAspect(int labeling, double aspect);
  int AddFacetLabel(int labeling, int idText, int level, bool reverse);
  int GetFacetLabel(int labeling, int level);
  int SetFacetLabelCellStyle(int label, int styleText);
  int SetFacetLabelGap(int label, int gapText);
  int SetFacetLabelLevel(int label, int level);
  int AddFacetStyle(int element, int whenText, int styleText);
  int SetFacetsDifferentScale(int dimension);
  int AddMatrixVariable(int list);
  int AddOverlayVariable(int list, int role);

  // ---- Accessors ----------------------------------------------------------
  xercesc::DOMDocument* document() const { return document_; }
  xercesc::DOMElement* root() const;
  int chartIndex() const { return chartIndex_; }
  int nextHandle() const { return nextHandle_; }
  const std::string& procedureName() const { return procedureName_; }
  ChartErrorHandler& errors() { return errorHandler_; }
  ChartStringHandler& strings() { return *strings_; }

  // The checks of variables and columns; each reports and returns false.
  bool checkDataSource(int line);
  bool checkColumn(int column, int line);
  bool checkVariableList(int list, int line);
  bool checkRole(int role, int line);
  // Sets an attribute from text that came from the host or a caller: only
  // when every character is legal in XML (else reported and left out).
  bool setTextAttribute(xercesc::DOMElement* element, const char16_t* name,
                        const std::u16string& value);

  // Reports `message` with the chart's source name.
  void report(const std::string& message, int line);
  // Checks a string handle with the string table's check, naming `role`.
  bool checkString(int handle, const char* role, int line);
  // The text of a string handle that passed checkString, read before a builder
  // creates anything. A handle that names no string (the next, not yet issued
  // handle passes the range check) is reported and reads as the empty text.
  // False (reported) when, with an `attribute`, XML cannot hold the text as
  // that attribute's value.
  bool callerText(int handle, const char16_t* attribute, ChartString& text, int line);
  // Reports "MESSAGE" + the element's tag: the wrong-parent message.
  void reportParent(const char* message, const xercesc::DOMElement* parent, int line);

 private:
  xercesc::DOMDocument* document_ = nullptr;
  xercesc::DOMElement* styleContainer_ = nullptr;
  int nextHandle_ = 1;
  xercesc::DOMElement* defaultStyleCycle_ = nullptr;
  xercesc::DOMElement* repositoryStyleCycle_ = nullptr;
  xercesc::DOMElement* defaultStyle_ = nullptr;
  std::string procedureName_;
  chartxml::KeyedTable<xercesc::DOMElement*> elements_;
  std::unordered_map<const xercesc::DOMElement*, int> handles_;
  // Where insertChild puts children, per parent: the first child of each tag
  // among the parent's children, in document order, and the last child read.
  struct ChildIndex {
    struct First {
      const XMLCh* tag;
      xercesc::DOMNode* child;
    };
    std::vector<First> firsts;
    xercesc::DOMNode* lastSeen = nullptr;
  };
  // The parent's index, brought up to date with its children.
  ChildIndex& childIndex(xercesc::DOMElement* parent);
  std::unordered_map<const xercesc::DOMElement*, ChildIndex> childIndexes_;
  // Whether any facet labeling was made: until then no search for one.
  bool madeFacetLabeling_ = false;
  int nextIdSerial_ = 1;
  bool fatalError_ = false;
  ChartString description_;
  std::string chartTemplate_;
  int chartKind_ = 0;

  // Variables and data.
  static constexpr std::uint32_t kProgressEvery = 10000;
  void reportProgress() const;
  int addDataSourceVariable(int source, int column, bool categorical);
  void labelFromColumn(xercesc::DOMElement* variable, const VORN_Variable& column,
                       bool expandLineBreaks);
  xercesc::DOMElement* newRelabel(const ChartString& from, const ChartString& to);
  // The aggregate variable that AddAggregate and AddWeightAggregate share; the
  // data feed knows it as `sourceName` (StatisticBuilders.cc).
  int addAggregate(int sourceVariable, const std::u16string& sourceName, bool categorical,
                   int labelText, int shortLabelText, int domain, bool weight);

  VORN_DataSource* dataSource_ = nullptr;
  std::uint32_t sourceCounter_ = 0;
  int variableListCounter_ = 0;
  std::map<int, std::vector<int>> variableLists_;
  std::map<int, int> variableColumns_;
  // Feed records by element handle: the per-value path indexes, never searches.
  std::vector<VarDataProcessor::_varinfo*> feedRecords_;
  VarDataProcessor dataProcessor_;
  std::uint32_t rowCounter_ = 0;
  bool allDoubles_ = false;
  std::string utf8Scratch_;

  // What a string handle's text became in a column: a dictionary code, or
  // (code 0) a number. Remembered per column so that a repeated value is
  // stored without conversion, number test or hashing. Direct-mapped by
  // handle, a fixed number of slots per column: a procedure that makes a new
  // handle per case only evicts. A slot's key holds the string table's
  // generation with the handle, so a reset table, whose handle numbers come
  // back for other texts, or a replaced text misses.
  struct TextSlot {
    std::uint64_t key = ~std::uint64_t{0};
    std::uint32_t code = 0;
    double number = 0;
  };
  static constexpr std::size_t kTextSlots = 256;
  static std::uint64_t textKey(std::uint32_t generation, int text) {
    return (std::uint64_t{generation} << 32) | static_cast<std::uint32_t>(text);
  }
  // The slot that holds `text` for the variable's column, or null.
  const TextSlot* cachedText(int variable, int text) const noexcept {
    if (static_cast<std::size_t>(variable) >= textCaches_.size()) return nullptr;
    const TextSlot* slots = textCaches_[variable].get();
    if (slots == nullptr) return nullptr;
    const TextSlot& slot = slots[static_cast<std::uint32_t>(text) % kTextSlots];
    return slot.key == textKey(strings_->generation(), text) ? &slot : nullptr;
  }
  // Keeps what a text became for the variable's column (may allocate).
  void remember(int variable, const TextSlot& made);
  void storeCached(VarDataProcessor::_varinfo* record, const TextSlot& slot) noexcept {
    const std::uint32_t row = rowCounter_ - 1;
    if (slot.code != 0) {
      VarDataProcessor::StoreCode(record, row, slot.code);
    } else {
      VarDataProcessor::StoreNumber(record, row, slot.number);
    }
  }
  // Columns' slot arrays by element handle, as feedRecords_; made on a
  // column's first string value.
  std::vector<std::unique_ptr<TextSlot[]>> textCaches_;
  ChartErrorHandler errorHandler_;
  ChartStringHandler* strings_;
  int chartIndex_;
};

#endif  // CHARTXML_CHART_CHART_H_
