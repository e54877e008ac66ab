// Sources, variables, variable lists and relabels: the declarations of the
// data that a chart describes. Values travel in the data feed (DataFeed.cc).
#include <string>

#include <xercesc/dom/DOMNodeList.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chart/Chart.h"
#include "chart/Words.h"
#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/host/KytoUni.h"
#include "chartxml/host/VORN_DataSource.h"
#include "chartxml/host/formatter.h"
#include "common/SourceNames.h"
#include "common/XmlText.h"
#include "role/Roles.h"

using chartxml::isLegalXml;
using chartxml::kChartSource;
using chartxml::widenAscii;
using xercesc::DOMElement;
using xercesc::DOMNode;
using xercesc::XMLString;

namespace {

constexpr int kInitialFeedRows = 250000;
constexpr int kMaxRelabels = 1000;
constexpr int kXAxisCode = 155;
constexpr int kYAxisCode = 148;

// A number written as %.16g, so that 1, 1.0 and 1.00 read the same.
void renormalise(ChartString& text) {
  if (text.isNumber()) text.assignDouble(text.convertToDouble());
}

void removeChildren(DOMElement* element) {
  while (DOMNode* child = element->getFirstChild()) element->removeChild(child);
}

}  // namespace

bool Chart::checkDataSource(int line) {
  if (dataSource_ != nullptr) return true;
  report("no datasource", line);
  return false;
}

bool Chart::checkColumn(int column, int line) {
  if (!checkDataSource(line)) return false;
  if (column >= 0 && column < dataSource_->ColumnCount()) return true;
  report("invalid variable index " + std::to_string(column), line);
  return false;
}

bool Chart::checkVariableList(int list, int line) {
  if (list >= 0 && list < variableListCounter_) return true;
  report("variable list handle out of range " + std::to_string(list), line);
  return false;
}

bool Chart::checkRole(int role, int line) {
  if (role >= chartxml::kFirstRole && role <= chartxml::kLastRole) return true;
  report("invalid role " + std::to_string(role), line);
  return false;
}

bool Chart::setTextAttribute(DOMElement* element, const char16_t* name,
                             const std::u16string& value) {
  if (!isLegalXml(value)) {
    report("attribute " + ChartString::toUTF8(name) +
               " not set, its text holds a character not allowed in XML",
           __LINE__);
    return false;
  }
  element->setAttribute(name, value.c_str());
  return true;
}

DOMElement* Chart::metaOf(DOMElement* element) {
  if (DOMElement* meta = getChildByTagName(element, KytoUni::_meta)) return meta;
  DOMElement* meta = document()->createElement(KytoUni::_meta);
  insertChild(element, meta, {KytoUni::_relabel});
  registerElement(meta);
  return meta;
}

int Chart::AddSource() {
  const std::string id = "source" + std::to_string(sourceCounter_++);
  dataProcessor_.AddDataSource(id, kInitialFeedRows);
  DOMElement* source = document()->createElement(KytoUni::_source);
  const int handle = registerElement(source);
  AddID(source, widenAscii(id).c_str());
  insertChild(root(), source,
              {KytoUni::_variable, KytoUni::_domain, KytoUni::_frame, KytoUni::_style});
  DOMElement* access = document()->createElement(u"otherAccess");
  access->setAttribute(KytoUni::_type, KytoUni::_object);
  source->appendChild(access);
  return handle;
}

void Chart::labelFromColumn(DOMElement* variable, const VORN_Variable& column,
                            bool expandLineBreaks) {
  const std::string label = chartxml::stripBlanks(column.GetLabel());
  if (!label.empty()) {
    ChartString text = strings().transcode(label);
    if (expandLineBreaks) chartxml::expandNewlines(text);
    // Host data with characters illegal in XML leaves the attribute out.
    if (isLegalXml(text.str())) variable->setAttribute(KytoUni::_label, text.c_str());
  }
  ChartString name = strings().transcode(column.GetName());
  if (!name.empty()) {
    if (expandLineBreaks) chartxml::expandNewlines(name);
    if (isLegalXml(name.str())) variable->setAttribute(KytoUni::_shortLabel, name.c_str());
  }
}

