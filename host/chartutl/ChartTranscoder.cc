#include "chartxml/host/ChartTranscoder.h"

#include <string>

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include "chartutl/IcuCodePages.h"
#include "chartutl/IcuConvert.h"
#include "chartutl/ReportLog.h"

namespace {

constexpr const char* kSource = "host/chartutl";

// Where the first bad input was found, counted in the units of the input.
struct Problems {
  const void* base = nullptr;
  std::size_t count = 0;
  std::size_t first = 0;

  void start(const void* input) {
    base = input;
    count = 0;
    first = 0;
  }
  template <typename Unit>
  void note(const Unit* next, int32_t length) {
    if (count++ > 0) return;
    const std::size_t end = static_cast<std::size_t>(next - static_cast<const Unit*>(base));
    const std::size_t bad = length > 0 ? static_cast<std::size_t>(length) : 0;
    first = end >= bad ? end - bad : 0;
  }
};

bool isConversionError(UConverterCallbackReason reason) {
  return reason == UCNV_UNASSIGNED || reason == UCNV_ILLEGAL || reason == UCNV_IRREGULAR;
}

void U_CALLCONV onBadBytes(const void* context, UConverterToUnicodeArgs* args,
                           const char* /*codeUnits*/, int32_t length,
                           UConverterCallbackReason reason, UErrorCode* err) {
  if (!isConversionError(reason)) return;
  static_cast<Problems*>(const_cast<void*>(context))->note(args->source, length);
  // ICU's own substitute writes U+001A for some single-byte code pages; the
  // contract is U+FFFD.
  *err = U_ZERO_ERROR;
  const UChar replacement = 0xFFFD;
  ucnv_cbToUWriteUChars(args, &replacement, 1, 0, err);
}

void U_CALLCONV onUnmappable(const void* context, UConverterFromUnicodeArgs* args,
                             const UChar* codeUnits, int32_t length, UChar32 codePoint,
                             UConverterCallbackReason reason, UErrorCode* err) {
  if (!isConversionError(reason)) return;
  static_cast<Problems*>(const_cast<void*>(context))->note(args->source, length);
  UCNV_FROM_U_CALLBACK_SUBSTITUTE(nullptr, args, codeUnits, length, codePoint, reason, err);
}

}  // namespace

struct ChartTranscoder::Converter {
  UConverter* cnv = nullptr;
  bool known = true;
  std::string reportName;  // the code page as reports name it
  Problems toUnicode;
  Problems fromUnicode;

  ~Converter() {
    if (cnv) ucnv_close(cnv);
  }
};

ChartTranscoder::ChartTranscoder(const std::string& codePage)
    : codePage_(codePage), converter_(std::make_unique<Converter>()) {
  Converter& c = *converter_;
  UErrorCode err = U_ZERO_ERROR;
  // An empty name means no preference, and the host's default is UTF-8.
  if (!codePage.empty()) c.cnv = ucnv_open(cxhost::icuCodePageName(codePage), &err);
  if (codePage.empty() || U_FAILURE(err) || !c.cnv) {
    if (!codePage.empty()) {
      cxhost::report("unknown code page " + codePage + "; using UTF-8", kSource, __LINE__);
      c.known = false;
    }
    err = U_ZERO_ERROR;
    c.cnv = ucnv_open("UTF-8", &err);
    c.reportName = "UTF-8";
  } else {
    c.reportName = codePage;
  }
  if (!c.cnv) return;  // ICU without its UTF-8 converter: transcoding yields empty text

  // '?' rather than the code page's control-character substitute (0x1A, or a
  // double-byte mark), so that lost characters stay visible; UTF-8 keeps its
  // own U+FFFD.
  if (ucnv_getType(c.cnv) != UCNV_UTF8) {
    err = U_ZERO_ERROR;
    ucnv_setSubstString(c.cnv, u"?", 1, &err);
  }
  err = U_ZERO_ERROR;
  ucnv_setToUCallBack(c.cnv, onBadBytes, &c.toUnicode, nullptr, nullptr, &err);
  err = U_ZERO_ERROR;
  ucnv_setFromUCallBack(c.cnv, onUnmappable, &c.fromUnicode, nullptr, nullptr, &err);
}

ChartTranscoder::~ChartTranscoder() = default;

bool ChartTranscoder::valid() const {
  return converter_->known;
}

ChartString ChartTranscoder::transcode(std::string_view narrow) const {
  Converter& c = *converter_;
  if (narrow.empty() || !c.cnv) return ChartString();
  ucnv_resetToUnicode(c.cnv);
  c.toUnicode.start(narrow.data());

  std::u16string out;
  const cxhost::IcuConversion done = cxhost::icuToUnicode(c.cnv, narrow, out);
  if (!done.ok()) {
    cxhost::report("cannot convert from code page " + c.reportName + ": " + u_errorName(done.error),
                   kSource, __LINE__);
  }

  if (c.toUnicode.count > 0) {
    cxhost::report("invalid bytes for code page " + c.reportName + " at byte " +
                       std::to_string(c.toUnicode.first),
                   kSource, __LINE__);
  }
  return ChartString(out);
}

std::string ChartTranscoder::transcodeTo(const ChartString& text) const {
  return transcodeTo(std::u16string_view(text.str()));
}

std::string ChartTranscoder::transcodeTo(std::u16string_view text) const {
  Converter& c = *converter_;
  if (text.empty() || !c.cnv) return std::string();
  ucnv_resetFromUnicode(c.cnv);
  c.fromUnicode.start(text.data());

  std::string out;
  const cxhost::IcuConversion done = cxhost::icuFromUnicode(c.cnv, text, out);
  if (!done.ok()) {
    cxhost::report("cannot convert to code page " + c.reportName + ": " + u_errorName(done.error),
                   kSource, __LINE__);
  }

  if (c.fromUnicode.count > 0) {
    cxhost::report("characters not representable in code page " + c.reportName + " at character " +
                       std::to_string(c.fromUnicode.first),
                   kSource, __LINE__);
  }
  return out;
}
