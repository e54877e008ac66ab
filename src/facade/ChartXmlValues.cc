// Value texts: names, labels and values of data-source columns as new string
// handles, formatted as the host shows them.
#include <string>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/formatSpec.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/VORN_DataSource.h"
#include "chartxml/host/formatter.h"
#include "common/XmlText.h"
#include "facade/ChartXmlState.h"
#include "facade/Forward.h"

using chartxml::kStringsSource;

namespace {

constexpr char kMissingKey[] = "E60712";

// The formatter pads to the format's width; a chart label wants no padding.
std::string formatted(double value, const VORN_Format& format) {
  return chartxml::stripBlanks(
      formatter::formattedValue(value, format.type, format.width, format.decimals));
}

}  // namespace

const VORN_Variable* ChartXml::State::columnOf(int variable, int line) {
  if (dataSource == nullptr) {
    errorHandler->error(ChartException("no datasource", kStringsSource, line));
    return nullptr;
  }
  const int column = getVariableIndex(variable);
  const VORN_Variable* info =
      column >= 0 && column < dataSource->ColumnCount() ? dataSource->GetVariable(column) : nullptr;
  if (info == nullptr) {
    errorHandler->error(
        ChartException("invalid variable index " + std::to_string(column), kStringsSource, line));
  }
  return info;
}

int ChartXml::State::addFormatted(const std::string& text) {
  ChartString value;
  value.assignUTF8(text);
  return stringHandler->add(value);
}

int ChartXml::VariableName(int variable) {
  return state_->guard(-1, __LINE__, [&] {
    const VORN_Variable* column = state_->columnOf(variable, __LINE__);
    return column == nullptr ? -1 : state_->stringHandler->add(transcode(column->GetName()));
  });
}

int ChartXml::VariableLabel(int variable) {
  return state_->guard(-1, __LINE__, [&] {
    const VORN_Variable* column = state_->columnOf(variable, __LINE__);
    if (column == nullptr) return -1;
    const std::string label = chartxml::stripBlanks(column->GetLabel());
    return state_->stringHandler->add(transcode(label.empty() ? column->GetName() : label));
  });
}

int ChartXml::ValueLabel(int variable, double value, int maxLength) {
  return state_->guard(-1, __LINE__, [&] {
    if (value == kVornMissingValue) return state_->stringHandler->add(translate(kMissingKey));
    const VORN_Variable* column = state_->columnOf(variable, __LINE__);
    if (column == nullptr) return -1;
    const std::string* label = column->GetValueLabels().Find(value);
    std::string text = label != nullptr ? *label : formatted(value, column->GetFormatEx());
    if (maxLength > 0 && text.size() > static_cast<std::size_t>(maxLength)) {
      VORNMBStringTruncate_A(text, static_cast<std::size_t>(maxLength));
    }
    return state_->stringHandler->add(transcode(text));
  });
}

int ChartXml::ValueLabel(int variable, double value, int maxLength, const std::string& patternKey) {
  const int text = ValueLabel(variable, value, maxLength);
  if (text < 0) return text;
  const int composite = CompositeString(patternKey);
  if (composite < 0 || AddParameter(composite, text) < 0) return -1;
  return EndCompositeString(composite);
}

int ChartXml::Value(int variable, double value) {
  return state_->guard(-1, __LINE__, [&] {
    if (value == kVornMissingValue) return -1;
    const VORN_Variable* column = state_->columnOf(variable, __LINE__);
    return column == nullptr ? -1 : state_->addFormatted(formatted(value, column->GetFormatEx()));
  });
}

int ChartXml::MeanValue(int variable, double value) {
  return state_->guard(-1, __LINE__, [&] {
    if (value == kVornMissingValue) return -1;
    const VORN_Variable* column = state_->columnOf(variable, __LINE__);
    if (column == nullptr) return -1;
    return state_->addFormatted(formatted(value, formatSpec::Mean(column->GetFormatEx().ToCode())));
  });
}

int ChartXml::ObjectLabel(int variable, double value) {
  const int label = VariableLabel(variable);
  if (label < 0) return label;
  const int valueText = ValueLabel(variable, value, 0);
  if (valueText < 0) return valueText;
  const int composite = state_->stringHandler->addComposite(ChartString(u"^1: ^2"));
  if (AddParameter(composite, label) < 0 || AddParameter(composite, valueText) < 0) return -1;
  return EndCompositeString(composite);
}

int ChartXml::LRValue(double value, int format) {
  if (format == -1) return Double(value);
  return state_->guard(-1, __LINE__, [&] {
    if (value == kVornMissingValue) return -1;
    const std::string text = formatter::AsString(value, VORN_Format::FromCode(format), true);
    return text.empty() ? -1 : state_->addFormatted(text);
  });
}

int ChartXml::LRValueAsString(double value, int format) {
  if (value == kVornMissingValue) {
    return state_->guard(-1, __LINE__,
                         [&] { return state_->stringHandler->add(translate(kMissingKey)); });
  }
  return LRValue(value, format);
}
