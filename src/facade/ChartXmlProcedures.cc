// Facade operations that exist for the procedural entry points: split-group
// texts, labels through a procedure's own dictionary, weight variables and
// variable labels read back from a chart.
#include <cstdint>
#include <string>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/host/KytoUni.h"
#include "chartxml/host/VORN_DataSource.h"
#include "common/XmlText.h"
#include "facade/ChartXmlState.h"
#include "facade/Forward.h"

using chartxml::kFacadeSource;

namespace {

void* const kAllOnes = reinterpret_cast<void*>(~std::uintptr_t{0});

// A host string field is blank-padded to its width.
std::string withoutTrailingBlanks(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

}  // namespace

int ChartXml::SplitList(int chart, int variable, int count, const double* numbers,
                        const char* texts, int textWidth, int maxLength) {
  return state_->forward(chart, __LINE__, [&](Chart&) {
    if (count < 1) {
      state_->reportFacade("split list without values " + std::to_string(count), __LINE__);
      return -1;
    }
    const VORN_Variable* column = state_->columnOf(variable, __LINE__);
    if (column == nullptr) return -1;
    const bool strings = column->IsString();
    if (strings ? texts == nullptr || textWidth < 0 : numbers == nullptr) {
      state_->reportFacade("no split values for the column " + std::to_string(variable), __LINE__);
      return -1;
    }
    // Each value is a string of its own first: ValueLabel already knows
    // labels, formats and the missing value.
    const int list = state_->stringHandler->addComposite(ChartString(u"^1"));
    if (state_->stringHandler->beginRepeat(list) < 0) return -1;
    for (int i = 0; i < count; ++i) {
      int item = -1;
      if (strings) {
        const std::size_t width = static_cast<std::size_t>(textWidth);
        const std::string value =
            withoutTrailingBlanks(std::string(texts + static_cast<std::size_t>(i) * width, width));
        const std::string* label = column->GetValueLabels().Find(value);
        std::string text = label != nullptr ? *label : value;
        if (maxLength > 0 && text.size() > static_cast<std::size_t>(maxLength)) {
          VORNMBStringTruncate_A(text, static_cast<std::size_t>(maxLength));
        }
        item = state_->stringHandler->add(transcode(text));
      } else {
        item = ValueLabel(variable, numbers[i], maxLength);
      }
      if (item < 0 || state_->stringHandler->addParameter(list, item) < 0) return -1;
    }
    if (state_->stringHandler->endRepeat(list) < 0) return -1;
    return state_->stringHandler->endComposite(list);
  });
}

int ChartXml::SplitHeader(int text, bool lineBreaks) {
  return state_->guard(-1, __LINE__, [&] {
    if (!state_->stringHandler->checkHandle(text, "string", kFacadeSource, __LINE__)) return -1;
    ChartString header = state_->stringHandler->getString(text);
    if (header.empty()) {
      state_->reportFacade("empty split header " + std::to_string(text), __LINE__);
      return -1;
    }
    if (lineBreaks) header.replace(u", ", u"\n");
    return state_->stringHandler->add(header);
  });
}

int ChartXml::SetSplitComposite(int composite, int text) {
  const int added = AddParameter(composite, text);
  return added < 0 ? added : EndCompositeString(composite);
}

int ChartXml::VariableLabelFromDataSource(void* data, VORN_FortranDictionary*& dictionary,
                                          int variable) {
  return state_->guard(-1, __LINE__, [&] {
    if (dictionary == nullptr || dictionary->Source() == nullptr) {
      state_->reportFacade("no dictionary", __LINE__);
      return -1;
    }
    // The numbering SetDataSource gives the same arguments.
    const std::int64_t position = data == kAllOnes ? variable : std::int64_t{variable} - 1;
    const std::int64_t column = dictionary->Column(position);
    const VORN_Variable* info = column < 0 || column > INT32_MAX
                                    ? nullptr
                                    : dictionary->Source()->GetVariable(static_cast<int>(column));
    if (info == nullptr) {
      state_->reportFacade("invalid variable index " + std::to_string(variable), __LINE__);
      return -1;
    }
    const std::string label = chartxml::stripBlanks(info->GetLabel());
    return state_->stringHandler->add(transcode(label.empty() ? info->GetName() : label));
  });
}

int ChartXml::AddWeightVariable(int chart, int source, int variable) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddWeightVariable(source, state_->getVariableIndex(variable));
  });
}

int ChartXml::GetVariableLabel(int chart, int variableHandle) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.GetVariableLabel(variableHandle); });
}
