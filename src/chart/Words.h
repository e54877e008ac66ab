// Words of the chart-description vocabulary that the token set does not
// spell and that several builders use.
#ifndef CHARTXML_CHART_WORDS_H_
#define CHARTXML_CHART_WORDS_H_

namespace chartxml::words {

inline constexpr char16_t kMethod[] = u"method";
inline constexpr char16_t kElementGroup[] = u"elementGroup";
inline constexpr char16_t kStyleBy[] = u"styleBy";
inline constexpr char16_t kRole[] = u"role";
inline constexpr char16_t kGridLines[] = u"gridLines";
inline constexpr char16_t kFacetsShareScale[] = u"facetsShareScale";
inline constexpr char16_t kDomainReference[] = u"domainReference";
inline constexpr char16_t kCoordinateTransform[] = u"coordinateTransform";
inline constexpr char16_t kCellAspect[] = u"cellAspect";
inline constexpr char16_t kWeight[] = u"weight";

}  // namespace chartxml::words

#endif  // CHARTXML_CHART_WORDS_H_
