// The shortest text that reads back to a double, as std::to_chars writes it
// (internal to the host), with a quicker way for the numbers data mostly
// holds: those written with a few decimals.
#ifndef CHARTXML_HOST_CHARTUTL_SHORTESTNUMBER_H_
#define CHARTXML_HOST_CHARTUTL_SHORTESTNUMBER_H_

namespace cxhost {

// Room writeShortest needs at most: more than the longest text (24
// characters), for it writes in blocks of fixed size.
inline constexpr int kShortestNumberRoom = 48;

// Writes `value` at `pos` (kShortestNumberRoom bytes free) exactly as
// std::to_chars(pos, end, value) does, and returns the end of the text.
// `decimals` carries the decimals of the previous number of the same column
// from call to call (start it at 0): a column's numbers tend to share them,
// and a good guess saves most of the work.
char* writeShortest(char* pos, double value, int& decimals);

}  // namespace cxhost

#endif  // CHARTXML_HOST_CHARTUTL_SHORTESTNUMBER_H_
