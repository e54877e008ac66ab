// The CSV reader: file bytes to text in the host's code page, then fields.
#include "datasrc/CsvReader.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <unordered_map>

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

  FieldReader(std::string_view data, const std::string& name, char delimiter)
      : data_(data), name_(name), delimiter_(delimiter) {}

  bool atEnd() const { return pos_ >= data_.size(); }
  std::int64_t line() const { return line_; }
  bool onlyLineBreaksLeft() const {
    return data_.find_first_not_of("\r\n", pos_) == std::string_view::npos;
  }

  // Appends the next field's text to `out`, tells what ended it and whether
  // it was quoted. False (reported) when the field is malformed.
  bool nextField(std::string& out, After& after, bool& quoted) {
    quoted = pos_ < data_.size() && data_[pos_] == '"';
    if (quoted) {
      if (!quotedField(out)) return false;
    } else {
      // A plain loop: find_first_of looks each byte up in the set through a
      // call, and this runs over every byte of the file.
      const char* const begin = data_.data() + pos_;
      const char* const last = data_.data() + data_.size();
      const char* end = begin;
      while (end != last && *end != delimiter_ && *end != '\r' && *end != '\n') ++end;
      out.append(begin, end);
      pos_ += static_cast<std::size_t>(end - begin);
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

bool readTable(const std::string& name, std::string_view data, char delimiter,
               std::vector<std::string>& names, std::vector<CsvColumn>& columns,
               std::vector<QuotedCells>& quotedCells, std::vector<int>& lines, int& rows) {
  if (data.find_first_not_of("\r\n") == std::string_view::npos) {
    refuse(name, 1, "empty file; a header row of variable names is needed");
    return false;
  }
  FieldReader reader(data, name, delimiter);
  FieldReader::After after;
  bool quoted;
  std::vector<std::int64_t> nameLines;
  do {
    nameLines.push_back(reader.line());
    std::string text;
    if (!reader.nextField(text, after, quoted)) return false;
    names.push_back(std::move(text));
  } while (after == FieldReader::After::Delimiter);

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

  const std::size_t width = names.size();
  columns.resize(width);
  // Room for every row at once: a million rows grown step by step are
  // copied over and over. A line end per row bounds the rows; the bytes
  // left, shared out, roughly the columns' texts.
  const auto rowsAtMost = static_cast<std::size_t>(std::count(data.begin(), data.end(), '\n') +
                                                   std::count(data.begin(), data.end(), '\r')) +
                          1;
  lines.reserve(rowsAtMost);
  for (CsvColumn& column : columns) {
    column.ends.reserve(rowsAtMost);
    column.text.reserve(data.size() / width);
  }
  quotedCells.assign(width, QuotedCells());
  std::string surplus;
  std::int64_t count = 0;
  while (!reader.atEnd()) {
    // With several columns an empty line cannot be a case, so blank lines at
    // the end of the file are only its end; with one column each line is a
    // case and an empty one a missing value.
    if (width > 1 && reader.onlyLineBreaksLeft()) break;
    const std::int64_t startLine = reader.line();
    std::size_t fields = 0;
    do {
      std::string* out = &surplus;
      if (fields < width) {
        out = &columns[fields].text;
      } else {
        surplus.clear();
      }
      if (!reader.nextField(*out, after, quoted)) return false;
      if (fields < width) {
        columns[fields].ends.push_back(out->size());
        if (quoted) {
          QuotedCells& cells = quotedCells[fields];
          cells.resize(static_cast<std::size_t>(count) + 1, false);
          cells.back() = true;
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
    lines.push_back(csv::reportLine(startLine));
  }
  rows = static_cast<int>(count);
  return true;
}

}  // namespace cxhost::csv
