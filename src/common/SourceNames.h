// The source names that reports carry, one per subsystem, and the report lines
// that hosts know by number.
#ifndef CHARTXML_COMMON_SOURCENAMES_H_
#define CHARTXML_COMMON_SOURCENAMES_H_

namespace chartxml {

inline constexpr char kFacadeSource[] = "backend/chartxml/src/chartxml";
inline constexpr char kChartSource[] = "backend/chartxml/src/chart";
inline constexpr char kStringsSource[] = "backend/chartxml/src/chartstringhandler";
inline constexpr char kRoleSource[] = "backend/chartxml/src/role";

namespace line {
inline constexpr int kSetProcedure = 247;
inline constexpr int kEndChart = 267;
inline constexpr int kKillChart = 298;
inline constexpr int kGetXmlBuffer = 360;
inline constexpr int kAddStylesError = 205;
inline constexpr int kSendChartException = 329;
inline constexpr int kSendOtherException = 344;
inline constexpr int kRoleLookup = 27;
}  // namespace line

}  // namespace chartxml

#endif  // CHARTXML_COMMON_SOURCENAMES_H_
