#include "read/DataTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <system_error>
#include <unordered_map>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "PlainDecimal.h"
#include "work/Halves.h"

namespace chartxml::render {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Whether `text` spells an infinity: "inf" or "infinity" in any letter case.
bool isInfinity(std::string_view text) {
  constexpr std::string_view kInfinity = "infinity";
  if (text.size() != 3 && text.size() != kInfinity.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != kInfinity[i]) return false;
  }
  return true;
}

inline bool isDigit(char c) {
  return static_cast<unsigned char>(c - '0') < 10;
}

// Reads a plain decimal at `p` ('-'? then a digit or '.', as from_chars
// reads it): where it ends, with `value` set; null for anything else (a
// sign '+', an infinity, NaN, a number out of range), which the caller
// reads the general way. The sink's shortest texts mostly have few digits,
// read exactly by the quick way; longer ones by the standard reader.
inline const char* scanDecimal(const char* p, const char* end, double& value) {
  int decimals;
  if (const char* after = cxio::scanPlainDecimal(p, end, value, decimals)) return after;
  const char* digits = p != end && *p == '-' ? p + 1 : p;
  if (digits == end || !(isDigit(*digits) || *digits == '.')) return nullptr;
  const auto [ptr, ec] = std::from_chars(p, end, value);
  return ec == std::errc() ? ptr : nullptr;
}

// Whether a decimal that from_chars finds out of range is so for being
// tiny rather than huge: its first significant digit's power of ten, with
// the exponent, is negative. `text` is unsigned.
bool belowEveryDouble(std::string_view text) {
  long power = 0;  // of the first significant digit, once found
  bool found = false, point = false;
  std::size_t i = 0;
  for (; i < text.size() && (isDigit(text[i]) || text[i] == '.'); ++i) {
    if (text[i] == '.') {
      point = true;
    } else if (!found && text[i] != '0') {
      found = true;
      power = point ? power - 1 : 0;
    } else if (found != point) {
      // A digit before the point, once the first is found, raises it;
      // a zero after the point, before it is found, lowers it.
      power += found ? 1 : -1;
    }
  }
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    // An exponent past a long's range is past any digits' count too.
    const std::string_view rest = text.substr(i + 1);
    long exponent = 0;
    const char* from = rest.data() + (rest.substr(0, 1) == "+");
    if (std::from_chars(from, rest.data() + rest.size(), exponent).ec != std::errc()) {
      exponent = rest.substr(0, 1) == "-" ? -(1L << 40) : 1L << 40;
    }
    power += std::clamp(exponent, -(1L << 40), 1L << 40);
  }
  return power < 0;
}

// A field's number, NaN for an empty or "nan" field, or nothing for a text.
// A quoted field is always a text: the sink quotes texts that spell numbers.
std::optional<double> numberOf(std::string_view field, bool quoted) {
  if (quoted) return std::nullopt;
  if (field.empty()) return kNaN;
  std::string_view digits = field;
  const bool negative = digits.front() == '-';
  if (negative || digits.front() == '+') digits.remove_prefix(1);
  if (isInfinity(digits)) return negative ? -kInf : kInf;
  if (digits == "nan" || digits == "NaN") return kNaN;
  double value = 0;
  const char* end = field.data() + field.size();
  // from_chars takes no leading '+'; it reads "1e999" as out of range.
  const char* begin = field.front() == '+' ? field.data() + 1 : field.data();
  const auto [ptr, ec] = std::from_chars(begin, end, value);
  if (ptr != end) return std::nullopt;
  if (ec == std::errc::result_out_of_range) {
    const double beyond = belowEveryDouble(digits) ? 0.0 : kInf;
    return negative ? -beyond : beyond;
  }
  if (ec != std::errc()) return std::nullopt;
  return value;
}

