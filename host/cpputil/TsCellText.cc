// Output-table cell texts and the host error channel.
#include "chartxml/host/TsCellText.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <memory>
#include <unordered_map>

#include "chartutl/ReportLog.h"
#include "platform/Settings.h"

namespace {

// Texts by handle: node-based, so the pointers Find hands out stay valid as
// other texts come and go. Handles are never reused, so a released one finds
// nothing rather than somebody else's text.
struct Store {
  std::unordered_map<int, TsString> texts;
  int last = 0;
};

Store& store() {
  static Store texts;
  return texts;
}

// The report log holds UTF-8; TsString texts are in the host code page.
// Falls back to the bytes as given when the code page cannot be opened.
std::string toUtf8(const std::string& narrow) {
  const std::string codePage = cxhost::settings::codePage();
  if (narrow.empty() || ucnv_compareNames(codePage.c_str(), "UTF-8") == 0) return narrow;
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open(codePage.c_str(), &status),
                                                               &ucnv_close);
  if (U_FAILURE(status)) return narrow;
  std::u16string wide(narrow.size() * 2 + 1, u'\0');
  const int32_t wideLength =
      ucnv_toUChars(converter.get(), wide.data(), static_cast<int32_t>(wide.size()), narrow.data(),
                    static_cast<int32_t>(narrow.size()), &status);
  if (U_FAILURE(status)) return narrow;
  std::string utf8(static_cast<std::size_t>(wideLength) * 3 + 1, '\0');
  int32_t utf8Length = 0;
  u_strToUTF8WithSub(utf8.data(), static_cast<int32_t>(utf8.size()), &utf8Length, wide.data(),
                     wideLength, 0xFFFD, nullptr, &status);
  if (U_FAILURE(status)) return narrow;
  utf8.resize(static_cast<std::size_t>(utf8Length));
  return utf8;
}

}  // namespace

int TsCellText::Replicate(const TsString& text) {
  Store& all = store();
  all.texts.emplace(all.last + 1, text);
  return ++all.last;
}

const TsString* TsCellText::Find(int handle) {
  const auto it = store().texts.find(handle);
  return it == store().texts.end() ? nullptr : &it->second;
}

void TsCellText::Release(int handle) {
  store().texts.erase(handle);
}

int TsCellText::Count() {
  return static_cast<int>(store().texts.size());
}

TsError::TsError(const TsString& text, int level, int /*detail*/) {
  try {
    cxhost::report(toUtf8(text.text()), "host/cpputil", level);
  } catch (...) {
    // An error channel that throws would turn a report into a crash.
  }
}
