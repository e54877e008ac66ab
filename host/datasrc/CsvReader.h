// The CSV reader (internal to the host): a file's bytes, decoded into the
// host's code page (CsvEncoding.h), split into RFC 4180 fields.
//
// Lines end in LF, CRLF or a lone CR; reports count physical lines, so a
// quoted field that spans lines moves the count on. The first record names
// the variables: none may be empty, hold a NUL byte or repeat another. Every
// later record must have as many fields as the header; blank lines after the
// last record end the file unless there is a single column, where each line
// is a case. Cells are typed as they are read (CsvColumnTypes.h): only the
// columns that turn out to be text keep their cells' texts.
#ifndef CHARTXML_HOST_DATASRC_CSVREADER_H_
#define CHARTXML_HOST_DATASRC_CSVREADER_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace cxhost {

// A column as stored: numbers (kVornMissingValue for an empty cell), or the
// texts of all cells back to back with the end offset of each cell.
struct CsvColumn {
  std::vector<double> numbers;
  std::string text;
  std::vector<std::size_t> ends;

  std::string_view cell(std::size_t row) const {
    const std::size_t begin = row == 0 ? 0 : ends[row - 1];
    return std::string_view(text).substr(begin, ends[row] - begin);
  }
};

namespace csv {

// The path that reads standard input, and the name reports give it.
inline constexpr const char* kStandardInputPath = "-";
inline constexpr const char* kStandardInputName = "<stdin>";

// Reads the whole file; `problem` says why not.
bool readFile(const std::string& path, std::string& content, std::string& problem);

// The text of `path` (kStandardInputPath: what is left of standard input)
// in the host's code page, `encoding` being the caller's name for the
// file's encoding ("" when not given). False (reported under `name`) when
// it cannot be read or decoded, or standard input is empty.
bool readText(const std::string& path, const std::string& name, const std::string& encoding,
              std::string& content);

// The delimiter that splits the header line into the most fields (quotes
// respected); on a tie the first of ',', ';' and tab.
char detectDelimiter(std::string_view text);

class ColumnTyper;

// Where the rows begin: the byte after the header record, and its line.
struct Body {
  std::size_t offset = 0;
  std::int64_t line = 1;
};

// Reads the header record into `names`; false (reported under `name`) when
// the file is empty, the header malformed, or a name empty, holding a NUL
// byte or given twice.
bool readHeader(const std::string& name, std::string_view data, char delimiter,
                std::vector<std::string>& names, Body& body);

// A bound on the rows of the body, for room taken once: a line end a row.
std::size_t rowsAtMost(std::string_view data, const Body& body);

// Reads every row after the header (at most `rowsAtMost`, as rowsAtMost()
// counts them), noting the file line on which each begins. Each column's
// cells go to its typer (one a column) while it types them, and are kept as
// texts in `columns` (sized here) from the moment its typer finds the column
// is text, with those read before. False (reported under `name`) when a row
// is malformed or a typer refuses a value.
bool readRows(const std::string& name, std::string_view data, char delimiter, const Body& body,
              std::size_t rowsAtMost, std::vector<ColumnTyper>& typers,
              std::vector<CsvColumn>& columns, std::vector<int>& lines, int& rows);

}  // namespace csv

}  // namespace cxhost

#endif  // CHARTXML_HOST_DATASRC_CSVREADER_H_
