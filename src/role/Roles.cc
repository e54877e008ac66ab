#include "role/Roles.h"

#include <iterator>
#include <string>

#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartException.h"
#include "common/SourceNames.h"

namespace chartxml {

namespace {
constexpr const char* kRoles[] = {"", "x", "y", "z", "r", "theta", "phi", "position"};
static_assert(std::size(kRoles) == kLastRole + 1, "a text for every role code");
}  // namespace

const char* roleText(int role, ChartErrorHandler& errors) {
  if (role < kFirstRole || role > kLastRole) {
    errors.error(ChartException("role handle out of range " + std::to_string(role), kRoleSource,
                                line::kRoleLookup));
    return kRoles[0];
  }
  return kRoles[role];
}

}  // namespace chartxml
