// Data files in any encoding, turned into text in the host's code page.
#include "datasrc/CsvEncoding.h"

#include <unicode/ucnv.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "chartutl/IcuCodePages.h"
#include "chartutl/IcuConvert.h"
#include "datasrc/CsvSupport.h"
#include "platform/Settings.h"

namespace cxhost {

namespace {

using csv::Place;
using csv::placeOf;
using csv::refuse;

constexpr std::string_view kUtf8 = "UTF-8";
constexpr const char* kOtherEncoding =
    "; if the file is in another encoding, name it with --encoding or CHARTXML_CODEPAGE (such as "
    "CP1252)";

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

// Null when ICU knows no such code page.
Converter openConverter(const std::string& name) {
  UErrorCode err = U_ZERO_ERROR;
  UConverter* converter = name.empty() ? nullptr : ucnv_open(icuCodePageName(name), &err);
  if (U_FAILURE(err) && converter != nullptr) {
    ucnv_close(converter);
    converter = nullptr;
  }
  return Converter(converter, &ucnv_close);
}

bool sameCodePage(UConverter* a, UConverter* b) {
  UErrorCode err = U_ZERO_ERROR;
  const char* first = ucnv_getName(a, &err);
  const char* second = ucnv_getName(b, &err);
  return U_SUCCESS(err) && std::strcmp(first, second) == 0;
}

// A byte order mark at the start of `bytes`: its encoding and length. The
// UTF-32 marks are tried first, as the UTF-16LE one begins theirs.
struct Mark {
  const char* encoding;
  std::size_t size;
};
Mark markOf(std::string_view bytes) {
  static constexpr struct {
    std::string_view bytes;
    const char* encoding;
  } kMarks[] = {
      {std::string_view("\xFF\xFE\0\0", 4), "UTF-32LE"},
      {std::string_view("\0\0\xFE\xFF", 4), "UTF-32BE"},
      {"\xEF\xBB\xBF", "UTF-8"},
      {"\xFF\xFE", "UTF-16LE"},
      {"\xFE\xFF", "UTF-16BE"},
  };
  for (const auto& mark : kMarks) {
    if (bytes.substr(0, mark.bytes.size()) == mark.bytes) return {mark.encoding, mark.bytes.size()};
  }
  return {nullptr, 0};
}

// Whether the named encoding, as ICU reads it, agrees with a mark of
// `mark`'s encoding: the same, or UTF-16 (UTF-32) of either byte order.
bool agrees(UConverter* converter, const std::string& mark) {
  switch (ucnv_getType(converter)) {
    case UCNV_UTF8:
      return mark == "UTF-8";
    case UCNV_UTF16:
      return mark == "UTF-16LE" || mark == "UTF-16BE";
    case UCNV_UTF16_LittleEndian:
      return mark == "UTF-16LE";
    case UCNV_UTF16_BigEndian:
      return mark == "UTF-16BE";
    case UCNV_UTF32:
      return mark == "UTF-32LE" || mark == "UTF-32BE";
    case UCNV_UTF32_LittleEndian:
      return mark == "UTF-32LE";
    case UCNV_UTF32_BigEndian:
      return mark == "UTF-32BE";
    default:
      return false;
  }
}

// "byte 0xE9 is not valid UTF-8", "bytes 0xF0 0x9F are not valid UTF-8".
std::string invalidBytes(const char* bytes, std::size_t count, const std::string& encoding) {
  if (count == 0) return "the file ends inside a character, which is not valid " + encoding;
  std::string text = count == 1 ? "byte" : "bytes";
  for (std::size_t i = 0; i < count; ++i) {
    char hex[8];
    std::snprintf(hex, sizeof hex, " 0x%02X", static_cast<unsigned char>(bytes[i]));
    text += hex;
  }
  return text + (count == 1 ? " is" : " are") + " not valid " + encoding;
}

// Checks that `text` is well-formed UTF-8.
bool validUtf8(const std::string& name, std::string_view text) {
  const auto* units = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto length = static_cast<std::ptrdiff_t>(text.size());
  std::ptrdiff_t at = 0;
  while (at < length) {
    // Plain ASCII eight bytes at a time: most files are little else.
    std::uint64_t word;
    if (at + 8 <= length &&
        (std::memcpy(&word, units + at, 8), (word & 0x8080808080808080u) == 0)) {
      at += 8;
      continue;
    }
    if (units[at] < 0x80) {
      ++at;
      continue;
    }
    const std::ptrdiff_t start = at;
    UChar32 c;
    U8_NEXT(units, at, length, c);
    if (c < 0) {
      const Place place = placeOf(text, static_cast<std::size_t>(start));
      refuse(name, place.line, place.column,
             invalidBytes(text.data() + start, static_cast<std::size_t>(at - start),
                          std::string(kUtf8)) +
                 kOtherEncoding);
      return false;
    }
  }
  return true;
}

// Decodes `bytes` into `wide`, stopping at the first bytes invalid in the
// converter's encoding (named `encoding` in reports).
bool toUnicode(const std::string& name, const std::string& encoding, UConverter* converter,
               std::string_view bytes, std::u16string& wide) {
  UErrorCode err = U_ZERO_ERROR;
  ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &err);
  err = icuToUnicode(converter, bytes, wide).error;
  if (U_SUCCESS(err)) return true;
  if (err == U_INVALID_CHAR_FOUND || err == U_ILLEGAL_CHAR_FOUND || err == U_TRUNCATED_CHAR_FOUND) {
    char invalid[32];
    std::int8_t count = sizeof invalid;
    UErrorCode ignored = U_ZERO_ERROR;
    ucnv_getInvalidChars(converter, invalid, &count, &ignored);
    if (U_FAILURE(ignored)) count = 0;
    // Everything before the invalid bytes was decoded: they stand where
    // the decoded text ends.
    const Place place = placeOf<char16_t>(wide, wide.size());
    refuse(name, place.line, place.column,
           invalidBytes(invalid, static_cast<std::size_t>(count), encoding) + kOtherEncoding);
    return false;
  }
  refuse(name, "cannot read the file as " + encoding + ": " + u_errorName(err));
  return false;
}

// Encodes `wide` into `out` in the host's code page `codePage`, refusing a
// character it cannot hold.
bool fromUnicode(const std::string& name, const std::string& codePage, UConverter* converter,
                 std::u16string_view wide, std::string& out) {
  UErrorCode err = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &err);
  const IcuConversion done = icuFromUnicode(converter, wide, out);
  err = done.error;
  if (U_SUCCESS(err)) return true;
  if (err == U_INVALID_CHAR_FOUND || err == U_ILLEGAL_CHAR_FOUND) {
    UChar invalid[4];
    std::int8_t count = 4;
    UErrorCode ignored = U_ZERO_ERROR;
    ucnv_getInvalidUChars(converter, invalid, &count, &ignored);
    if (U_FAILURE(ignored)) count = 0;
    const std::size_t at = done.consumed - static_cast<std::size_t>(count > 0 ? count : 0);
    UChar32 c = 0xFFFD;
    if (at < wide.size()) U16_GET(wide.data(), 0, at, wide.size(), c);
    char code[16];
    std::snprintf(code, sizeof code, "U+%04X", static_cast<unsigned>(c));
    const Place place = placeOf<char16_t>(wide, at);
    refuse(name, place.line, place.column,
           std::string("the character ") + code + " cannot be written in the host's code page " +
               codePage +
               "; set CHARTXML_CODEPAGE (or cxh_set_code_page) to one that has it, such as "
               "UTF-8");
    return false;
  }
  refuse(name,
         "cannot convert the file to the host's code page " + codePage + ": " + u_errorName(err));
  return false;
}

