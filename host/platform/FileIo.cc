#include "FileIo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace cxio {
namespace {

FaultHook faultHook = nullptr;

// The error a test injects into `call`, or 0.
inline int injected(Call call) {
  if (faultHook == nullptr) [[likely]]
    return 0;
  return faultHook(call);
}

}  // namespace

void setFaultHook(FaultHook hook) {
  faultHook = hook;
}

int openFile(const char* path, int flags, mode_t mode, int& error) {
  if ((error = injected(Call::kOpen)) != 0) return -1;
  for (;;) {
    const int fd = ::open(path, flags, mode);
    if (fd >= 0) return fd;
    if (errno != EINTR) {
      error = errno;
      return -1;
    }
  }
}

ssize_t readSome(int fd, void* buffer, std::size_t size, int& error) {
  if ((error = injected(Call::kRead)) != 0) return -1;
  for (;;) {
    const ssize_t got = ::read(fd, buffer, size);
    if (got >= 0) return got;
    if (errno != EINTR) {
      error = errno;
      return -1;
    }
  }
}

int writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    if (const int error = injected(Call::kWrite)) return error;
    const ssize_t wrote = ::write(fd, bytes.data(), bytes.size());
    if (wrote < 0) {
      if (errno != EINTR) return errno;
    } else {
      bytes.remove_prefix(static_cast<std::size_t>(wrote));
    }
  }
  return 0;
}

int writeOutFile(int fd) {
  if (const int error = injected(Call::kSync)) return error;
#ifdef __linux__
  constexpr unsigned kWriteAndWait =
      SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER;
  while (::sync_file_range(fd, 0, 0, kWriteAndWait) != 0) {
    if (errno == EINTR) continue;
    // Pipes, and file systems that have no such call: fsync alone will do.
    if (errno == ESPIPE || errno == EINVAL || errno == ENOSYS || errno == EROFS) return 0;
    return errno;
  }
#else
  (void)fd;
#endif
  return 0;
}

int syncFile(int fd) {
  if (const int error = injected(Call::kSync)) return error;
  // A pipe or terminal cannot be synced and needs not be.
  if (::fsync(fd) != 0 && errno != EINVAL && errno != EROFS) return errno;
  return 0;
}

int closeFile(int fd) {
  const int error = injected(Call::kClose);
  // Closed even when a fault is injected: a failed close still frees the
  // descriptor, and so must a simulated one.
  if (::close(fd) != 0 && errno != EINTR && error == 0) return errno;
  return error;
}

int renameFile(const char* from, const char* to) {
  if (const int error = injected(Call::kRename)) return error;
  return ::rename(from, to) == 0 ? 0 : errno;
}

int readWholeFile(const std::string& path, std::string& content) {
  int error = 0;
  const int fd = openFile(path.c_str(), O_RDONLY | O_CLOEXEC, 0, error);
  if (fd < 0) return error;
  struct stat status {};
  if (::fstat(fd, &status) != 0) {
    error = errno;
  } else if (S_ISDIR(status.st_mode)) {
    error = EISDIR;
  } else {
    if (S_ISREG(status.st_mode)) content.reserve(content.size() + status.st_size);
    char buffer[1 << 16];
    for (;;) {
      const ssize_t got = readSome(fd, buffer, sizeof buffer, error);
      if (got <= 0) break;
      content.append(buffer, static_cast<std::size_t>(got));
    }
  }
  const int closed = closeFile(fd);
  return error != 0 ? error : closed;
}

std::string errorText(int error) {
  return std::error_code(error, std::generic_category()).message();
}

WholeFile::WholeFile(std::string path) : path_(std::move(path)) {
  const std::size_t slash = path_.rfind('/');
  const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
  temp_.reserve(path_.size() + 32);
  temp_.append(path_, 0, start);
  temp_ += '.';
  temp_.append(path_, start);
  temp_ += ".tmp-";
  temp_ += std::to_string(::getpid());
}

WholeFile::~WholeFile() {
  if (!committed_) discard();
}

int WholeFile::fail(int error) {
  if (error_ == 0) error_ = error;
  return error;
}

int WholeFile::open() {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  int error = 0;
  fd_ = openFile(temp_.c_str(), kFlags, 0666, error);
  // The name holds this process's id: what is there was left by an earlier
  // process of the same id that died mid-write.
  if (fd_ < 0 && error == EEXIST && ::unlink(temp_.c_str()) == 0) {
    fd_ = openFile(temp_.c_str(), kFlags, 0666, error);
  }
  if (fd_ < 0) return fail(error);
  created_ = true;
  return 0;
}

int WholeFile::write(std::string_view bytes) {
  if (error_ != 0) return error_;
  if (fd_ < 0) return fail(EBADF);
  if (const int error = writeAll(fd_, bytes)) return fail(error);
  written_ += static_cast<off_t>(bytes.size());
#ifdef __linux__
  // Advice only: the device works while the caller goes on writing.
  constexpr off_t kStartEvery = off_t{8} << 20;
  if (written_ - started_ >= kStartEvery) {
    ::sync_file_range(fd_, started_, written_ - started_, SYNC_FILE_RANGE_WRITE);
    started_ = written_;
  }
#endif
  return 0;
}

int WholeFile::writeOut() {
  if (finished_ || error_ != 0) return error_;
  if (fd_ < 0) return fail(EBADF);
  const int error = writeOutFile(fd_);
  return error == 0 ? 0 : fail(error);
}

int WholeFile::finish() {
  if (finished_ || error_ != 0) return error_;
  if (fd_ < 0) return fail(EBADF);
  const int synced = syncFile(fd_);
  const int closed = closeFile(fd_);
  fd_ = -1;
  if (synced != 0) return fail(synced);
  if (closed != 0) return fail(closed);
  finished_ = true;
  return 0;
}

int WholeFile::commit() {
  if (const int error = finish()) return error;
  if (const int error = renameFile(temp_.c_str(), path_.c_str())) return fail(error);
  committed_ = true;
  return 0;
}

void WholeFile::discard() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  if (committed_)
    ::unlink(path_.c_str());
  else if (created_)
    ::unlink(temp_.c_str());
  created_ = committed_ = finished_ = false;
}

int writeWholeFile(const std::string& path, std::string_view bytes) {
  WholeFile file(path);
  if (const int error = file.open()) return error;
  if (const int error = file.write(bytes)) return error;
  return file.commit();
}

}  // namespace cxio