int Chart::addDataSourceVariable(int source, int column, bool categorical) {
  if (!checkColumn(column, __LINE__)) return -1;
  VORN_Variable* columnInfo = dataSource_->GetVariable(column);
  if (columnInfo == nullptr) {
    report("invalid variable index " + std::to_string(column), __LINE__);
    return -1;
  }
  DOMElement* variable = document()->createElement(KytoUni::_variable);
  labelFromColumn(variable, *columnInfo, true);
  const std::string sourceName = "V" + std::to_string(nextIdSerial_);
  variable->setAttribute(KytoUni::_sourceName, widenAscii(sourceName).c_str());
  assignId(variable, -1);
  // The source handle is taken as given: only an element it names lends its id.
  std::u16string sourceId;
  if (DOMElement* sourceElement = getElement(source)) {
    sourceId = sourceElement->getAttribute(KytoUni::_id);
    variable->setAttribute(KytoUni::_source, sourceId.c_str());
  }
  DOMElement* meta = metaOf(variable);
  meta->setAttribute(KytoUni::_creator,
                     (std::u16string(ChartBase::_external_) + ChartBase::_datasource).c_str());
  variable->setAttribute(KytoUni::_categorical, categorical ? KytoUni::_true : KytoUni::_false);
  if (!categorical) writeDisplayFormat(meta, columnInfo->GetFormatEx());
  insertChild(root(), variable, {KytoUni::_domain, KytoUni::_frame, KytoUni::_style});
  const int handle = registerElement(variable);
  variableColumns_[handle] = column;
  // The feed owns the record once it has it; nothing may throw in between.
  const std::string feedSource = ChartString::toUTF8(sourceId);
  auto* record = new VarDataProcessor::_varinfo();
  dataProcessor_.AddVariable(feedSource, sourceName, record);
  if (feedRecords_.size() <= static_cast<std::size_t>(handle)) feedRecords_.resize(handle + 1);
  feedRecords_[handle] = record;
  return handle;
}

int Chart::AddVariable(int source, int column, bool categorical) {
  return addDataSourceVariable(source, column, categorical);
}

int Chart::AddLabelingVariable(int source, int column, bool categorical) {
  const int handle = addDataSourceVariable(source, column, categorical);
  if (handle < 0) return handle;
  if (DOMElement* meta = getChildByTagName(getElement(handle), KytoUni::_meta)) {
    meta->setAttribute(KytoUni::_description, KytoUni::_labeling);
  }
  return handle;
}

int Chart::AddWeightVariable(int source, int column) {
  const int handle = addDataSourceVariable(source, column, false);
  if (handle < 0) return handle;
  metaOf(getElement(handle))->setAttribute(chartxml::words::kWeight, KytoUni::_true);
  return handle;
}

int Chart::GetVariableLabel(int variable) {
  const DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr) return -1;
  if (!hasTag(element, KytoUni::_variable)) {
    report("handle does not refer to a variable element " +
               ChartString::toUTF8(element->getTagName()) + " " + std::to_string(variable),
           __LINE__);
    return -1;
  }
  const XMLCh* label = element->getAttribute(KytoUni::_label);
  if (*label == 0) label = element->getAttribute(KytoUni::_shortLabel);
  if (*label == 0) {
    report("variable has no label " + std::to_string(variable), __LINE__);
    return -1;
  }
  return strings().add(ChartString(label));
}

int Chart::SetVariable(int variable, int column, bool categorical) {
  if (!checkColumn(column, __LINE__)) return -1;
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr) return -1;
  VORN_Variable* columnInfo = dataSource_->GetVariable(column);
  if (columnInfo == nullptr) return -1;
  // Rewritten texts keep backslash-n as typed.
  labelFromColumn(element, *columnInfo, false);
  element->setAttribute(KytoUni::_categorical, categorical ? KytoUni::_true : KytoUni::_false);
  if (!categorical) {
    if (DOMElement* meta = getChildByTagName(element, KytoUni::_meta)) {
      removeChildren(meta);
      writeDisplayFormat(meta, columnInfo->GetFormatEx());
    }
  }
  variableColumns_[variable] = column;
  return column;
}