// The line ends (LF and CR bytes) in `text`: at least the records it holds
// past its first, so a bound on its rows.
std::size_t lineEnds(std::string_view text) {
  std::size_t count = 0, i = 0;
  const char* data = text.data();
#if defined(__SSE2__)
  // A match is -1 in its byte: 255 blocks at most are summed bytewise before
  // the sums are added up.
  const __m128i feed = _mm_set1_epi8('\n'), carriage = _mm_set1_epi8('\r');
  while (i + 16 <= text.size()) {
    __m128i sums = _mm_setzero_si128();
    for (int block = 0; block < 255 && i + 16 <= text.size(); ++block, i += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i));
      sums = _mm_sub_epi8(sums, _mm_cmpeq_epi8(bytes, feed));
      sums = _mm_sub_epi8(sums, _mm_cmpeq_epi8(bytes, carriage));
    }
    // A byte sums at most 255 blocks of one match each (LF and CR never both).
    const __m128i wide = _mm_sad_epu8(sums, _mm_setzero_si128());
    count += static_cast<std::size_t>(_mm_cvtsi128_si64(wide)) +
             static_cast<std::size_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(wide, wide)));
  }
#endif
  for (; i < text.size(); ++i) count += data[i] == '\n' || data[i] == '\r';
  return count;
}

// Splits CSV text into fields, line by line, keeping the line numbers. A
// field without quotes is a view of the text; a quoted one is unescaped
// into a buffer of the record's own.
class CsvScanner {
 public:
  // `text` without a byte order mark, whose first line is `line`.
  explicit CsvScanner(std::string_view text, int line = 1) : text_(text), line_(line) {}

  bool done() const { return pos_ >= text_.size(); }
  int line() const { return line_; }
  std::string_view rest() const { return text_.substr(pos_); }

  // The next record when it holds exactly `columns` fields and no quote:
  // each field's number into slots[i][row], and the fields that are texts
  // (column, text) into `texts`. False, having consumed nothing, for any
  // other record (next() then reads it); the slots of `row` may then hold
  // anything.
  bool plainRecord(std::size_t columns, double* const* slots, std::size_t row,
                   std::vector<std::pair<std::size_t, std::string_view>>& texts) {
    texts.clear();
    const char* const data = text_.data();
    const char* const end = data + text_.size();
    const char* p = data + pos_;
    for (std::size_t i = 0; i < columns; ++i) {
      if (p != end && *p == '"') return false;
      double value = 0;
      const char* after = scanDecimal(p, end, value);
      if (after == nullptr || (after != end && *after != ',' && *after != '\n' && *after != '\r')) {
        after = p;
        while (after != end && *after != ',' && *after != '\n' && *after != '\r') ++after;
        const std::string_view field(p, static_cast<std::size_t>(after - p));
        const std::optional<double> number = numberOf(field, false);
        value = number.value_or(kNaN);
        if (!number) texts.emplace_back(i, field);
      }
      slots[i][row] = value;
      p = after;
      const bool last = i + 1 == columns;
      if (p == end) {
        if (!last) return false;
        break;
      }
      const char c = *p++;
      if ((c == ',') == last) return false;
      if (last && c == '\r' && p != end && *p == '\n') ++p;
    }
    pos_ = static_cast<std::size_t>(p - data);
    ++line_;
    return true;
  }

