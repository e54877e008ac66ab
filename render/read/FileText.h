// A file's whole text in memory, read once: documents and data files of
// millions of rows, which the reader then parses in place.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "read/LargeBuffer.h"

namespace chartxml::render {

struct FileText {
  LargeVector<char> bytes;
  std::string_view view() const { return {bytes.data(), bytes.size()}; }
};

// The text of the file at `path` (which may also be a pipe or a device),
// or nothing with `error` naming the path and the fault: a folder, a file
// larger than `maxBytes`, one that cannot be opened or read. Whatever the
// file grew by while it was read is read too, up to `maxBytes`.
std::optional<FileText> readFileText(const std::string& path, std::uintmax_t maxBytes,
                                     std::string& error);

}  // namespace chartxml::render