int Chart::CopyVariable(int variable) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr) return -1;
  auto* copy = static_cast<DOMElement*>(element->cloneNode(false));
  // The copy must not answer to the original's id while it gets its own.
  copy->removeAttribute(KytoUni::_id);
  assignId(copy, -1);
  insertChild(root(), copy, {KytoUni::_domain, KytoUni::_frame, KytoUni::_style, u"styleCycle"});
  return registerElement(copy);
}

int Chart::CreateLogVar(int variable) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr) return -1;
  if (getChildByTagName(element, KytoUni::_meta) == nullptr &&
      !checkDepth(element, KytoUni::_meta, __LINE__, kMetaLevels)) {
    return -1;
  }
  DOMElement* meta = metaOf(element);
  if (XMLString::stringLen(meta->getAttribute(KytoUni::_description)) == 0) {
    meta->setAttribute(KytoUni::_description, KytoUni::_log);
  }
  return 0;
}

int Chart::SetVariableCategorical(int variable, bool categorical) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr) return -1;
  element->setAttribute(KytoUni::_categorical, categorical ? KytoUni::_true : KytoUni::_false);
  // A categorical variable shows values, not formatted numbers.
  if (categorical) {
    if (DOMElement* meta = getChildByTagName(element, KytoUni::_meta)) removeChildren(meta);
  }
  return variable;
}

int Chart::SetVariableFormat(int variable, int formatCode) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr) return -1;
  if (DOMElement* meta = getChildByTagName(element, KytoUni::_meta)) {
    writeDisplayFormat(meta, VORN_Format::FromCode(formatCode));
  }
  return variable;
}

int Chart::GetVariableFormat(int column) {
  if (!checkColumn(column, __LINE__)) return -1;
  VORN_Variable* columnInfo = dataSource_->GetVariable(column);
  return columnInfo == nullptr ? -1 : columnInfo->GetFormatEx().ToCode();
}

int Chart::SetVariableLabel(int variable, int text) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr || !checkString(text, "label", __LINE__)) return -1;
  ChartString label = strings().getString(text);
  chartxml::expandNewlines(label);
  return setTextAttribute(element, KytoUni::_label, label.str()) ? variable : -1;
}

int Chart::SetVariableName(int variable, int text) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr || !checkString(text, "name", __LINE__)) return -1;
  ChartString name = strings().getString(text);
  chartxml::expandNewlines(name);
  return setTextAttribute(element, KytoUni::_shortLabel, name.str()) ? variable : -1;
}

int Chart::SetVariableValue(int variable, int text) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr || !checkString(text, "value", __LINE__)) return -1;
  const ChartString value = strings().getString(text);
  if (!isLegalXml(value.str())) {
    report("value not set, its text holds a character not allowed in XML", __LINE__);
    return -1;
  }
  // A variable with a constant value reads no column.
  element->removeAttribute(KytoUni::_sourceName);
  element->setAttribute(KytoUni::_value, value.c_str());
  return variable;
}

int Chart::BeginVariableList() {
  variableLists_[variableListCounter_];
  return variableListCounter_++;
}

int Chart::AddToVariableList(int list, int variable) {
  if (!checkVariableList(list, __LINE__)) return -1;
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr) return -1;
  if (!hasTag(element, KytoUni::_variable)) {
    report("handle does not refer to a variable element " +
               ChartString::toUTF8(element->getTagName()) + " " + std::to_string(variable),
           __LINE__);
    return -1;
  }
  auto found = variableLists_.find(list);
  if (found == variableLists_.end()) {
    report("AddToVariableList failed: could not find key " + std::to_string(list), __LINE__);
    return -1;
  }
  found->second.push_back(variable);
  return list;
}