constexpr const char* kMarkElsewhere =
    "a byte order mark is only allowed at the very start of the file";

}  // namespace

bool decodeToHostCodePage(const std::string& name, std::string& bytes,
                          const std::string& encoding) {
  // An unknown host code page means UTF-8, as it does to the library's
  // transcoder, so that the texts handed on are read back alike.
  std::string codePage = settings::codePage();
  Converter host = openConverter(codePage);
  if (!host) {
    codePage = std::string(kUtf8);
    host = openConverter(codePage);
  }
  if (!host) {
    refuse(name, "no converter for UTF-8 is available");
    return false;
  }

  const Mark mark = markOf(bytes);
  std::string fileEncoding = encoding;
  if (!encoding.empty()) {
    Converter named = openConverter(encoding);
    if (!named) {
      refuse(name, "unknown encoding \"" + encoding +
                       "\"; name one such as UTF-8, UTF-16LE, UTF-16BE, CP1252 or ISO-8859-15");
      return false;
    }
    if (mark.encoding != nullptr && !agrees(named.get(), mark.encoding)) {
      refuse(name, 1,
             std::string("the file begins with a ") + mark.encoding +
                 " byte order mark, but its encoding is given as " + encoding);
      return false;
    }
  }
  // A mark names the byte order that a bare "UTF-16" leaves open.
  if (mark.encoding != nullptr) fileEncoding = mark.encoding;
  if (fileEncoding.empty()) fileEncoding = codePage;
  Converter file = openConverter(fileEncoding);
  if (!file) {
    refuse(name, "no converter for " + fileEncoding + " is available");
    return false;
  }
  bytes.erase(0, mark.size);

  const bool same = sameCodePage(file.get(), host.get());
  if (same && ucnv_getType(file.get()) == UCNV_UTF8) {
    // The usual case needs no conversion: the bytes are checked and kept.
    if (!validUtf8(name, bytes)) return false;
    if (const std::size_t at = bytes.find("\xEF\xBB\xBF"); at != std::string::npos) {
      refuse(name, placeOf(bytes, at).line, kMarkElsewhere);
      return false;
    }
    return true;
  }
  std::u16string wide;
  if (!toUnicode(name, fileEncoding, file.get(), bytes, wide)) return false;
  // Anywhere but the start a byte order mark says that files were joined,
  // or that text from another encoding slipped in.
  if (const std::size_t at = wide.find(u'\uFEFF'); at != std::u16string::npos) {
    refuse(name, placeOf<char16_t>(wide, at).line, kMarkElsewhere);
    return false;
  }
  if (same) return true;
  return fromUnicode(name, codePage, host.get(), wide, bytes);
}

}  // namespace cxhost