  // The next record's fields into `fields`, and whether each was quoted into
  // `quoted`; false with `error` set when a quoted field is not closed. The
  // views stay valid until the next call.
  bool next(std::vector<std::string_view>& fields, std::vector<bool>& quoted, std::string& error) {
    fields.clear();
    quoted.clear();
    places_.clear();
    unquoted_.clear();
    const int start = line_;
    const char* const data = text_.data();
    const std::size_t size = text_.size();
    while (true) {
      if (pos_ < size && data[pos_] == '"') {
        if (!quotedField(start, error)) return false;
      } else {
        // Up to the next comma or line end: the common case, scanned fast.
        const std::size_t begin = pos_;
        while (pos_ < size && data[pos_] != ',' && data[pos_] != '\n' && data[pos_] != '\r') {
          ++pos_;
        }
        places_.push_back({begin, pos_ - begin, false});
      }
      if (pos_ >= size) break;
      const char c = data[pos_++];
      if (c == ',') continue;
      if (c == '\r' && pos_ < size && data[pos_] == '\n') ++pos_;
      ++line_;
      break;
    }
    for (const Place& place : places_) {
      fields.push_back(place.unescaped ? std::string_view(unquoted_).substr(place.at, place.size)
                                       : text_.substr(place.at, place.size));
      quoted.push_back(place.unescaped);
    }
    return true;
  }

 private:
  // Where a field's text is: in the text, or unescaped in `unquoted_`.
  struct Place {
    std::size_t at = 0, size = 0;
    bool unescaped = false;
  };

