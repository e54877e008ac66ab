#include "cli/Progress.h"

#include <unistd.h>

namespace chartxml::cli {

Progress::Progress(std::FILE* out, std::size_t total, const char* what)
    : out_(out),
      total_(total),
      what_(what),
      shown_(total > kThreshold && ::isatty(::fileno(out)) == 1) {
  if (shown_) draw(0);
}

Progress::~Progress() {
  if (!shown_) return;
  draw(100);
  std::fputc('\n', out_);
  std::fflush(out_);
}

void Progress::update(std::size_t done) {
  if (!shown_ || total_ == 0) return;
  const int percent = static_cast<int>(done * 100 / total_);
  if (percent != percent_) draw(percent);
}

void Progress::draw(int percent) {
  constexpr int kWidth = 40;
  const int filled = percent * kWidth / 100;
  char bar[kWidth + 1];
  for (int i = 0; i < kWidth; ++i) bar[i] = i < filled ? '#' : '.';
  bar[kWidth] = '\0';
  std::fprintf(out_, "\r%s [%s] %3d%%", what_, bar, percent);
  std::fflush(out_);
  percent_ = percent;
}

}  // namespace chartxml::cli
