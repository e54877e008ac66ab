// What the one ChartXml instance holds: kept out of the public header, so
// that callers see its operations only and a change here rebuilds the
// library alone.
#ifndef CHARTXML_FACADE_CHARTXMLSTATE_H_
#define CHARTXML_FACADE_CHARTXMLSTATE_H_

#include <memory>
#include <string>
#include <vector>

#include <xercesc/validators/schema/SchemaValidator.hpp>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/ChartXml.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartTranscoder.h"
#include "chartxml/host/FacSTDictionary.h"
#include "chartxml/host/VORN_DataSource.h"
#include "facade/ChartRegistry.h"

struct ChartXml::State {
  int nextHandle = 0;
  // The chart resolved last: per-case calls name the same chart again and
  // again, and skip the registry look-up. Cleared whenever a chart goes.
  int lastChartHandle = -1;
  Chart* lastChart = nullptr;
  std::unique_ptr<xercesc::SchemaValidator> validator;
  std::unique_ptr<ChartStringHandler> stringHandler;
  std::unique_ptr<chartxml::ChartRegistry> charts = std::make_unique<chartxml::ChartRegistry>();
  std::unique_ptr<FacSTDictionary> dictionary;
  VORN_DataSource* dataSource = nullptr;
  std::unique_ptr<ProcedureDataSource> ownedDataSource;
  std::unique_ptr<ChartErrorHandler> errorHandler;
  std::unique_ptr<ChartTranscoder> olangTranscoder;
  std::unique_ptr<ChartTranscoder> localTranscoder;
  std::vector<int> tsTexts;  // cell texts made by ToTS, released with the instance
  std::string procedureName;
  std::string procedureTable;
  bool warningShown = false;
  bool platformReady = false;
};

#endif  // CHARTXML_FACADE_CHARTXMLSTATE_H_
