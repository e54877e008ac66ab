// The facade's lifetime, chart registry and procedure settings.
#include "chartxml/ChartXml.h"
#include "chartxml/HostBridge.h"

#include <string>

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/validators/schema/SchemaValidator.hpp>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/ChartRegistry.h"
#include "chartxml/Forward.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/ChartTranscoder.h"
#include "chartxml/host/FacSTDictionary.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/TsCellText.h"
#include "chartxml/host/VORN_DataSource.h"
#include "common/SourceNames.h"

using chartxml::keyOf;
using chartxml::kFacadeSource;

ChartXml* ChartXml::_instance = nullptr;
bool ChartXml::_initialized = false;

namespace {

std::string stringTablePath() {
  return PathFactory::getPathInstance(3).getPath();
}

}  // namespace

ChartXml* ChartXml::Initialize() {
  _initialized = true;
  return GetInstance();
}

ChartXml* ChartXml::GetInstance() {
  if (_instance != nullptr) return _instance;
  try {
    new ChartXml();  // the constructor publishes itself
  } catch (...) {
    // A construction that failed has been unwound: nothing usable is left.
    _instance = nullptr;
  }
  return _instance;
}

ChartXml* ChartXml::Terminate() {
  if (_instance != nullptr) {
    _initialized = false;
    delete _instance;
    _instance = nullptr;
  }
  return _instance;
}

ChartXml::ChartXml() : charts(std::make_unique<chartxml::ChartRegistry>()) {
  // Published first, so that whatever the rest of construction calls (the
  // vocabulary's translations) finds the instance.
  _instance = this;
  dictionary = std::make_unique<FacSTDictionary>(stringTablePath());
  // The error handler exists before anything can be reported.
  errorHandler = std::make_unique<ChartErrorHandler>();
  try {
    xercesc::XMLPlatformUtils::Initialize();
    platformReady = true;
  } catch (const xercesc::XMLException& e) {
    errorHandler->error(e);
  }
  if (platformReady) {
    validator = std::make_unique<xercesc::SchemaValidator>(nullptr);
  }
  olangTranscoder.reset(createOLangTranscoder());
  localTranscoder.reset(createLocalTranscoder());
  stringHandler = std::make_unique<ChartStringHandler>(*this, *errorHandler);
  procedureName.clear();
  warningShown = false;
}

ChartXml::~ChartXml() {
  // Charts hold DOM documents: they go before the XML platform does.
  charts.reset();
  // What the instance made for the host lives no longer than the instance.
  for (const int text : tsTexts) TsCellText::Release(text);
  std::string().swap(chartxml::chartXmlBuffer());
  stringHandler.reset();
  validator.reset();
  olangTranscoder.reset();
  localTranscoder.reset();
  if (platformReady) {
    try {
      xercesc::XMLPlatformUtils::Terminate();
    } catch (const xercesc::XMLException& e) {
      errorHandler->error(e);
    }
  }
  errorHandler.reset();
  dictionary.reset();
  dataSource = nullptr;
  ownedDataSource.reset();
}

ChartTranscoder* ChartXml::createOLangTranscoder() {
  static constexpr struct {
    const char* language;
    const char* codePage;
  } kCodePages[] = {{"ru", "CP1251"},   {"pl", "CP1250"}, {"zh-tw", "CP950"},
                    {"zh-cn", "CP936"}, {"ko", "CP949"},  {"ja", "CP932"}};
  const std::string language = OLang().GetLanguageCode();
  const char* codePage = "CP1252";
  for (const auto& entry : kCodePages) {
    if (language == entry.language) codePage = entry.codePage;
  }
  return new ChartTranscoder(codePage);
}

ChartTranscoder* ChartXml::createLocalTranscoder() {
  return new ChartTranscoder(VORNMBDefaultCodePage());
}

void ChartXml::reportFacade(const std::string& message, int line) {
  errorHandler->error(ChartException(message, kFacadeSource, line));
}

