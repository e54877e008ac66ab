// What the CSV reader's parts share (internal to the host): how refusals are
// reported and how a byte offset becomes the line and column an editor shows.
#ifndef CHARTXML_HOST_DATASRC_CSVSUPPORT_H_
#define CHARTXML_HOST_DATASRC_CSVSUPPORT_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

#include "chartutl/ReportLog.h"

namespace cxhost::csv {

inline constexpr const char* kSource = "host/datasrc";

// Reports carry the file line as their line; a file longer than an int can
// count is reported at the last line an int can hold.
inline int reportLine(std::int64_t line) {
  return static_cast<int>(std::min<std::int64_t>(line, std::numeric_limits<int>::max()));
}

// "FILE:LINE: PROBLEM".
inline void refuse(const std::string& file, std::int64_t line, const std::string& problem) {
  report(file + ":" + std::to_string(line) + ": " + problem, kSource, reportLine(line));
}

// "FILE:LINE:COLUMN: PROBLEM".
inline void refuse(const std::string& file, std::int64_t line, std::int64_t column,
                   const std::string& problem) {
  report(file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + problem, kSource,
         reportLine(line));
}

// "FILE: PROBLEM", where no line applies.
inline void refuse(const std::string& file, const std::string& problem) {
  report(file + ": " + problem, kSource, 0);
}

// Whether text[at] ends a line: LF, a CR not followed by LF (old Mac files),
// and the CR of a CRLF (its LF then ends nothing more).
template <typename Char>
bool endsLine(std::basic_string_view<Char> text, std::size_t at) {
  const Char c = text[at];
  return c == Char('\r') || (c == Char('\n') && (at == 0 || text[at - 1] != Char('\r')));
}

// The 1-based line and column of text[at]. Columns count characters, as
// editors show them: UTF-8 continuation bytes and UTF-16 trail surrogates
// add none.
struct Place {
  std::int64_t line;
  std::int64_t column;
};

template <typename Char>
Place placeOf(std::basic_string_view<Char> text, std::size_t at) {
  at = std::min(at, text.size());
  Place place{1, 1};
  for (std::size_t i = 0; i < at; ++i) {
    const auto unit = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Char>>(text[i]));
    const bool continues = sizeof(Char) == 1 ? (unit & 0xC0) == 0x80 : (unit & 0xFC00) == 0xDC00;
    if (endsLine(text, i)) {
      ++place.line;
      place.column = 1;
    } else if (text[i] != Char('\n') && !continues) {
      ++place.column;
    }
  }
  return place;
}

inline Place placeOf(std::string_view text, std::size_t at) {
  return placeOf<char>(text, at);
}

}  // namespace cxhost::csv

#endif  // CHARTXML_HOST_DATASRC_CSVSUPPORT_H_
