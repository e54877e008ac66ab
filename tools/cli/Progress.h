// A progress bar on standard error while a long data feed runs.
#pragma once

#include <cstddef>
#include <cstdio>

namespace chartxml::cli {

class Progress {
 public:
  // Feeds of more rows than this show a bar, and only on a terminal.
  static constexpr std::size_t kThreshold = 100000;

  // `out` is where the bar goes; it is shown when `total` exceeds the
  // threshold and `out` is a terminal.
  Progress(std::FILE* out, std::size_t total, const char* what);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  bool shown() const { return shown_; }
  // `done` rows so far; redraws only when the shown percentage changes.
  void update(std::size_t done);

 private:
  void draw(int percent);

  std::FILE* out_;
  std::size_t total_;
  const char* what_;
  bool shown_;
  int percent_ = -1;
};

}  // namespace chartxml::cli
