#include "chartutl/IcuConvert.h"

namespace cxhost {

namespace {

// Both directions of ICU's streaming conversion have this one shape, with
// the unit types swapped.
template <typename In, typename Out, typename Step>
IcuConversion convertAll(UConverter* converter, Step step, std::basic_string_view<In> in,
                         std::basic_string<Out>& out) {
  // A guess that fits most texts whole; the loop grows it when it does not.
  out.assign(in.size() + 16, Out());
  const In* source = in.data();
  const In* const sourceEnd = source + in.size();
  std::size_t written = 0;
  IcuConversion result;
  for (;;) {
    result.error = U_ZERO_ERROR;
    Out* target = out.data() + written;
    step(converter, &target, out.data() + out.size(), &source, sourceEnd, nullptr, true,
         &result.error);
    written = static_cast<std::size_t>(target - out.data());
    if (result.error != U_BUFFER_OVERFLOW_ERROR) break;
    out.resize(out.size() * 2);
  }
  out.resize(written);
  result.consumed = static_cast<std::size_t>(source - in.data());
  return result;
}

}  // namespace

IcuConversion icuToUnicode(UConverter* converter, std::string_view bytes, std::u16string& out) {
  return convertAll(converter, ucnv_toUnicode, bytes, out);
}

IcuConversion icuFromUnicode(UConverter* converter, std::u16string_view text, std::string& out) {
  return convertAll(converter, ucnv_fromUnicode, text, out);
}

}  // namespace cxhost