Chart* ChartXml::getValidChart(int chart, const char* file, unsigned line, bool report) {
  if (chart == lastChartHandle && lastChart != nullptr) return lastChart;
  const int reportLine = static_cast<int>(line);
  if (chart < 0 || chart > nextHandle) {
    if (report) {
      errorHandler->error(ChartException("chart handle (" + std::to_string(chart) +
                                             ") out of range (0-" + std::to_string(nextHandle) +
                                             ")",
                                         file, reportLine));
    }
    return nullptr;
  }
  std::unique_ptr<Chart>* entry = charts->find(keyOf(chart));
  if (entry == nullptr) {
    if (report) {
      errorHandler->error(ChartException(
          "chart with this handle not found " + std::to_string(chart), file, reportLine));
    }
    return nullptr;
  }
  if (*entry == nullptr) {
    if (report) {
      errorHandler->error(
          ChartException("chart does not exist " + std::to_string(chart), file, reportLine));
    }
    return nullptr;
  }
  lastChartHandle = chart;
  lastChart = entry->get();
  return lastChart;
}

void ChartXml::eraseChart(int chart) {
  if (chart == lastChartHandle) {
    lastChartHandle = -1;
    lastChart = nullptr;
  }
  charts->erase(keyOf(chart));
}

int ChartXml::CreateChart() {
  return guard(-1, __LINE__, [&] {
    if (!platformReady) {
      reportFacade("the XML platform is not available; no chart can be made", __LINE__);
      return -1;
    }
    auto chart = std::make_unique<Chart>(nextHandle, stringHandler.get());
    if (!chart->CreateChart()) return -1;
    charts->insert(keyOf(nextHandle), std::move(chart));
    return nextHandle++;
  });
}

void ChartXml::releaseIfEmpty() {
  if (charts->empty() && !_initialized) releaseShared();
}

void ChartXml::releaseShared() {
  ResetStrings();
  // Only a wrapper built here is freed; the host's own source stays the host's.
  dataSource = nullptr;
  ownedDataSource.reset();
}

int ChartXml::EndChart(int chart) {
  const int status =
      forward(chart, chartxml::line::kEndChart, [](Chart& c) { return c.EndChart(); });
  // The chart goes whatever its completion status was.
  if (getValidChart(chart, kFacadeSource, chartxml::line::kEndChart, false) != nullptr) {
    eraseChart(chart);
    releaseIfEmpty();
  }
  return status;
}

int ChartXml::KillChart(int chart) {
  if (getValidChart(chart, kFacadeSource, chartxml::line::kKillChart, false) != nullptr) {
    eraseChart(chart);
    releaseIfEmpty();
  }
  return 0;
}

int ChartXml::KillCharts() {
  lastChartHandle = -1;
  lastChart = nullptr;
  charts->clear();
  if (!_initialized) releaseShared();
  nextHandle = 0;
  return 0;
}

xercesc::DOMDocument* ChartXml::getChart(int chart) {
  Chart* target = getValidChart(chart, kFacadeSource, __LINE__, true);
  return target == nullptr ? nullptr : target->document();
}

VarDataProcessor* ChartXml::getDataProcessor(int chart) {
  Chart* target = getValidChart(chart, kFacadeSource, __LINE__, true);
  return target == nullptr ? nullptr : &target->dataProcessor();
}

int ChartXml::getHandle(int chart, xercesc::DOMElement* element) {
  return forward(chart, __LINE__, [&](Chart& c) { return c.getHandle(element); });
}

int ChartXml::SetLogUnsafe(int chart) {
  return forward(chart, __LINE__, [](Chart& c) { return c.SetLogUnsafe(); });
}

std::string ChartXml::GetXmlBuffer(int chart) {
  return guard(std::string(), chartxml::line::kGetXmlBuffer, [&] {
    Chart* target = getValidChart(chart, kFacadeSource, chartxml::line::kGetXmlBuffer, true);
    return target == nullptr ? std::string() : target->serialize();
  });
}

bool ChartXml::warningShownAlready() {
  const bool previous = warningShown;
  warningShown = true;
  return previous;
}

const std::string& ChartXml::SetProcedure(int chart, const std::string& name) {
  if (name != procedureName) {
    procedureName = name;
    warningShown = false;
  }
  guard(0, chartxml::line::kSetProcedure, [&] {
    dictionary->SetGlobalStringTable(stringTablePath());
    procedureTable = dictionary->SetProcedure(name);
    if (chart != -1) {
      if (Chart* target =
              getValidChart(chart, kFacadeSource, chartxml::line::kSetProcedure, true)) {
        target->SetProcedure(transcode(name));
      }
    }
    return 0;
  });
  return procedureTable;
}

void ChartXml::SetGlobalStringTable(const std::string& table) {
  guard(0, __LINE__, [&] {
    dictionary->SetGlobalStringTable(table);
    return 0;
  });
}
