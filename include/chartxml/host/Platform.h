// Host platform helpers: output language, default code page, string-table
// path, bootstrapping state, the infinity value and multibyte truncation.
//
// Settings come from the host C API (chartxml_host.h) first, then from the
// environment (CHARTXML_LANG, CHARTXML_CODEPAGE, CHARTXML_STRINGS), then from
// built-in defaults (English, UTF-8, the string tables shipped with the host).
#ifndef CHARTXML_HOST_PLATFORM_H_
#define CHARTXML_HOST_PLATFORM_H_

#include <cstddef>
#include <string>

#include "chartxml/export.h"

// The output language ("en", "ja", "zh-tw", ...), read when constructed.
class CHARTXML_HOST_EXPORT OLang {
 public:
  OLang();
  const std::string& GetLanguageCode() const { return code_; }

 private:
  std::string code_;
};

// A path the host knows by kind. Kind 3 is the string-table folder; other
// kinds are empty.
class CHARTXML_HOST_EXPORT PathFactory {
 public:
  static PathFactory getPathInstance(int kind);
  const std::string& getPath() const { return path_; }

 private:
  explicit PathFactory(std::string path) : path_(std::move(path)) {}
  std::string path_;
};

// The host's default multibyte code page ("UTF-8" unless set). The text stays
// valid until the setting changes; callers that keep it copy it.
CHARTXML_HOST_EXPORT const char* VORNMBDefaultCodePage();

// True while the host is bootstrapping (charts are then not sent).
CHARTXML_HOST_EXPORT bool QBOOTSTRAPPING();

// Cuts `text` (UTF-8) to at most `maxBytes` bytes without splitting a
// character: a character that does not fit is dropped whole. Returns the new
// length in bytes; `text` is shortened in place. An ill-formed byte sequence
// is kept or dropped whole, like a character.
CHARTXML_HOST_EXPORT std::size_t VORNMBStringTruncate_A(std::string& text, std::size_t maxBytes);

// The value the host uses for an infinite or missing estimate: positive IEEE
// infinity (HUGE_VAL), so no finite estimate can be mistaken for it.
struct CHARTXML_HOST_EXPORT VORN_Globals {
  static const double infinity;
};

// The host's return-to-caller unwinding: when the host throws it through the
// library, the library lets it pass untouched (it is the host's control flow,
// not an error of the library). The reference host never throws it.
struct CHARTXML_HOST_EXPORT VornGoToCaller {};

// The most negative finite double: the host's mark of a missing numeric value.
inline constexpr double kVornMissingValue = -1.7976931348623157e308;

#endif  // CHARTXML_HOST_PLATFORM_H_
