#include "fault_support.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>

#include <gtest/gtest.h>

#include "chartxml/chartxml_host.h"
#include "chartxml/codes.h"
#include "chartxml/host/Platform.h"
#include "chartxml/render.h"

namespace fs = std::filesystem;

namespace faulttest {

int Stepper::operator()(const char* name, const std::function<int()>& call) {
  const int reportsBefore = cxh_report_count();
  const bool firedBefore = fault_.fired();
  fault_.setActive(true);
  const int result = call();
  fault_.setActive(false);
  if (fault_.fired() && !firedBefore) {
    hitStep_ = name;
    hitResult_ = result;
    hitReported_ = cxh_report_count() > reportsBefore;
  }
  return result;
}

std::vector<std::string> listing(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    names.push_back(it->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void eachFault(Injector& fault, long every, long most, const char* what,
               const std::function<int(long, Stepper&)>& script,
               const std::function<void(long, const Stepper&, int)>& judge,
               const std::function<bool(int)>& clean) {
  long n = 1;
  for (; n < most; n += every) {
    fault.arm(n);
    Stepper step(fault);
    const int result = script(n, step);
    fault.disarm();
    if (!step.hit()) {
      EXPECT_TRUE(clean(result)) << what << ": the run without a failure gave " << result;
      break;
    }
    judge(n, step, result);
    if (::testing::Test::HasFailure()) return;
  }
  EXPECT_LT(n, most) << what << ": a run still met a failure after " << most << " calls";
  std::printf("[ counts   ] %s: %ld calls, every %ld failed in turn\n", what, n - 1, every);
}

void checkPictures(const std::string& folder, int written,
                   const std::map<std::string, std::string>& clean, const std::string& when,
                   Problems& problems) {
  const std::vector<std::string> names = listing(folder);
  if (names.size() != static_cast<std::size_t>(written)) {
    problems.push_back(std::to_string(names.size()) + " files for " + std::to_string(written) +
                       " pictures written; " + when);
  }
  for (const std::string& name : names) {
    const std::string bytes = readAll(folder + "/" + name);
    const auto want = clean.find(name);
    if (want == clean.end()) {
      problems.push_back("left behind: " + name + "; " + when);
      continue;
    }
    if (bytes == want->second) continue;
    const std::size_t at =
        std::mismatch(bytes.begin(), bytes.end(), want->second.begin(), want->second.end()).first -
        bytes.begin();
    const std::size_t from = at > 80 ? at - 80 : 0;
    problems.push_back(name + " differs " + when + " at " + std::to_string(at) + ": " +
                       bytes.substr(from, 200) +
                       "\n instead of: " + want->second.substr(from, 200));
  }
}

namespace {

// The ids of the sources a chart document declares.
std::vector<std::string> sourceIds(const std::string& xml) {
  std::vector<std::string> ids;
  for (std::size_t at = xml.find("<source id=\""); at != std::string::npos;
       at = xml.find("<source id=\"", at + 1)) {
    const std::size_t start = at + 12;
    ids.push_back(xml.substr(start, xml.find('"', start) - start));
  }
  return ids;
}

}  // namespace

void checkChartFiles(const std::string& folder, const std::vector<int>& expected,
                     Problems& problems) {
  const std::vector<std::string> names = listing(folder);
  std::vector<int> found;
  for (const std::string& name : names) {
    if (name.front() == '.') problems.push_back("left behind: " + name);
    int number = 0;
    if (std::sscanf(name.c_str(), "chart-%d.xml", &number) != 1 ||
        name != "chart-" +
                    std::string(4 - std::min<std::size_t>(4, std::to_string(number).size()), '0') +
                    std::to_string(number) + ".xml") {
      continue;
    }
    found.push_back(number);
    const std::string xml = readAll(folder + "/" + name);
    const int reports = cxh_report_count();
    if (cxh_check_xml(xml.c_str(), 1) != 0) {
      problems.push_back(name + " does not check: " +
                         (cxh_report_count() > reports ? cxh_report_message(reports) : ""));
    }
    const std::string stem = name.substr(0, name.size() - 4);
    for (const std::string& source : sourceIds(xml)) {
      if (!std::binary_search(names.begin(), names.end(), stem + "." + source + ".csv")) {
        problems.push_back(name + " without its data file for " + source);
      }
    }
  }
  if (found != expected) {
    std::string want, got;
    for (int n : expected) want += " " + std::to_string(n);
    for (int n : found) got += " " + std::to_string(n);
    problems.push_back("charts in the folder:" + got + "; expected:" + want);
  }
}

int buildAndSend(ChartXml& cx, VORN_DataSource& data, Stepper& step) {
  // The rows are read before any step: only the library's calls meet faults.
  struct Cell {
    bool text;
    double number;
    std::string value;
  };
  std::vector<std::vector<Cell>> rows;
  for (int row = 0; row < data.RowCount(); ++row) {
    rows.emplace_back();
    for (const int column : {2, 0, 1, 3}) {
      if (data.GetVariable(column)->IsString())
        rows.back().push_back({true, 0, data.GetString(row, column)});
      else
        rows.back().push_back({false, data.GetNumber(row, column), {}});
    }
  }
  const int chart = step("CreateChart", [&] { return cx.CreateChart(); });
  if (chart < 0) return -1;
  step("SetDataSource", [&] {
    cx.SetDataSource(chart, &data);
    return 0;
  });
  step("SetChartTemplate", [&] { return cx.SetChartTemplate(chart, "fault.sgt"); });
  // Texts longer than a string holds in place are made outside the steps.
  const std::string description = "Income by id, with every family of builders";
  step("SetChartDescription", [&] { return cx.SetChartDescription(chart, description); });
  const int source = step("AddSource", [&] { return cx.AddSource(chart); });
  const int income = step("AddVariable", [&] { return cx.AddVariable(chart, source, 2, false); });
  const int id = step("AddVariable", [&] { return cx.AddVariable(chart, source, 0, false); });
  const int sex = step("AddVariable", [&] { return cx.AddVariable(chart, source, 1, true); });
  const int city = step("AddVariable", [&] { return cx.AddVariable(chart, source, 3, true); });
  step("AddRelabel", [&] {
    return cx.AddRelabel(chart, sex, cx.NStringNoTranslate("1"), cx.NStringNoTranslate("Male"));
  });
  const int frame =
      step("AddFrame", [&] { return cx.AddFrame(chart, 0, cx.NStringNoTranslate("graph_1")); });
  step("AddLabel", [&] {
    return cx.AddLabel(chart, frame, cx.StyleString(CX_WORD_TITLE, 1),
                       cx.NStringNoTranslate("Income by id"));
  });
  const int point =
      step("AddElement", [&] { return cx.AddElement(chart, frame, CX_WORD_POINT, -1); });
  const int position = step("AddPosition", [&] { return cx.AddPosition(chart, point); });
  step("AddX", [&] { return cx.AddX(chart, position, id); });
  step("AddY", [&] { return cx.AddY(chart, position, income); });
  step("AddColor", [&] { return cx.AddColor(chart, point, sex); });
  step("AddStatistic", [&] { return cx.AddStatistic(chart, point, CX_WORD_MEAN); });
  const int dimension =
      step("AddDimension", [&] { return cx.AddDimension(chart, frame, CX_ROLE_X, -1); });
  step("AddAxis", [&] { return cx.AddAxis(chart, dimension, -1, false); });
  step("AddGuide", [&] { return cx.AddGuide(chart, frame, CX_WORD_PLANE, -1); });
  step("AddLegend", [&] { return cx.AddLegend(chart, frame, -1); });
  step("AddFacetVariable", [&] {
    return cx.AddFacetVariable(chart, cx.AddCoordinateFacet(chart, frame), CX_ROLE_X, city);
  });
  step("AddDomain", [&] {
    const int domain = cx.AddDomain(chart, true);
    return cx.SetSimpleSortMethod(chart, cx.AddSimpleSort(chart, cx.AddSort(chart, domain)),
                                  CX_WORD_AUTO);
  });
  step("AddYOfXLinear", [&] { return cx.AddYOfXLinear(chart, frame, 1, 1000.0, 0.5, false); });
  const int fed[] = {income, id, sex, city};
  for (const auto& row : rows) {
    step("AddRow", [&] { return cx.AddRow(chart, source); });
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (row[i].text) {
        if (row[i].value.empty()) continue;
        step("AddDataValue", [&] {
          return cx.AddDataValue(chart, source, fed[i], cx.NStringNoTranslate(row[i].value));
        });
      } else if (row[i].number != kVornMissingValue) {
        step("AddDoubleDataValue",
             [&] { return cx.AddDoubleDataValue(chart, source, fed[i], row[i].number); });
      }
    }
  }
  return step("EndChart", [&] { return cx.EndChart(chart); });
}

int drawLatest(const std::string& folder, const std::string& document, Stepper& step,
               Problems& problems) {
  std::optional<chartxml::ChartRenderer> renderer;
  // Making a renderer may throw std::bad_alloc, as any C++ object's
  // construction may; its operations may not.
  if (step("ChartRenderer", [&] {
        try {
          renderer.emplace(chartxml::RenderOptions{320, 240, 1});  // small: a run is quick
          return 0;
        } catch (const std::bad_alloc&) {
          return -1;
        }
      }) != 0) {
    return 0;
  }
  const auto explained = [&](const char* what) {
    if (renderer->error().empty()) problems.push_back(std::string(what) + " failed silently");
  };
  const bool loaded = step("load", [&] {
                        return (document.empty() ? renderer->loadSent(cxh_sent_count() - 1)
                                                 : renderer->loadFile(document))
                                   ? 0
                                   : -1;
                      }) == 0;
  if (!loaded) {
    explained("load");
    return 0;
  }
  int written = 0;
  for (const char* name : {"/picture.png", "/picture.svg"}) {
    const std::string path = folder + name;
    if (step("write", [&] { return renderer->write(path) ? 0 : -1; }) == 0) {
      ++written;
    } else {
      explained("write");
    }
  }
  return written;
}

int readThroughHost(ChartXml& cx, const std::string& csv, Stepper& step, Problems& problems) {
  void* source = nullptr;
  step("cxh_open_csv", [&] {
    source = cxh_open_csv(csv.c_str());
    return source == nullptr ? -1 : 0;
  });
  if (source == nullptr) return -1;
  int status = 0;
  auto& data = *static_cast<VORN_DataSource*>(static_cast<VORN_FortranDictionary*>(source));
  if (data.GetVariable(1)->GetLabel() != "Sex of respondent") {
    problems.push_back("the source opened without its dictionary's labels");
  }
  const int64_t columns[] = {1, 2, 3};
  void* dictionary = nullptr;
  step("cxh_dictionary", [&] {
    dictionary = cxh_dictionary(source, columns, 3);
    return dictionary == nullptr ? -1 : 0;
  });
  if (dictionary == nullptr) status = -1;
  step("SetProcedure", [&] {
    cx.SetProcedure(-1, "Fault");
    return 0;
  });
  if (dictionary != nullptr) {
    const int chart = step("CreateChart", [&] { return cx.CreateChart(); });
    if (chart >= 0) {
      auto* fortran = static_cast<VORN_FortranDictionary*>(dictionary);
      step("SetDataSource", [&] {
        cx.SetDataSource(chart, &status, fortran);
        return 0;
      });
      const int element = step("AddSource", [&] { return cx.AddSource(chart); });
      for (const int variable : {1, 2}) {
        if (step("AddVariable", [&] { return cx.AddVariable(chart, element, variable, false); }) <
            0) {
          status = -1;
        }
      }
      step("KillChart", [&] { return cx.KillChart(chart); });
    } else {
      status = -1;
    }
    step("cxh_close", [&] {
      cxh_close(dictionary);
      return 0;
    });
  }
  step("cxh_close", [&] {
    cxh_close(source);
    return 0;
  });
  return status;
}

std::string copyPeople(const std::string& folder) {
  for (const char* name : {"people.csv", "people.csv.dict.json"}) {
    fs::copy_file(fs::path(CHARTXML_TEST_DATA_DIR) / name, fs::path(folder) / name,
                  fs::copy_options::overwrite_existing);
  }
  return folder + "/people.csv";
}

}  // namespace faulttest
