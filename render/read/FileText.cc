#include "read/FileText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "FileIo.h"

namespace chartxml::render {
namespace {

// Closes the file however the read ends.
struct Descriptor {
  int fd;
  ~Descriptor() {
    if (fd >= 0) cxio::closeFile(fd);
  }
};

}  // namespace

std::optional<FileText> readFileText(const std::string& path, std::uintmax_t maxBytes,
                                     std::string& error) {
  const auto fail = [&](const std::string& what) {
    error = path + ": " + what;
    return std::nullopt;
  };
  int failure = 0;
  Descriptor file{cxio::openFile(path.c_str(), O_RDONLY | O_CLOEXEC, 0, failure)};
  if (file.fd < 0) return fail("cannot open: " + cxio::errorText(failure));
  struct stat status {};
  if (fstat(file.fd, &status) != 0)
    return fail(std::string("cannot read: ") + std::strerror(errno));
  if (S_ISDIR(status.st_mode)) return fail("is a folder, not a file");
  const auto size = S_ISREG(status.st_mode) ? static_cast<std::uintmax_t>(status.st_size) : 0;
  if (size > maxBytes) {
    return fail("is too large to be a chart's file (" + std::to_string(size) + " bytes)");
  }
  FileText text;
  // Room for the whole file and a little more, so that its end is seen in
  // the same pass; more room as it proves longer (a pipe, a growing file).
  std::size_t room = static_cast<std::size_t>(size) + 4096, filled = 0;
  text.bytes.resize(room);
  for (;;) {
    if (filled == room) {
      if (room >= maxBytes) {
        return fail("is too large to be a chart's file (over " + std::to_string(maxBytes) +
                    " bytes)");
      }
      room *= 2;
      text.bytes.resize(room);
    }
    const ssize_t got = cxio::readSome(file.fd, text.bytes.data() + filled, room - filled, failure);
    if (got < 0) return fail("cannot read: " + cxio::errorText(failure));
    if (got == 0) break;
    filled += static_cast<std::size_t>(got);
  }
  text.bytes.resize(filled);
  return text;
}

}  // namespace chartxml::render
