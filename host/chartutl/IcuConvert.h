// Whole-text conversions through an ICU converter (internal to the host).
// ICU converts into a buffer of fixed size and stops when it is full; these
// grow the output until the whole input is converted, so that every caller
// does not repeat that loop. The converter's callbacks decide what happens to
// bad input: a STOP callback ends the conversion with an error there, others
// substitute and go on.
#ifndef CHARTXML_HOST_CHARTUTL_ICUCONVERT_H_
#define CHARTXML_HOST_CHARTUTL_ICUCONVERT_H_

#include <cstddef>
#include <string>
#include <string_view>

#include <unicode/ucnv.h>

namespace cxhost {

// How a conversion ended: U_ZERO_ERROR (or a warning) when all was
// converted, else the error that stopped it; and how many input units were
// consumed by then, the bad ones included.
struct IcuConversion {
  UErrorCode error = U_ZERO_ERROR;
  std::size_t consumed = 0;

  bool ok() const { return U_SUCCESS(error); }
};

// Decodes `bytes` into `out` (replaced) with `converter`, flushing at the
// end. The converter is not reset first.
IcuConversion icuToUnicode(UConverter* converter, std::string_view bytes, std::u16string& out);

// Encodes `text` into `out` (replaced) with `converter`, flushing at the
// end. The converter is not reset first.
IcuConversion icuFromUnicode(UConverter* converter, std::u16string_view text, std::string& out);

}  // namespace cxhost

#endif  // CHARTXML_HOST_CHARTUTL_ICUCONVERT_H_
