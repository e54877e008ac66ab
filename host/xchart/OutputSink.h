// The output sink (internal): where sent charts go. Every chart is kept in
// memory for chartxml_host.h's cxh_sent_* functions; when an output folder
// is set (settings::outputDir()), its files are written there instead of its
// data being kept. Not thread-safe: charts are sent from one thread.
#ifndef CHARTXML_HOST_XCHART_OUTPUTSINK_H_
#define CHARTXML_HOST_XCHART_OUTPUTSINK_H_

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "chartxml/host/VarDataProcessor.h"

namespace cxhost {

struct SentChart {
  int number = 0;  // given by sendChart: 1 for the first send of the process
  std::string xml;
  std::string description;  // UTF-8
  std::string chartTemplate;
  // One per data source, in the feed's order: its CSV held in memory, or
  // the path of the file it was written to (then `csv` is empty).
  struct Data {
    std::string source;
    std::string csv;
    std::string path;
  };
  std::vector<Data> data;

  // The CSV of `source` when held in memory; null when the chart has no
  // such source or its data went to a file.
  const std::string* csv(std::string_view source) const;
  // The file `source`'s data was written to; null when the data is held in
  // memory or the chart has no such source.
  const std::string* dataPath(std::string_view source) const;
};

// Numbers and keeps `chart` with the data of every source of `feed` (none
// when null; the feed is only read, during the call).
//
// With no output folder, each source's CSV is kept in memory. With one,
// chart-NNNN.xml and one chart-NNNN.SOURCE.csv per source are written there
// (the folder itself, not its parents, is created when missing): each CSV is
// streamed from the feed's columns to its file through a fixed buffer, each
// file is written under a temporary name (".NAME.tmp-PID") and renamed into
// place once every file of the chart is complete, the document last; the
// record then keeps the paths, not the data. On any failure (reported, naming
// the file and the system's error) no file of the chart stays behind, the
// chart is kept with its data in memory, and false is returned; numbering
// goes on. Into a folder, numbering continues after the highest chart number
// already there, so that no chart overwrites another's files.
bool sendChart(SentChart chart, const VarDataProcessor* feed);

// Forgets every sent chart, gives their memory back and starts numbering
// again at 1 (but for what an output folder already holds).
void clearSentCharts();

// Sent charts, oldest first. Entries keep their address until cleared.
std::deque<SentChart>& sentCharts();

// The SOURCE part of a data file name: characters other than ASCII letters,
// digits, '_' and '-' become '_', an empty name becomes "_", and the result
// is cut to 64 characters, so no source name can leave the folder or make an
// over-long file name.
std::string fileNamePart(std::string_view source);

}  // namespace cxhost

#endif  // CHARTXML_HOST_XCHART_OUTPUTSINK_H_
