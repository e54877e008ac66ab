// The facade's data-source and variable operations.
#include <string>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/host/VORN_DataSource.h"
#include "facade/ChartXmlState.h"
#include "facade/Forward.h"

using chartxml::kFacadeSource;

namespace {
void* const kAllOnes = reinterpret_cast<void*>(~std::uintptr_t{0});
}

void ChartXml::SetDataSource(int chart, VORN_DataSource* source) {
  state_->guard(0, __LINE__, [&] {
    // One data source per procedure run: the first one stays.
    if (state_->dataSource == nullptr) state_->dataSource = source;
    if (chart != -1) {
      if (Chart* target = getValidChart(chart, kFacadeSource, __LINE__, true)) {
        target->setDataSource(state_->dataSource);
      }
    }
    return 0;
  });
}

void ChartXml::SetDataSource(int chart, void* data, VORN_FortranDictionary*& dictionary) {
  state_->guard(0, __LINE__, [&] {
    if (state_->dataSource == nullptr && dictionary != nullptr) {
      if (data != kAllOnes) {
        state_->ownedDataSource = std::make_unique<ProcedureDataSource>(data, dictionary);
        state_->dataSource = state_->ownedDataSource.get();
      } else if (auto* source = dynamic_cast<VORN_DataSource*>(dictionary)) {
        state_->dataSource = source;
      } else {
        state_->reportFacade("the dictionary given as a data source is not one", __LINE__);
      }
    }
    if (chart != -1) {
      if (Chart* target = getValidChart(chart, kFacadeSource, __LINE__, true)) {
        target->setDataSource(state_->dataSource);
      }
    }
    return 0;
  });
}

int ChartXml::State::getVariableIndex(int variable) {
  auto* procedure = dynamic_cast<ProcedureDataSource*>(dataSource);
  if (procedure == nullptr) return variable;
  const int columns = procedure->Parent() == nullptr ? 0 : procedure->Parent()->ColumnCount();
  if (variable >= 1 && variable <= columns) return procedure->DicPtr(variable - 1);
  reportFacade(
      "variable index out of range " + std::to_string(variable) + " " + std::to_string(columns),
      __LINE__);
  return -1;
}

int ChartXml::AddSource(int chart) {
  return state_->forward(chart, __LINE__, [](Chart& c) { return c.AddSource(); });
}

int ChartXml::AddVariable(int chart, int source, int variable, bool categorical) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddVariable(source, state_->getVariableIndex(variable), categorical);
  });
}

int ChartXml::AddLabelingVariable(int chart, int source, int variable, bool categorical) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddLabelingVariable(source, state_->getVariableIndex(variable), categorical);
  });
}

int ChartXml::SetVariable(int chart, int variableHandle, int variable, bool categorical) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.SetVariable(variableHandle, state_->getVariableIndex(variable), categorical);
  });
}

int ChartXml::CopyVariable(int chart, int variableHandle) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.CopyVariable(variableHandle); });
}

int ChartXml::CreateLogVar(int chart, int variableHandle) {
  state_->forward(chart, __LINE__, [&](Chart& c) { return c.CreateLogVar(variableHandle); });
  return chart;
}

int ChartXml::SetVariableCategorical(int chart, int variableHandle, bool categorical) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.SetVariableCategorical(variableHandle, categorical);
  });
}

int ChartXml::SetVariableFormat(int chart, int variableHandle, long formatCode) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.SetVariableFormat(variableHandle, static_cast<int>(formatCode));
  });
}

int ChartXml::SetVariableLabel(int chart, int variableHandle, int text) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetVariableLabel(variableHandle, text); });
}

int ChartXml::SetVariableName(int chart, int variableHandle, int text) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetVariableName(variableHandle, text); });
}

int ChartXml::SetVariableValue(int chart, int variableHandle, int text) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetVariableValue(variableHandle, text); });
}

int ChartXml::GetVariableFormat(int chart, int variable) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.GetVariableFormat(state_->getVariableIndex(variable));
  });
}

int ChartXml::BeginVariableList(int chart) {
  return state_->forward(chart, __LINE__, [](Chart& c) { return c.BeginVariableList(); });
}

int ChartXml::AddToVariableList(int chart, int list, int variableHandle) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddToVariableList(list, variableHandle); });
}

int ChartXml::AddRangeVariable(int chart, int list) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddRangeVariable(list); });
}

int ChartXml::AddRelabel(int chart, int variableHandle, int from, int to) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddRelabel(variableHandle, from, to); });
}

int ChartXml::AddRelabels(int chart, int variableHandle, int variable) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddRelabels(variableHandle, state_->getVariableIndex(variable));
  });
}
