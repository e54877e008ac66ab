// A data source's rows as the output sink writes them: a header of source
// names, then one line per case (RFC 4180 quoting, an empty field for a
// missing value, lines ending in LF, CRLF or a lone CR). A quoted field is
// always a text, even one that spells a number: the sink quotes the texts
// that would read as numbers. An unquoted field is a number when it spells
// one, an infinity ("inf" or "infinity" in any letter case, signed or not)
// or NaN ("nan", "NaN": missing). Each column keeps every cell as a number
// and, for cells that are not numbers, as a text, so that the model can
// decide per variable whether a column is read as numbers or as categories.
#pragma once

#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "read/LargeBuffer.h"

namespace chartxml::render {

using NumberVector = LargeVector<double>;

struct DataColumn {
  std::string name;
  // One per row: the number, NaN for a missing cell or a text; an infinity
  // when the cell spells one ("inf", "-inf", "Infinity") or is too large.
  NumberVector numbers;
  // One per row when any cell of the column is a text: the index of the
  // text in `texts`, -1 for numbers and missing cells. Empty otherwise.
  std::vector<std::int32_t> textIndex;
  std::vector<std::string> texts;  // distinct texts, in order of first appearance

  bool missing(std::size_t row) const {
    return std::isnan(numbers[row]) && (textIndex.empty() || textIndex[row] < 0);
  }
  // The text of a cell that is not a number, or null.
  const std::string* text(std::size_t row) const {
    if (textIndex.empty() || textIndex[row] < 0) return nullptr;
    return &texts[static_cast<std::size_t>(textIndex[row])];
  }
};

struct DataTable {
  std::string origin;  // the file (or "sent chart N, source S") the rows came from, for messages
  std::vector<DataColumn> columns;
  std::size_t rowCount = 0;
  // The rows that do not start on the line after the previous row's start
  // (the first row, a row after blank lines or a field spanning lines), with
  // the line they start on: a line per row costs megabytes on big files and
  // is only read for error messages.
  std::vector<std::pair<std::size_t, std::int32_t>> lineBreaks;

  std::size_t rows() const { return rowCount; }
  // The line `row` starts on in the origin.
  int line(std::size_t row) const;
  const DataColumn* column(std::string_view name) const;
};

// Reads CSV text. Nothing, with `error` naming the line and what is wrong,
// when a row has more or fewer fields than the header, a quote is not
// closed, or the header is missing.
// Long texts without quotes are read in two halves at once, split at a line
// end; the table is the same as one read straight through.
std::optional<DataTable> readCsv(std::string_view text, std::string origin, std::string& error);

}  // namespace chartxml::render
