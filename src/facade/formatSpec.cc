#include "chartxml/formatSpec.h"

#include <algorithm>

namespace {

constexpr int kMaxDecimals = 16;
constexpr int kWideNumberType = 16;
constexpr int kFixedType = 5;

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
  return (type >= 3 && type <= 7) || (type >= 15 && type <= 17) || (type >= 31 && type <= 37);
}
