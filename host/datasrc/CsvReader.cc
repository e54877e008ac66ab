// The CSV reader: file bytes to text in the host's code page, then fields.
#include "datasrc/CsvReader.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <unordered_map>

#include "datasrc/CsvColumnTypes.h"
#include "datasrc/CsvEncoding.h"
#include "datasrc/CsvSupport.h"
#include "platform/FileIo.h"

namespace cxhost::csv {

namespace {

// Reads what is left of standard input. Once it has ended it stays ended
// (the C library keeps its end-of-file mark), so a second reader gets
// nothing rather than waiting on a terminal.
bool readStandardInput(std::string& content, std::string& problem) {
  char buffer[1 << 16];
  std::size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, stdin)) > 0) content.append(buffer, got);
  if (std::ferror(stdin) == 0) return true;
  problem = "read error";
  return false;
}

std::int64_t countLineEnds(std::string_view text, std::size_t from, std::size_t to) {
  std::int64_t count = 0;
  for (std::size_t at = from; at < to; ++at) count += csv::endsLine(text, at) ? 1 : 0;
  return count;
}

// The fields the first record of `text` splits into at `delimiter`; a
// delimiter or line break inside quotes splits nothing.
std::size_t headerFields(std::string_view text, char delimiter) {
  std::size_t fields = 1;
  bool fieldStart = true;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (fieldStart && c == '"') {
      for (++at; at < text.size(); ++at) {
        if (text[at] != '"') continue;
        if (at + 1 < text.size() && text[at + 1] == '"') {
          ++at;
        } else {
          break;
        }
      }
      fieldStart = false;
      continue;
    }
    if (c == '\r' || c == '\n') break;
    fieldStart = c == delimiter;
    if (fieldStart) ++fields;
  }
  return fields;
}

// RFC 4180 fields, one at a time, counting physical lines for reports. A
// line ends in LF, CRLF or a lone CR.
class FieldReader {
 public:
  enum class After { Delimiter, EndOfRecord };

  FieldReader(std::string_view data, const std::string& name, char delimiter,
              const Body& from = Body())
      : data_(data), name_(name), delimiter_(delimiter), pos_(from.offset), line_(from.line) {}

  bool atEnd() const { return pos_ >= data_.size(); }
  Body at() const { return {pos_, line_}; }
  std::int64_t line() const { return line_; }
  bool onlyLineBreaksLeft() const {
    return data_.find_first_not_of("\r\n", pos_) == std::string_view::npos;
  }

  // The next field's text in `out`: a view of the data, or of `unquoted`
  // (cleared first) where quotes had to be taken out. Tells what ended the
  // field and whether it was quoted; false (reported) when it is malformed.
  bool nextField(std::string_view& out, std::string& unquoted, After& after, bool& quoted) {
    quoted = pos_ < data_.size() && data_[pos_] == '"';
    if (quoted) {
      unquoted.clear();
      if (!quotedField(unquoted)) return false;
      out = unquoted;
    } else {
      // A plain loop: find_first_of looks each byte up in the set through a
      // call, and this runs over every byte of the file.
      const char* const begin = data_.data() + pos_;
      const char* const last = data_.data() + data_.size();
      const char* end = begin;
      while (end != last && *end != delimiter_ && *end != '\r' && *end != '\n') ++end;
      out = std::string_view(begin, static_cast<std::size_t>(end - begin));
      pos_ += out.size();
    }
    return delimiter(after);
  }

 private:
  bool quotedField(std::string& out) {
    const std::int64_t openedAt = line_;
    ++pos_;
    for (;;) {
      const std::size_t quote = data_.find('"', pos_);
      if (quote == std::string_view::npos) {
        refuse(name_, openedAt, "quoted field is not closed before the end of the file");
        return false;
      }
      line_ += countLineEnds(data_, pos_, quote);
      out.append(data_.substr(pos_, quote - pos_));
      pos_ = quote + 1;
      if (pos_ < data_.size() && data_[pos_] == '"') {
        out.push_back('"');
        ++pos_;
        continue;
      }
      return true;
    }
  }