  // A field that opens with a quote: "" stands for a quote, line breaks
  // count; whatever follows the closing quote up to the comma or line end
  // belongs to the field as it is.
  bool quotedField(int start, std::string& error) {
    const std::size_t at = unquoted_.size();
    ++pos_;
    bool open = true;
    while (pos_ < text_.size()) {
      const char c = text_[pos_];
      if (open) {
        ++pos_;
        if (c == '"') {
          if (pos_ < text_.size() && text_[pos_] == '"') {
            unquoted_ += '"';
            ++pos_;
          } else {
            open = false;
          }
          continue;
        }
        if (c == '\r' || (c == '\n' && (pos_ < 2 || text_[pos_ - 2] != '\r'))) ++line_;
        unquoted_ += c;
        continue;
      }
      if (c == ',' || c == '\n' || c == '\r') break;
      unquoted_ += c;
      ++pos_;
    }
    if (open) {
      error = "line " + std::to_string(start) + ": a quoted field is not closed";
      return false;
    }
    places_.push_back({at, unquoted_.size() - at, true});
    return true;
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  int line_ = 1;
  std::vector<Place> places_;
  std::string unquoted_;
};

// The texts of one column met in one stretch of rows.
struct StretchTexts {
  std::vector<std::int32_t> index;  // per row from the first with a text; -1 for numbers
  std::vector<std::string> texts;   // in order of first appearance
  std::unordered_map<std::string, std::int32_t> codes;
};

// The rows of one stretch of the text, read into slots of the columns from
// `slots[i][0]` on, at most `capacity` of them.
struct Stretch {
  std::vector<double*> slots;
  std::size_t capacity = 0;
  std::size_t rows = 0;
  std::vector<std::pair<std::size_t, std::int32_t>> lineBreaks;  // rows counted in the stretch
  int lastLine = 0;                                              // the line of its last row
  int endLine = 0;                                               // the line after its last record
  std::vector<StretchTexts> texts;
  std::string error;
};

// Reads the rows left in `scanner` into `out`.
bool readRows(CsvScanner& scanner, std::size_t columns, Stretch& out) {
  std::vector<std::string_view> fields;
  std::vector<bool> quoted;
  std::vector<std::pair<std::size_t, std::string_view>> texts;
  bool anyTexts = false;
  while (!scanner.done()) {
    const int line = scanner.line();
    const std::size_t row = out.rows;
    if (row >= out.capacity) {
      // Cannot happen: every row ends at a line end but the last.
      out.error = "line " + std::to_string(line) + ": more rows than line ends";
      return false;
    }
    if (!scanner.plainRecord(columns, out.slots.data(), row, texts)) {
      if (!scanner.next(fields, quoted, out.error)) return false;
      // A lone empty line (a file's last newline, or a blank line) holds no
      // case; but for a one-column table it is a case whose value is missing,
      // which the sink writes as an empty line too.
      if (fields.size() == 1 && fields[0].empty() && !quoted[0] && columns != 1) continue;
      if (fields.size() != columns) {
        out.error = "line " + std::to_string(line) + ": " + std::to_string(fields.size()) +
                    " fields, but the header names " + std::to_string(columns) + " columns";
        return false;
      }
      texts.clear();
      for (std::size_t i = 0; i < columns; ++i) {
        const std::optional<double> number = numberOf(fields[i], quoted[i]);
        out.slots[i][row] = number.value_or(kNaN);
        if (!number) texts.emplace_back(i, fields[i]);
      }
    }
    ++out.rows;
    if (row == 0 || line != out.lastLine + 1) out.lineBreaks.emplace_back(row, line);
    out.lastLine = line;
    if (texts.empty() && !anyTexts) continue;
    // Texts: each column that has met one keeps an index per row.
    std::size_t next = 0;
    for (std::size_t i = 0; i < columns; ++i) {
      StretchTexts& column = out.texts[i];
      if (next < texts.size() && texts[next].first == i) {
        const std::string_view text = texts[next++].second;
        if (column.index.empty()) column.index.assign(row, -1);
        auto [it, added] = column.codes.try_emplace(std::string(text),
                                                    static_cast<std::int32_t>(column.texts.size()));
        if (added) column.texts.emplace_back(text);
        column.index.push_back(it->second);
        anyTexts = true;
      } else if (!column.index.empty()) {
        column.index.push_back(-1);
      }
    }
  }
  return true;
}

// Below this many bytes of rows a second thread costs more than it saves.
constexpr std::size_t kSplitBytes = 1 << 18;

// Where the rows of `body` (no quote in it) may be split in two: just past
// the first line feed after its middle; 0 when they may not be split.
std::size_t splitPoint(std::string_view body) {
  if (body.size() < kSplitBytes || !twoCores()) return 0;
  if (std::memchr(body.data(), '"', body.size()) != nullptr) return 0;
  const std::size_t feed = body.find('\n', body.size() / 2);
  return feed == std::string_view::npos || feed + 1 >= body.size() ? 0 : feed + 1;
}

// Puts the rows `second` read after those `first` read into `table`:
// `second`'s lines and rows count on from `first`'s end.
void joinStretches(const Stretch& first, const Stretch& second, int lineOffset,
                   std::size_t secondSlot, DataTable& table) {
  const std::size_t rows = first.rows + second.rows;
  for (DataColumn& column : table.columns) {
    // Blank lines or CR LF ends leave a gap between the two halves' rows.
    if (secondSlot != first.rows && second.rows > 0) {
      std::memmove(column.numbers.data() + first.rows, column.numbers.data() + secondSlot,
                   second.rows * sizeof(double));
    }
    column.numbers.resize(rows);
  }
  table.rowCount = rows;
  table.lineBreaks = first.lineBreaks;
  for (const auto& [row, line] : second.lineBreaks) {
    const int at = line + lineOffset;
    if (row == 0 && first.rows > 0 && at == first.lastLine + 1) continue;
    table.lineBreaks.emplace_back(row + first.rows, at);
  }
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const StretchTexts& a = first.texts[i];
    const StretchTexts& b = second.texts[i];
    if (a.index.empty() && b.index.empty()) continue;
    DataColumn& column = table.columns[i];
    column.texts = a.texts;
    std::vector<std::int32_t> code(b.texts.size());
    for (std::size_t k = 0; k < b.texts.size(); ++k) {
      const auto found = a.codes.find(b.texts[k]);
      if (found != a.codes.end()) {
        code[k] = found->second;
      } else {
        code[k] = static_cast<std::int32_t>(column.texts.size());
        column.texts.push_back(b.texts[k]);
      }
    }
    column.textIndex.reserve(rows);
    column.textIndex = a.index;
    column.textIndex.resize(first.rows, -1);
    if (b.index.empty()) {
      column.textIndex.resize(rows, -1);
      continue;
    }
    for (const std::int32_t k : b.index) {
      column.textIndex.push_back(k < 0 ? -1 : code[static_cast<std::size_t>(k)]);
    }
  }
}

