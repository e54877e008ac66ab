// ChartString: UTF-16 text with two forms, the localised text shown in the
// chart and its English companion. Every DOM text of the library passes
// through it.
//
// The English form is optional: while it has not been set, it reads as the
// localised text (english() and toUTF8ForEng() return the localised form).
// Operations that edit text (append, replace) apply to both forms.
//
// Not thread-safe; a value type, cheap to move.
#ifndef CHARTXML_HOST_CHARTSTRING_H_
#define CHARTXML_HOST_CHARTSTRING_H_

#include <string>
#include <string_view>

#include "chartxml/export.h"

class CHARTXML_HOST_EXPORT ChartString {
 public:
  ChartString() = default;
  // Both take a UTF-16 text as the localised form; no English form.
  ChartString(std::u16string_view text);  // NOLINT: implicit on purpose
  ChartString(const char16_t* text);      // NOLINT: null reads as empty
  // Localised and English forms.
  ChartString(std::u16string_view text, std::u16string_view english);

  // The localised form as a null-terminated UTF-16 string (usable as XMLCh*).
  const char16_t* c_str() const { return text_.c_str(); }
  const std::u16string& str() const { return text_; }
  // The English form (the localised form when none was set).
  const std::u16string& english() const { return hasEnglish_ ? english_ : text_; }
  bool hasEnglish() const { return hasEnglish_; }
  std::size_t length() const { return text_.size(); }
  bool empty() const { return text_.empty(); }

  // Replaces both forms: `text` becomes the localised form, `english` the
  // English one.
  void assign(std::u16string_view text, std::u16string_view english);
  // Replaces the localised form from UTF-8 (invalid sequences become U+FFFD).
  void assignUTF8(std::string_view utf8);
  // Sets the English form from UTF-8 (invalid sequences become U+FFFD).
  void assignUTF8ForEng(std::string_view utf8);
  // Sets the localised form to the number as printf("%.16g") writes it and
  // clears the English form.
  void assignDouble(double value);
  void clear();

  // The forms as UTF-8 (unpaired surrogates become U+FFFD).
  std::string toUTF8() const;
  std::string toUTF8ForEng() const;

  // Appends to both forms (the other string's English form to ours).
  ChartString& append(std::u16string_view text);
  ChartString& append(const ChartString& other);
  ChartString& append(const char16_t* text) {
    return append(std::u16string_view(text == nullptr ? u"" : text));
  }
  ChartString& operator+=(std::u16string_view text) { return append(text); }
  ChartString& operator+=(const char16_t* text) { return append(text); }
  ChartString& operator+=(const ChartString& other) { return append(other); }

  // Replaces every occurrence of `from` by `to`, in both forms. An empty
  // `from` changes nothing. Returns the number of replacements in the
  // localised form.
  std::size_t replace(std::u16string_view from, std::u16string_view to);

  // True when the whole localised text, blanks at either end allowed, is a
  // finite decimal number ("12", "-3.5", "1e6", ".5"); "nan", "inf", hex and
  // empty text are not numbers.
  bool isNumber() const;
  // The localised text read as a number (strtod rules on leading blanks and
  // trailing garbage); text that holds no number reads as 0.
  double convertToDouble() const;

  // Compares the localised forms only.
  bool operator==(const ChartString& other) const { return text_ == other.text_; }
  bool operator!=(const ChartString& other) const { return text_ != other.text_; }
  bool operator==(std::u16string_view other) const { return text_ == other; }
  // A literal would otherwise match both overloads above; null reads as empty.
  bool operator==(const char16_t* other) const { return other ? text_ == other : text_.empty(); }

  // UTF-8 <-> UTF-16 helpers shared by the host and the library.
  static std::u16string fromUTF8(std::string_view utf8);
  static std::string toUTF8(std::u16string_view utf16);
  // Appends the UTF-8 of `utf16` to `out`: reusing `out` allocates nothing
  // once it is large enough.
  static void appendUTF8(std::u16string_view utf16, std::string& out);

 private:
  std::u16string text_;
  std::u16string english_;
  bool hasEnglish_ = false;
};

#endif  // CHARTXML_HOST_CHARTSTRING_H_