  // What follows a field: the delimiter, a line end or the end of the file.
  // Anything else can only follow a closing quote.
  bool delimiter(After& after) {
    after = After::EndOfRecord;
    if (pos_ >= data_.size()) return true;
    const char c = data_[pos_];
    if (c == delimiter_) {
      after = After::Delimiter;
      ++pos_;
      return true;
    }
    if (c == '\n' || c == '\r') {
      ++pos_;
      if (c == '\r' && pos_ < data_.size() && data_[pos_] == '\n') ++pos_;
      ++line_;
      return true;
    }
    refuse(name_, line_, "text after the closing quote of a field");
    return false;
  }

  std::string_view data_;
  const std::string& name_;
  char delimiter_;
  std::size_t pos_ = 0;
  std::int64_t line_ = 1;
};

}  // namespace

char detectDelimiter(std::string_view text) {
  char best = ',';
  std::size_t most = 0;
  for (const char delimiter : {',', ';', '\t'}) {
    const std::size_t fields = headerFields(text, delimiter);
    if (fields > most) {
      best = delimiter;
      most = fields;
    }
  }
  return best;
}

bool readFile(const std::string& path, std::string& content, std::string& problem) {
  const int error = cxio::readWholeFile(path, content);
  if (error == 0) return true;
  content.clear();
  // Errors that only opening gives say so: the file is not there or not ours.
  const bool opening = error == ENOENT || error == EACCES || error == ENOTDIR || error == ELOOP ||
                       error == ENAMETOOLONG || error == EPERM;
  problem = error == EISDIR
                ? std::string("is a folder, not a file")
                : (opening ? "cannot open: " : "cannot read: ") + cxio::errorText(error);
  return false;
}

bool readText(const std::string& path, const std::string& name, const std::string& encoding,
              std::string& content) {
  const bool standardInput = path == kStandardInputPath;
  std::string problem;
  if (!(standardInput ? readStandardInput(content, problem) : readFile(path, content, problem))) {
    refuse(name, problem);
    return false;
  }
  if (standardInput && content.empty()) {
    refuse(name, "standard input is empty");
    return false;
  }
  return decodeToHostCodePage(name, content, encoding);
}

bool readHeader(const std::string& name, std::string_view data, char delimiter,
                std::vector<std::string>& names, Body& body) {
  if (data.find_first_not_of("\r\n") == std::string_view::npos) {
    refuse(name, 1, "empty file; a header row of variable names is needed");
    return false;
  }
  FieldReader reader(data, name, delimiter);
  FieldReader::After after;
  bool quoted;
  std::vector<std::int64_t> nameLines;
  std::string unquoted;
  do {
    nameLines.push_back(reader.line());
    std::string_view text;
    if (!reader.nextField(text, unquoted, after, quoted)) return false;
    names.emplace_back(text);
  } while (after == FieldReader::After::Delimiter);
  body = reader.at();

  std::unordered_map<std::string_view, std::size_t> seen;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string column = std::to_string(i + 1);
    if (names[i].empty()) {
      refuse(name, nameLines[i], "variable name of column " + column + " is empty");
      return false;
    }
    // A NUL would cut the name short wherever it is handed on as C text.
    if (names[i].find('\0') != std::string::npos) {
      refuse(name, nameLines[i], "variable name of column " + column + " contains a NUL byte");
      return false;
    }
    const auto [it, fresh] = seen.emplace(names[i], i);
    if (!fresh) {
      refuse(name, nameLines[i],
             "variable name \"" + names[i] + "\" is used by columns " +
                 std::to_string(it->second + 1) + " and " + column);
      return false;
    }
  }
  return true;
}

namespace {

// How many times `byte` occurs in `text`, eight bytes at a time: this runs
// over the whole file before its rows are read.
std::size_t countByte(std::string_view text, char byte) {
  constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7Fu;
  const std::uint64_t pattern = 0x0101010101010101u * static_cast<unsigned char>(byte);
  std::size_t count = 0;
  std::size_t at = 0;
  for (; at + 8 <= text.size(); at += 8) {
    std::uint64_t word;
    std::memcpy(&word, text.data() + at, 8);
    const std::uint64_t zeroWhereEqual = word ^ pattern;
    // The high bit of each byte that is zero, and of no other.
    const std::uint64_t zeros = ~(((zeroWhereEqual & kLow7) + kLow7) | zeroWhereEqual | kLow7);
    // Their number: one bit a byte, summed by a multiply into the top byte.
    count += static_cast<std::size_t>(((zeros >> 7) * 0x0101010101010101u) >> 56);
  }
  for (; at < text.size(); ++at) count += text[at] == byte ? 1 : 0;
  return count;
}

}  // namespace