DOMElement* Chart::newRelabel(const ChartString& from, const ChartString& to) {
  DOMElement* relabel = document()->createElement(KytoUni::_relabel);
  relabel->setAttribute(KytoUni::_from, from.c_str());
  relabel->setAttribute(KytoUni::_to, to.c_str());
  return relabel;
}

int Chart::AddRelabel(int variable, int from, int to) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr || !checkString(from, "from", __LINE__) ||
      !checkString(to, "to", __LINE__)) {
    return -1;
  }
  // A hard cap, reported as 0 rather than as a failure.
  if (element->getElementsByTagName(KytoUni::_relabel)->getLength() > kMaxRelabels) return 0;
  if (!hasTag(element, KytoUni::_variable)) {
    reportParent("can't add relabel to anything but a variable - ", element, __LINE__);
    return -1;
  }
  ChartString fromText = strings().getString(from);
  ChartString toText = strings().getString(to);
  chartxml::expandNewlines(toText);
  if (toText.empty()) toText = ChartString(u" ");
  renormalise(fromText);
  if (fromText.empty() || !isLegalXml(fromText.str()) || !isLegalXml(toText.str()) ||
      fromText == toText) {
    return -1;
  }
  DOMElement* relabel = newRelabel(fromText, toText);
  element->appendChild(relabel);
  return registerElement(relabel);
}

int Chart::AddRelabels(int variable, int column) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr || !checkColumn(column, __LINE__)) return -1;
  if (!hasTag(element, KytoUni::_variable)) {
    reportParent("can't add relabel to anything but a variable - ", element, __LINE__);
    return -1;
  }
  VORN_Variable* columnInfo = dataSource_->GetVariable(column);
  if (columnInfo == nullptr) return -1;
  const VORN_Format& format = columnInfo->GetFormatEx();
  VORN_ValueLabelMap& labels = columnInfo->GetValueLabels();
  labels.Reset();
  VORN_Value value;
  std::string label;
  bool added = false;
  while (labels.GetNextPair(value, label)) {
    // The formatter pads to the format's width; labels carry no padding.
    const std::string valueText =
        value.isString ? value.text
                       : chartxml::stripBlanks(formatter::formattedValue(
                             value.number, format.type, format.width, format.decimals));
    if (valueText == label) continue;
    ChartString from = strings().transcode(valueText);
    ChartString to = strings().transcode(label);
    chartxml::expandNewlines(to);
    if (!value.isString) renormalise(from);
    if (from.empty() || to.empty() || !isLegalXml(from.str()) || !isLegalXml(to.str())) continue;
    DOMElement* relabel = newRelabel(from, to);
    element->appendChild(relabel);
    registerElement(relabel);
    added = true;
  }
  return added ? variable : -1;
}

int Chart::AddRangeVariable(int list) {
  return addExpressionVariable(list, 2);
}

int Chart::addExpressionVariable(int list, int mode) {
  if (!checkVariableList(list, __LINE__) || !checkRole(mode, __LINE__)) return -1;
  auto found = variableLists_.find(list);
  if (found == variableLists_.end()) {
    report("AddOverlayExpressionVariable failed: could not find key " + std::to_string(list),
           __LINE__);
    return -1;
  }
  DOMElement* variable = document()->createElement(KytoUni::_variable);
  assignId(variable, -1);
  variable->setAttribute(KytoUni::_categorical, KytoUni::_false);
  std::u16string expression;
  for (int member : found->second) {
    DOMElement* listed = getElement(member);
    if (listed == nullptr) continue;
    if (!expression.empty()) expression += u" + ";
    expression += listed->getAttribute(KytoUni::_id);
  }
  variable->setAttribute(KytoUni::_expression, expression.c_str());
  const ChartString axisLabel = strings().getString(mode == 1 ? kXAxisCode : kYAxisCode);
  setTextAttribute(variable, KytoUni::_shortLabel, axisLabel.str());
  metaOf(variable)->setAttribute(
      KytoUni::_creator, (std::u16string(ChartBase::_internal_) + KytoUni::_variable).c_str());
  insertChild(root(), variable, {KytoUni::_domain, KytoUni::_frame, KytoUni::_style});
  return registerElement(variable);
}
