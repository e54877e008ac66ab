// Host procedure utilities: texts for the host's output tables (TsString,
// TsCellText) and the host's error channel (TsError).
#ifndef CHARTXML_HOST_TSCELLTEXT_H_
#define CHARTXML_HOST_TSCELLTEXT_H_

#include <string>

#include "chartxml/export.h"

// A narrow text in the host code page. `kind` 1 marks a message text.
class CHARTXML_HOST_EXPORT TsString {
 public:
  explicit TsString(std::string text, int kind = 0) : text_(std::move(text)), kind_(kind) {}
  const std::string& text() const { return text_; }
  int kind() const { return kind_; }

 private:
  std::string text_;
  int kind_;
};

// The host's table of output-table cell texts.
class CHARTXML_HOST_EXPORT TsCellText {
 public:
  // Stores a copy of `text` and returns its handle (1, 2, 3, ...; never
  // reused within the process).
  static int Replicate(const TsString& text);
  // The text stored under `handle`, or null (also once released). The
  // pointer is valid until that handle is released.
  static const TsString* Find(int handle);
  // Gives the text's memory back; its handle then finds nothing. Harmless for
  // a handle that names nothing.
  static void Release(int handle);
  // Number of texts stored.
  static int Count();
};

// Raises an error through the host's error channel: the text, converted from
// the host code page to UTF-8, goes to the report log with source
// "host/cpputil" and line `level`. The log keeps one number per report, so
// `detail` is not recorded. Never throws.
class CHARTXML_HOST_EXPORT TsError {
 public:
  TsError(const TsString& text, int level, int detail);
};

#endif  // CHARTXML_HOST_TSCELLTEXT_H_
