#include "common/XmlText.h"

namespace chartxml {

bool isLegalXml(std::u16string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (c >= 0x20 && c <= 0xD7FF) continue;
    if (c == 0x9 || c == 0xA || c == 0xD) continue;
    if (c >= 0xE000 && c <= 0xFFFD) continue;
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] <= 0xDFFF) {
      ++i;
      continue;
    }
    return false;
  }
  return true;
}

void expandNewlines(ChartString& text) {
  text.replace(u"\\n", u"\n");
}

std::string stripBlanks(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return std::string();
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::u16string widenAscii(std::string_view ascii) {
  return std::u16string(ascii.begin(), ascii.end());
}

}  // namespace chartxml
