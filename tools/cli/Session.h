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

// How the host is to read a CSV file; the defaults let it find out.
struct ReadOptions {
  char delimiter = 0;    // 0: detected
  std::string encoding;  // "": by the byte order mark, else UTF-8
  int dateOrder = 0;     // 0: no numeric dates, 1 month first, 2 day first
};

// What messages call data read from PATH: PATH, or "<stdin>" for "-", as the
// host's reports do.
std::string dataName(const std::string& path);

class Session {
 public:
  // Opens `csvPath` ("-": standard input) through the host, once. Nothing,
  // with `error` set to what the host reported (file and line), when the
  // host refuses the file.
  static std::optional<Session> open(const std::string& csvPath, const ReadOptions& options,
                                     std::string& error);

  // The data's name in messages (dataName of the path).
  const std::string& name() const { return name_; }
  // The tool's copy of the data the host read.
  Table table() const { return Table::fromSource(source_, name_); }
  // What the host took each column for: "NAME: KIND", one a line.
  std::string columnKinds() const;

  Session(Session&& other) noexcept;
  Session& operator=(Session&&) = delete;
  Session(const Session&) = delete;
  ~Session();

  // Starts the library instance in `language` ("" for the host's default):
  // true, or false with `error` set to what the host reported as it started
  // (string tables that are not there, say). stop ends it (also done when
  // the session goes), after which another instance may start, in another
  // language, on the same data.
  bool start(const std::string& language, std::string& error);
  void stop();

  // Builds, feeds and sends one chart: true, or false with `error` set. The
  // chart is then the host's last sent chart (cxh_sent_count() - 1).
  bool send(const Table& table, const ChartRequest& request, std::string& error);

 private:
  Session(void* source, std::string name) : source_(source), name_(std::move(name)) {}

  void* source_ = nullptr;
  std::string name_;
  bool started_ = false;
};

}  // namespace chartxml::cli
