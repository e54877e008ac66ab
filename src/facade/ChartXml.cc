// The facade's lifetime, chart registry and procedure settings.
#include "chartxml/ChartXml.h"
#include "facade/HostBridge.h"

#include <string>

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/validators/schema/SchemaValidator.hpp>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/ChartTranscoder.h"
#include "chartxml/host/FacSTDictionary.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/TsCellText.h"
#include "chartxml/host/VORN_DataSource.h"
#include "common/SourceNames.h"
#include "facade/ChartRegistry.h"
#include "facade/ChartXmlState.h"
#include "facade/Forward.h"

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

ChartXml::ChartXml() : state_(std::make_unique<State>(*this)) {
  // Published first, so that whatever the rest of construction calls (the
  // vocabulary's translations) finds the instance.
  _instance = this;
  state_->dictionary = std::make_unique<FacSTDictionary>(stringTablePath());
  // The error handler exists before anything can be reported.
  state_->errorHandler = std::make_unique<ChartErrorHandler>();
  try {
    xercesc::XMLPlatformUtils::Initialize();
    state_->platformReady = true;
  } catch (const xercesc::XMLException& e) {
    state_->errorHandler->error(e);
  }
  if (state_->platformReady) {
    state_->validator = std::make_unique<xercesc::SchemaValidator>(nullptr);
  }
  state_->olangTranscoder.reset(state_->createOLangTranscoder());
  state_->localTranscoder.reset(state_->createLocalTranscoder());
  state_->stringHandler = std::make_unique<ChartStringHandler>(*this, *state_->errorHandler);
  state_->procedureName.clear();
  state_->warningShown = false;
}

ChartXml::~ChartXml() {
  // Charts hold DOM documents: they go before the XML platform does.
  state_->charts.reset();
  // What the instance made for the host lives no longer than the instance.
  for (const int text : state_->tsTexts) TsCellText::Release(text);
  std::string().swap(chartxml::chartXmlBuffer());
  state_->stringHandler.reset();
  state_->validator.reset();
  state_->olangTranscoder.reset();
  state_->localTranscoder.reset();
  if (state_->platformReady) {
    try {
      xercesc::XMLPlatformUtils::Terminate();
    } catch (const xercesc::XMLException& e) {
      state_->errorHandler->error(e);
    }
  }
  state_->errorHandler.reset();
  state_->dictionary.reset();
  state_->dataSource = nullptr;
  state_->ownedDataSource.reset();
}

ChartTranscoder* ChartXml::State::createOLangTranscoder() {
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

ChartTranscoder* ChartXml::State::createLocalTranscoder() {
  return new ChartTranscoder(VORNMBDefaultCodePage());
}

void ChartXml::State::reportFacade(const std::string& message, int line) {
  errorHandler->error(ChartException(message, kFacadeSource, line));
}

Chart* ChartXml::getValidChart(int chart, const char* file, unsigned line, bool report) {
  if (chart == state_->lastChartHandle && state_->lastChart != nullptr) return state_->lastChart;
  const int reportLine = static_cast<int>(line);
  if (chart < 0 || chart > state_->nextHandle) {
    if (report) {
      state_->errorHandler->error(ChartException("chart handle (" + std::to_string(chart) +
                                                     ") out of range (0-" +
                                                     std::to_string(state_->nextHandle) + ")",
                                                 file, reportLine));
    }
    return nullptr;
  }
  std::unique_ptr<Chart>* entry = state_->charts->find(keyOf(chart));
  if (entry == nullptr) {
    if (report) {
      state_->errorHandler->error(ChartException(
          "chart with this handle not found " + std::to_string(chart), file, reportLine));
    }
    return nullptr;
  }
  if (*entry == nullptr) {
    if (report) {
      state_->errorHandler->error(
          ChartException("chart does not exist " + std::to_string(chart), file, reportLine));
    }
    return nullptr;
  }
  state_->lastChartHandle = chart;
  state_->lastChart = entry->get();
  return state_->lastChart;
}

void ChartXml::State::eraseChart(int chart) {
  if (chart == lastChartHandle) {
    lastChartHandle = -1;
    lastChart = nullptr;
  }
  charts->erase(keyOf(chart));
}

int ChartXml::CreateChart() {
  return state_->guard(-1, __LINE__, [&] {
    if (!state_->platformReady) {
      state_->reportFacade("the XML platform is not available; no chart can be made", __LINE__);
      return -1;
    }
    auto chart = std::make_unique<Chart>(state_->nextHandle, state_->stringHandler.get());
    if (!chart->CreateChart()) return -1;
    state_->charts->insert(keyOf(state_->nextHandle), std::move(chart));
    return state_->nextHandle++;
  });
}

void ChartXml::State::releaseIfEmpty() {
  if (charts->empty() && !ChartXml::_initialized) releaseShared();
}

void ChartXml::State::releaseShared() {
  self.ResetStrings();
  // Only a wrapper built here is freed; the host's own source stays the host's.
  dataSource = nullptr;
  ownedDataSource.reset();
}

int ChartXml::EndChart(int chart) {
  const int status =
      state_->forward(chart, chartxml::line::kEndChart, [](Chart& c) { return c.EndChart(); });
  // The chart goes whatever its completion status was.
  if (getValidChart(chart, kFacadeSource, chartxml::line::kEndChart, false) != nullptr) {
    state_->eraseChart(chart);
    state_->releaseIfEmpty();
  }
  return status;
}

int ChartXml::KillChart(int chart) {
  if (getValidChart(chart, kFacadeSource, chartxml::line::kKillChart, false) != nullptr) {
    state_->eraseChart(chart);
    state_->releaseIfEmpty();
  }
  return 0;
}

int ChartXml::KillCharts() {
  state_->lastChartHandle = -1;
  state_->lastChart = nullptr;
  state_->charts->clear();
  if (!_initialized) state_->releaseShared();
  state_->nextHandle = 0;
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
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.getHandle(element); });
}

int ChartXml::SetLogUnsafe(int chart) {
  return state_->forward(chart, __LINE__, [](Chart& c) { return c.SetLogUnsafe(); });
}

std::string ChartXml::GetXmlBuffer(int chart) {
  return state_->guard(std::string(), chartxml::line::kGetXmlBuffer, [&] {
    Chart* target = getValidChart(chart, kFacadeSource, chartxml::line::kGetXmlBuffer, true);
    return target == nullptr ? std::string() : target->serialize();
  });
}

bool ChartXml::warningShownAlready() {
  const bool previous = state_->warningShown;
  state_->warningShown = true;
  return previous;
}

const std::string& ChartXml::SetProcedure(int chart, const std::string& name) {
  if (name != state_->procedureName) {
    state_->procedureName = name;
    state_->warningShown = false;
  }
  state_->guard(0, chartxml::line::kSetProcedure, [&] {
    state_->dictionary->SetGlobalStringTable(stringTablePath());
    state_->procedureTable = state_->dictionary->SetProcedure(name);
    if (chart != -1) {
      if (Chart* target =
              getValidChart(chart, kFacadeSource, chartxml::line::kSetProcedure, true)) {
        target->SetProcedure(transcode(name));
      }
    }
    return 0;
  });
  return state_->procedureTable;
}

void ChartXml::SetGlobalStringTable(const std::string& table) {
  state_->guard(0, __LINE__, [&] {
    state_->dictionary->SetGlobalStringTable(table);
    return 0;
  });
}
