// One run of the library over one data source, as a procedure runs: the host
// opens the data, CX_INIT starts the instance in the chosen output language,
// charts are built and sent, CX_TERMINATE ends it. The library keeps the
// first data source of an instance for its whole life, so each data source
// gets a run of its own.
#pragma once

#include <optional>
#include <string>

#include "cli/ChartRequest.h"
#include "cli/Table.h"

namespace chartxml::cli {

// The host's reports made since report number `mark`, one a line.
std::string reportsSince(int mark);

class Session {
 public:
  // Opens `csvPath` through the host. Nothing, with `error` set to what the
  // host reported (file and line), when the host refuses the file.
  static std::optional<Session> open(const std::string& csvPath, std::string& error);

  Session(Session&& other) noexcept;
  Session& operator=(Session&&) = delete;
  Session(const Session&) = delete;
  ~Session();

  // Starts the library instance in `language` ("" for the host's default);
  // stop ends it (also done when the session goes), after which another
  // instance may start, in another language, on the same data.
  void start(const std::string& language);
  void stop();

  // Builds, feeds and sends one chart. The number of the sent chart (its
  // files are chart-NNNN.*), or nothing with `error` set.
  std::optional<int> send(const Table& table, const ChartRequest& request, std::string& error);

 private:
  explicit Session(void* source) : source_(source) {}

  void* source_ = nullptr;
  bool started_ = false;
};

}  // namespace chartxml::cli
