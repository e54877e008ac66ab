// Display formats: packing into and out of the int format code.
#include "chartxml/host/VORN_Format.h"

#include <algorithm>

namespace {
constexpr int kTypeShift = 16;
constexpr int kWidthShift = 8;
constexpr int kByteMask = 0xFF;
constexpr int kStringWidthMask = 0xFFFF;
}  // namespace

VORN_Format::VORN_Format(std::uint8_t type, std::uint16_t width, std::uint8_t decimals)
    : type(type), decimals(type == kStringType ? 0 : decimals) {
  SetWidth(width);
}

VORN_Format VORN_Format::FromCode(int code) {
  if (code < 0 || (code >> kTypeShift) > kByteMask) return VORN_Format();
  const auto type = static_cast<std::uint8_t>(code >> kTypeShift);
  if (type == kStringType) {
    return VORN_Format(type, static_cast<std::uint16_t>(code & kStringWidthMask), 0);
  }
  return VORN_Format(type, static_cast<std::uint16_t>((code >> kWidthShift) & kByteMask),
                     static_cast<std::uint8_t>(code & kByteMask));
}

int VORN_Format::ToCode() const {
  if (type == kStringType) return (type << kTypeShift) | width;
  // The fields are public: a width set directly past the cap is capped here,
  // so it cannot spill into the type bits.
  const int cappedWidth = std::min<int>(width, kMaxWidth);
  return (type << kTypeShift) | (cappedWidth << kWidthShift) | decimals;
}

void VORN_Format::SetWidth(std::uint16_t newWidth) {
  width = ExemptFromWidthCap() ? newWidth : std::min<std::uint16_t>(newWidth, kMaxWidth);
}
