// formatSpec: display formats derived from a variable's format.
#ifndef CHARTXML_FORMATSPEC_H_
#define CHARTXML_FORMATSPEC_H_

#include "chartxml/export.h"
#include "chartxml/host/VORN_Format.h"

class CHARTXML_EXPORT formatSpec {
 public:
  formatSpec() = default;
  formatSpec(const formatSpec&) = default;
  formatSpec(formatSpec&&) = default;
  formatSpec& operator=(const formatSpec&);
  formatSpec& operator=(formatSpec&&);

  // The format of a mean: two more decimals (at most 16); type 16 becomes 5.
  // A format that is not print-numeric comes back unchanged.
  static VORN_Format Mean(int formatCode);
  // The format of a standard deviation: three more decimals (at most 16),
  // width 40; type 16 becomes 5. Non-print-numeric formats come back unchanged.
  static VORN_Format StdDev(int formatCode);
  // Types 3 to 7, 15 to 17 and 31 to 37 print as numbers.
  static bool is_print_numeric(int type);
};

#endif  // CHARTXML_FORMATSPEC_H_
