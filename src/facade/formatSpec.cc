#include "chartxml/formatSpec.h"

#include <algorithm>

#include "chartxml/codes.h"

namespace {

constexpr int kMaxDecimals = 16;
constexpr int kWideNumberType = CX_FORMAT_UNPADDED_FIXED;
constexpr int kFixedType = CX_FORMAT_FIXED;

VORN_Format withMoreDecimals(int formatCode, int extra, bool widen) {
  VORN_Format format = VORN_Format::FromCode(formatCode);
  if (!formatSpec::is_print_numeric(format.type)) return format;
  const int decimals = std::min(format.decimals + extra, kMaxDecimals);
  if (format.type == kWideNumberType) format.type = kFixedType;
  if (widen) format.SetWidth(VORN_Format::kMaxWidth);
  format.decimals = static_cast<std::uint8_t>(decimals);
  return format;
}

}  // namespace

formatSpec& formatSpec::operator=(const formatSpec&) = default;
formatSpec& formatSpec::operator=(formatSpec&&) = default;

VORN_Format formatSpec::Mean(int formatCode) {
  return withMoreDecimals(formatCode, 2, false);
}

VORN_Format formatSpec::StdDev(int formatCode) {
  return withMoreDecimals(formatCode, 3, true);
}

bool formatSpec::is_print_numeric(int type) {
  return (type >= CX_FORMAT_GROUPED && type <= CX_FORMAT_SCIENTIFIC) ||
         (type >= CX_FORMAT_ZERO_PADDED && type <= CX_FORMAT_DOT_GROUPED) ||
         (type >= CX_FORMAT_CURRENCY_A && type <= CX_FORMAT_TRAILING_MINUS);
}
