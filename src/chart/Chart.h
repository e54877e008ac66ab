// Chart: one chart description under construction. It owns its DOM document
// and the table from element handles to the document's elements; builders
// (one file per family) add elements through the shared checks here.
//
// Every failure is reported through the chart's own error handler and turned
// into the operation's failure value; a builder checks everything before it
// creates anything, so a failed builder leaves the document unchanged.
#ifndef CHARTXML_CHART_CHART_H_
#define CHARTXML_CHART_CHART_H_

#include <initializer_list>
#include <string>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>

#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartString.h"
#include "common/KeyedTable.h"

class ChartStringHandler;

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
  // Reverse look-up (a full scan): the element's handle, or -1.
  int getHandle(const xercesc::DOMElement* element);

  // ---- Ids and styles ---------------------------------------------------
  // False (reported "id has already been used - ID") when the id is taken.
  bool checkIdUnused(const char16_t* id, const char* file, int line);
  // Gives the element its id (tag, "_" and the suffix text, or tag and the
  // next serial) and its default style reference. The serial used, or -1.
  int assignId(xercesc::DOMElement* element, int suffixHandle);
  // Inserts before the parent's first child whose tag is in `before`, else
  // appends.
  void insertChild(xercesc::DOMElement* parent, xercesc::DOMElement* child, Tags before);
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
  // Ends the chart: appends the style elements to the document. 0, or -1 when
  // the host is bootstrapping, the chart is marked fatal or the styles cannot
  // be attached.
  int EndChart();
  // Appends the style container and cycles to the document element. 0, or -1
  // (reported).
  int attachStyles();
  // Marks the chart as failed: it refuses data and is never sent.
  void setFatalError() { fatalError_ = true; }
  bool fatalError() const { return fatalError_; }

  // ---- Frames and labels (FrameBuilders.cc) -----------------------------
  int AddFrame(int parent, int suffix);
  int AddLabel(int parent, int idSuffix, int content);

  // ---- Accessors ----------------------------------------------------------
  xercesc::DOMDocument* document() const { return document_; }
  xercesc::DOMElement* root() const;
  int chartIndex() const { return chartIndex_; }
  int nextHandle() const { return nextHandle_; }
  const std::string& procedureName() const { return procedureName_; }
  ChartErrorHandler& errors() { return errorHandler_; }
  ChartStringHandler& strings() { return *strings_; }

  // Reports `message` with the chart's source name.
  void report(const std::string& message, int line);
  // Checks a string handle with the string table's check, naming `role`.
  bool checkString(int handle, const char* role, int line);
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
  int nextIdSerial_ = 1;
  bool fatalError_ = false;
  ChartErrorHandler errorHandler_;
  ChartStringHandler* strings_;
  int chartIndex_;
};

#endif  // CHARTXML_CHART_CHART_H_