std::size_t rowsAtMost(std::string_view data, const Body& body) {
  const std::string_view rest = data.substr(std::min(body.offset, data.size()));
  const bool carriageReturns = rest.find('\r') != std::string_view::npos;
  return countByte(rest, '\n') + (carriageReturns ? countByte(rest, '\r') : 0) + 1;
}

namespace {

// A column's cells as texts, once its typer has found it is text: those of
// the rows read before are read again from the body's start.
class TextColumns {
 public:
  TextColumns(std::string_view data, const std::string& name, char delimiter, const Body& body,
              std::size_t rowsAtMost, std::vector<CsvColumn>& columns)
      : data_(data),
        name_(name),
        delimiter_(delimiter),
        body_(body),
        rowsAtMost_(rowsAtMost),
        columns_(columns) {}

  void keep(std::size_t index, std::size_t rowsBefore) {
    CsvColumn& column = columns_[index];
    column.ends.reserve(rowsAtMost_);
    column.text.reserve(data_.size() / columns_.size());
    FieldReader reader(data_, name_, delimiter_, body_);
    FieldReader::After after;
    bool quoted;
    std::string_view text;
    std::string unquoted;
    for (std::size_t row = 0; row < rowsBefore; ++row) {
      std::size_t field = 0;
      do {
        // These rows were read once already: they cannot fail now.
        reader.nextField(text, unquoted, after, quoted);
        if (field++ == index) add(column, text);
      } while (after == FieldReader::After::Delimiter);
    }
  }

  static void add(CsvColumn& column, std::string_view text) {
    column.text.append(text);
    column.ends.push_back(column.text.size());
  }

 private:
  std::string_view data_;
  const std::string& name_;
  char delimiter_;
  Body body_;
  std::size_t rowsAtMost_;
  std::vector<CsvColumn>& columns_;
};

}  // namespace

bool readRows(const std::string& name, std::string_view data, char delimiter, const Body& body,
              std::size_t rowsAtMost, std::vector<ColumnTyper>& typers,
              std::vector<CsvColumn>& columns, std::vector<int>& lines, int& rows) {
  const std::size_t width = typers.size();
  columns.assign(width, CsvColumn());
  lines.reserve(rowsAtMost);
  // Whether each column is still being typed; the others keep texts.
  std::vector<char> typing(width, 1);
  TextColumns texts(data, name, delimiter, body, rowsAtMost, columns);
  FieldReader reader(data, name, delimiter, body);
  FieldReader::After after;
  bool quoted;
  std::string_view text;
  std::string unquoted;
  std::int64_t count = 0;
  while (!reader.atEnd()) {
    // With several columns an empty line cannot be a case, so blank lines at
    // the end of the file are only its end; with one column each line is a
    // case and an empty one a missing value.
    if (width > 1 && reader.onlyLineBreaksLeft()) break;
    const std::int64_t startLine = reader.line();
    const int line = csv::reportLine(startLine);
    std::size_t fields = 0;
    do {
      if (!reader.nextField(text, unquoted, after, quoted)) return false;
      if (fields < width) {
        if (!typing[fields]) {
          TextColumns::add(columns[fields], text);
        } else {
          switch (typers[fields].add(text, quoted, line)) {
            case ColumnTyper::Step::Typed:
              break;
            case ColumnTyper::Step::Text:
              typing[fields] = 0;
              texts.keep(fields, static_cast<std::size_t>(count));
              TextColumns::add(columns[fields], text);
              break;
            case ColumnTyper::Step::Refused:
              return false;
          }
        }
      }
      ++fields;
    } while (after == FieldReader::After::Delimiter);
    if (fields != width) {
      refuse(name, startLine,
             "row has " + std::to_string(fields) + (fields == 1 ? " field" : " fields") +
                 "; the header has " + std::to_string(width));
      return false;
    }
    if (++count > std::numeric_limits<int>::max()) {
      refuse(name, startLine, "more rows than a data source can hold");
      return false;
    }
    lines.push_back(line);
  }
  rows = static_cast<int>(count);
  return true;
}

}  // namespace cxhost::csv
