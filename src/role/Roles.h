// Role codes: the dimension a position-like element stands for.
#ifndef CHARTXML_ROLE_ROLES_H_
#define CHARTXML_ROLE_ROLES_H_

#include "chartxml/codes.h"

class ChartErrorHandler;

namespace chartxml {

inline constexpr int kFirstRole = CX_ROLE_X;
inline constexpr int kLastRole = CX_ROLE_POSITION;

// The role's text: "x", "y", "z", "r", "theta", "phi", "position"; a code
// outside 1..7 yields "" and is reported ("role handle out of range N").
const char* roleText(int role, ChartErrorHandler& errors);

}  // namespace chartxml

#endif  // CHARTXML_ROLE_ROLES_H_
