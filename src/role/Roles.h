// Role codes: the dimension a position-like element stands for.
#ifndef CHARTXML_ROLE_ROLES_H_
#define CHARTXML_ROLE_ROLES_H_

class ChartErrorHandler;

namespace chartxml {

inline constexpr int kFirstRole = 1;
inline constexpr int kLastRole = 7;

// The role's text: "x", "y", "z", "r", "theta", "phi", "position"; a code
// outside 1..7 yields "" and is reported ("role handle out of range N").
const char* roleText(int role, ChartErrorHandler& errors);

}  // namespace chartxml

#endif  // CHARTXML_ROLE_ROLES_H_
