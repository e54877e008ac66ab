// The output sink (internal): where sent charts go. Every chart is kept in
// memory for chartxml_host.h's cxh_sent_* functions; when an output folder
// is set (settings::outputDir()), its files are written there as well.
#ifndef CHARTXML_HOST_XCHART_OUTPUTSINK_H_
#define CHARTXML_HOST_XCHART_OUTPUTSINK_H_

#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cxhost {

struct SentChart {
  int number = 0;  // given by sendChart: 1 for the first send of the process
  std::string xml;
  std::string description;  // UTF-8
  std::string chartTemplate;
  std::vector<std::pair<std::string, std::string>> data;  // source name, CSV

  // The CSV of `source`, or null when the chart has no such source.
  const std::string* csv(std::string_view source) const;
};

// Numbers and keeps `chart`, then writes chart-NNNN.xml and one
// chart-NNNN.SOURCE.csv per source into the output folder when one is set,
// creating the folder itself (not its parents) when missing. False when a
// file or the folder could not be written (reported); the chart is kept in
// memory all the same. Into a folder, numbering continues after the highest
// chart number already there, so that no chart overwrites another's files.
bool sendChart(SentChart chart);

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
