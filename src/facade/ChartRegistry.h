// The registry of open charts, by chart handle.
#ifndef CHARTXML_FACADE_CHARTREGISTRY_H_
#define CHARTXML_FACADE_CHARTREGISTRY_H_

#include <memory>

#include "chart/Chart.h"
#include "common/KeyedTable.h"

namespace chartxml {

class ChartRegistry : public KeyedTable<std::unique_ptr<Chart>> {};

}  // namespace chartxml

#endif  // CHARTXML_FACADE_CHARTREGISTRY_H_
