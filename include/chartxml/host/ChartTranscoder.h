// ChartTranscoder: converts between a multibyte code page of the host and
// UTF-16, through an ICU converter chosen by code-page name ("CP1252",
// "CP932", "UTF-8", ...).
//
// Bad input is reported to the host's report log, never thrown:
// - an unknown code-page name is reported once, at construction, and the
//   transcoder then works as UTF-8 (valid() is false); an empty name means
//   UTF-8 and is not reported;
// - each invalid byte sequence (or byte without a mapping) becomes one U+FFFD;
//   one report per call names the code page and the 0-based byte offset of
//   the first;
// - characters the code page cannot represent become '?' (U+FFFD in UTF-8),
//   reported once per call with the UTF-16 offset of the first.
//
// One transcoder, one thread.
#ifndef CHARTXML_HOST_CHARTTRANSCODER_H_
#define CHARTXML_HOST_CHARTTRANSCODER_H_

#include <memory>
#include <string>
#include <string_view>

#include "chartxml/export.h"
#include "chartxml/host/ChartString.h"

class CHARTXML_HOST_EXPORT ChartTranscoder {
 public:
  explicit ChartTranscoder(const std::string& codePage);
  ~ChartTranscoder();
  ChartTranscoder(const ChartTranscoder&) = delete;
  ChartTranscoder& operator=(const ChartTranscoder&) = delete;

  // Narrow text in the code page -> UTF-16 (localised form only).
  ChartString transcode(std::string_view narrow) const;
  // The localised form of `text` -> narrow text in the code page.
  std::string transcodeTo(const ChartString& text) const;
  std::string transcodeTo(std::u16string_view text) const;

  // The name given at construction.
  const std::string& codePage() const { return codePage_; }
  // False when the name was unknown and UTF-8 is used instead.
  bool valid() const;

 private:
  struct Converter;
  std::string codePage_;
  std::unique_ptr<Converter> converter_;
};

#endif  // CHARTXML_HOST_CHARTTRANSCODER_H_