// Reads the rows after the header, which start on `firstLine`: in two
// stretches at once when `maySplit` and the text allows, else straight.
bool readBody(std::string_view body, int firstLine, bool maySplit, DataTable& table,
              std::string& error) {
  const std::size_t columns = table.columns.size();
  std::size_t split = maySplit ? splitPoint(body) : 0;
  std::array<std::string_view, 2> parts{body.substr(0, split), body.substr(split)};
  std::array<std::size_t, 2> bounds{};
  // Counting line ends, too, goes in halves.
  // The first part ends with a line feed: no row after its last line end.
  const auto countPart = [&](std::size_t k) { bounds[k] = lineEnds(parts[k]) + k; };
  if (split == 0 || !alongside([&] { countPart(1); }, [&] { countPart(0); })) {
    split = 0;
    parts = {std::string_view(), body};
    bounds = {0, lineEnds(body) + 1};
  }
  // Room for every row at once; each stretch fills its own slots.
  for (DataColumn& column : table.columns) column.numbers.resize(bounds[0] + bounds[1]);
  std::array<Stretch, 2> stretches;
  for (std::size_t k = 0; k < 2; ++k) {
    stretches[k].capacity = bounds[k];
    stretches[k].texts.resize(columns);
    for (DataColumn& column : table.columns) {
      stretches[k].slots.push_back(column.numbers.data() + (k == 0 ? 0 : bounds[0]));
    }
  }
  std::array<bool, 2> read{};
  const auto readPart = [&](std::size_t k, int line) {
    try {
      CsvScanner scanner(parts[k], line);
      read[k] = readRows(scanner, columns, stretches[k]);
      stretches[k].endLine = scanner.line();
    } catch (...) {
      // Out of memory for texts: the straight read tells it.
      read[k] = false;
    }
  };
  if (split == 0) {
    readPart(1, firstLine);
    if (!read[1]) {
      error = stretches[1].error.empty() ? "out of memory" : stretches[1].error;
      return false;
    }
  } else if (!alongside([&] { readPart(1, 1); }, [&] { readPart(0, firstLine); }) || !read[0] ||
             !read[1]) {
    // A fault in either half is told as a straight read tells it.
    for (DataColumn& column : table.columns) column.numbers.clear();
    return readBody(body, firstLine, false, table, error);
  }
  joinStretches(stretches[0], stretches[1], split == 0 ? 0 : stretches[0].endLine - 1, bounds[0],
                table);
  return true;
}

}  // namespace

int DataTable::line(std::size_t row) const {
  auto it = std::upper_bound(lineBreaks.begin(), lineBreaks.end(), row,
                             [](std::size_t r, const auto& mark) { return r < mark.first; });
  if (it == lineBreaks.begin()) return static_cast<int>(row) + 2;
  --it;
  return it->second + static_cast<int>(row - it->first);
}

const DataColumn* DataTable::column(std::string_view name) const {
  for (const DataColumn& column : columns) {
    if (column.name == name) return &column;
  }
  return nullptr;
}

std::optional<DataTable> readCsv(std::string_view text, std::string origin, std::string& error) {
  DataTable table;
  table.origin = std::move(origin);
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  CsvScanner scanner(text);
  std::vector<std::string_view> fields;
  std::vector<bool> quoted;
  if (scanner.done() || !scanner.next(fields, quoted, error)) {
    if (error.empty()) error = "the file is empty: it has no header of column names";
    return std::nullopt;
  }
  for (std::string_view name : fields) {
    table.columns.emplace_back();
    table.columns.back().name = std::string(name);
  }
  if (!readBody(scanner.rest(), scanner.line(), true, table, error)) return std::nullopt;
  return table;
}

}  // namespace chartxml::render
