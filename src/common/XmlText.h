// Small text rules shared by the builders.
#ifndef CHARTXML_COMMON_XMLTEXT_H_
#define CHARTXML_COMMON_XMLTEXT_H_

#include <string>
#include <string_view>

#include "chartxml/host/ChartString.h"

namespace chartxml {

// True when every character may appear in an XML 1.0 document: tab, line
// feed, carriage return, U+0020..U+D7FF, U+E000..U+FFFD and paired surrogates.
bool isLegalXml(std::u16string_view text);

// Replaces every backslash followed by 'n' with a line feed, in both forms.
void expandNewlines(ChartString& text);

// `text` without blanks (the space character only) at either end.
std::string stripBlanks(const std::string& text);

// Narrow ASCII (digits, tokens) widened to UTF-16 without a transcoder.
std::u16string widenAscii(std::string_view ascii);

}  // namespace chartxml

#endif  // CHARTXML_COMMON_XMLTEXT_H_
