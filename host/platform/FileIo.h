// The one path of every file read and write of the host, the renderer and
// the command: open, read, write, sync, close and rename, each a thin call of
// the system's, plus the whole-file writer built on them. A test can make
// any one of these calls fail (setFaultHook) to show that every caller
// survives a full disk or a failed device; in normal use the hook is null and
// costs one load and branch per call.
//
// Errors: functions return 0 or the system's error number (errno value);
// errorText() gives its message. EINTR is retried here. Threads: the calls
// are as thread-safe as the system's; the hook is set only by tests, while
// no file is being read or written.
#ifndef CHARTXML_HOST_PLATFORM_FILEIO_H_
#define CHARTXML_HOST_PLATFORM_FILEIO_H_

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "chartxml/export.h"

namespace cxio {

// The calls a fault can be injected into.
enum class Call { kOpen, kRead, kWrite, kSync, kClose, kRename };

// Asked before each call; a nonzero result is the error the call then fails
// with, without reaching the system.
using FaultHook = int (*)(Call call);

// Test-only: installs `hook` (null removes it) in the copy of this layer
// that the caller's code is linked with.
void setFaultHook(FaultHook hook);

// open(2): the descriptor, or -1 with `error` set.
int openFile(const char* path, int flags, mode_t mode, int& error);
// read(2): bytes read (0 at the end), or -1 with `error` set.
ssize_t readSome(int fd, void* buffer, std::size_t size, int& error);
// Writes all of `bytes`.
int writeAll(int fd, std::string_view bytes);
int syncFile(int fd);
// Writes the file's data out and waits (its metadata is fsync's); a no-op
// where the system cannot. Fails as a sync does.
int writeOutFile(int fd);
// Closes `fd` in every case; the error is a failure the system reports only
// now (a delayed write error).
int closeFile(int fd);
int renameFile(const char* from, const char* to);

// The whole content of the regular file (or pipe) at `path`, appended to
// `content`; EISDIR for a folder.
int readWholeFile(const std::string& path, std::string& content);

// The system's message for an error number.
std::string errorText(int error);

// A file written whole or not at all: created under a temporary name in the
// folder of `path` (".NAME.tmp-PID", made with O_EXCL so that nothing
// planted there is followed), synced and renamed into place by commit().
// One process writes one target at a time. Destroyed or discarded before commit, the temporary file
// is removed; discard() after commit removes the committed file too (a caller that writes several
// files as one unit undoes the ones already placed).
class WholeFile {
 public:
  explicit WholeFile(std::string path);
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;
  ~WholeFile();

  int open();  // permissions 0666 less the process's umask
  // Appends `bytes`; every few MiB the system is asked to start writing
  // them to the device, so that a big file is mostly there by finish().
  int write(std::string_view bytes);
  // Writes the data out to the device and waits, without the sync of the
  // file's metadata: a caller placing several files syncs each of them
  // first, so that finish() commits them all in one journal transaction.
  int writeOut();
  // Syncs and closes the temporary file, then renames it into place.
  int finish();  // sync and close only, for callers that rename later
  int commit();  // finish() when not yet done, then rename
  void discard();

  const std::string& path() const { return path_; }
  // The first error met, or 0.
  int error() const { return error_; }

 private:
  int fail(int error);

  std::string path_, temp_;
  int fd_ = -1;
  int error_ = 0;
  off_t written_ = 0, started_ = 0;  // bytes written, and handed to the device so far
  bool created_ = false, finished_ = false, committed_ = false;
};

// Writes `bytes` to `path` through a WholeFile.
int writeWholeFile(const std::string& path, std::string_view bytes);

}  // namespace cxio

// Test-only: setFaultHook for the host library's own copy of this layer,
// which a test program linked with the shared library cannot reach
// otherwise. Not declared in any public header.
extern "C" CHARTXML_HOST_EXPORT void cxh_testonly_set_io_fault_hook(cxio::FaultHook hook);

#endif  // CHARTXML_HOST_PLATFORM_FILEIO_H_
