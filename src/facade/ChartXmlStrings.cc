// The facade's string operations: string handles, composites, numbers as
// text, translation and transcoding. None of them takes a chart.
#include <cmath>
#include <string>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/ChartXml.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/ChartTranscoder.h"
#include "chartxml/host/FacSTDictionary.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/TsCellText.h"
#include "common/SourceNames.h"
#include "common/XmlText.h"
#include "facade/ChartXmlState.h"
#include "facade/Forward.h"

using chartxml::kFacadeSource;
using chartxml::kStringsSource;

int ChartXml::String(const std::string& text) {
  return NStringNoTranslate(text);
}

int ChartXml::NStringNoTranslate(const std::string& text) {
  return state_->guard(-1, __LINE__, [&] { return state_->stringHandler->add(transcode(text)); });
}

int ChartXml::NString(const std::string& key) {
  return state_->guard(-1, __LINE__, [&] { return state_->stringHandler->add(translate(key)); });
}

int ChartXml::CompositeString(const std::string& key) {
  return state_->guard(-1, __LINE__,
                       [&] { return state_->stringHandler->addComposite(translate(key)); });
}

int ChartXml::AddParameter(int composite, int parameter) {
  return state_->guard(-1, __LINE__,
                       [&] { return state_->stringHandler->addParameter(composite, parameter); });
}

int ChartXml::BeginRepeat(int composite) {
  return state_->guard(-1, __LINE__, [&] { return state_->stringHandler->beginRepeat(composite); });
}

int ChartXml::EndRepeat(int composite) {
  return state_->guard(-1, __LINE__, [&] { return state_->stringHandler->endRepeat(composite); });
}

int ChartXml::EndCompositeString(int composite) {
  return state_->guard(-1, __LINE__,
                       [&] { return state_->stringHandler->endComposite(composite); });
}

int ChartXml::StyleString(int string, int index) {
  return state_->guard(-1, __LINE__,
                       [&] { return state_->stringHandler->styleString(string, index); });
}

int ChartXml::Double(double value) {
  if (value == kVornMissingValue) return -1;
  if (!std::isfinite(value)) {
    state_->errorHandler->error(ChartException(
        "value is not a finite number - " + ChartBase::asString(value), kStringsSource, __LINE__));
    return -1;
  }
  return state_->guard(-1, __LINE__, [&] {
    ChartString text;
    text.assignDouble(value);
    return state_->stringHandler->add(text);
  });
}

int ChartXml::Integer(int value) {
  return Double(static_cast<double>(value));
}

int ChartXml::ResetStrings() {
  return state_->guard(0, __LINE__, [&] {
    if (state_->stringHandler) state_->stringHandler->reset();
    return 0;
  });
}

int ChartXml::ToTS(int string) {
  return state_->guard(-1, __LINE__, [&] {
    if (!state_->stringHandler->checkHandle(string, "string", kFacadeSource, __LINE__)) return -1;
    const ChartString text = state_->stringHandler->getString(string);
    if (text.empty()) {
      state_->reportFacade(
          "converting string handle to Tessel handle failed " + std::to_string(string), __LINE__);
      return -1;
    }
    const int handle = TsCellText::Replicate(TsString(state_->localTranscoder->transcodeTo(text)));
    state_->tsTexts.push_back(handle);
    return handle;
  });
}

std::string ChartXml::getUTF8String(int string) {
  return state_->guard(std::string(), __LINE__,
                       [&] { return state_->stringHandler->getString(string).toUTF8(); });
}

ChartString ChartXml::transcode(const std::string& text) {
  return state_->localTranscoder->transcode(text);
}

ChartString ChartXml::translate(const std::string& key) {
  std::string text;
  std::string companion;
  state_->dictionary->LookUp(key, text, companion);
  // A known key comes in the output language's code page; an unknown key is
  // the caller's own text, in the default code page.
  ChartTranscoder& transcoder = text != key ? *state_->olangTranscoder : *state_->localTranscoder;
  ChartString result;
  result.assign(transcoder.transcode(text).str(), transcoder.transcode(companion).str());
  chartxml::expandNewlines(result);
  return result;
}
