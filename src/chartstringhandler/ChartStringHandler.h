// ChartStringHandler: the string-handle table shared by all charts of the
// instance. Handles 1..156 are the vocabulary codes (VocabularyCodes.cc);
// caller strings and composites take 157 upward in one sequence.
#ifndef CHARTXML_CHARTSTRINGHANDLER_CHARTSTRINGHANDLER_H_
#define CHARTXML_CHARTSTRINGHANDLER_CHARTSTRINGHANDLER_H_

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartString.h"
#include "chartxml/host/OmComposite.h"
#include "common/KeyedTable.h"

class ChartXml;

class ChartStringHandler {
 public:
  static constexpr int kFirstCallerHandle = 157;

  // `owner` translates the vocabulary's message texts; `errors` receives every
  // report. Both must outlive the table.
  ChartStringHandler(ChartXml& owner, ChartErrorHandler& errors);
  ~ChartStringHandler();

  // A plain string under the next handle; returns the handle.
  int add(const ChartString& text);
  // A composite over a pattern; returns its handle.
  int addComposite(const ChartString& pattern);
  int addParameter(int composite, int parameter);
  int beginRepeat(int composite);
  int endRepeat(int composite);
  int endComposite(int composite);
  int styleString(int string, int index);

  // 0 <= handle <= next handle; else reports ROLE + " handle out of range".
  bool checkHandle(int handle, const char* role, const char* file, int line);
  // The handle's text; a composite is resolved and cached. Reports "String not
  // found for handle N" and returns an empty string when there is none.
  ChartString getString(int handle);
  // As getString, without copying: null when the handle names nothing (no
  // report). The pointer is valid until the table changes.
  const ChartString* peek(int handle);

  // Empties the table and reloads the vocabulary; the next handle is 157.
  void reset();

  // The instance's text services (ChartXml::transcode and translate).
  ChartString transcode(const std::string& narrow);
  ChartString translate(const std::string& key);

  int nextHandle() const { return next_; }
  // Changes whenever a handle's text may have changed: the table was reset
  // (handle numbers are then given out again, for other texts) or a handle's
  // text was replaced. A text that peek returned stays that handle's text
  // while the generation stays, so a caller may remember what it made of it.
  std::uint32_t generation() const { return generation_; }
  ChartErrorHandler& errors() { return errors_; }

  // Fills the vocabulary codes (VocabularyCodes.cc).
  void fillVocabulary();

 private:
  void insert(int code, const ChartString& text);
  OmComposite* findComposite(int handle, int line);
  // Checks and finds the composite, then runs op on it; 0, or -1 (reported,
  // with `failure` when op throws).
  template <class Op>
  int onComposite(int composite, const char* role, const char* failure, Op op);
  void report(const std::string& message, int line);

  ChartXml& owner_;
  ChartErrorHandler& errors_;
  int next_ = 0;
  std::uint32_t generation_ = 0;
  chartxml::KeyedTable<ChartString> strings_;
  std::map<int, std::unique_ptr<OmComposite>> composites_;
};

#endif  // CHARTXML_CHARTSTRINGHANDLER_CHARTSTRINGHANDLER_H_
