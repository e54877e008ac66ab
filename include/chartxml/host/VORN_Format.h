// VORN_Format: a display format of the host's data library.
//
// As an int code: type in bits 16 and up, width in bits 8 to 15, decimals in
// bits 0 to 7. A type-1 (string) format has no decimals: its 16-bit width
// (a byte count) spans both low bytes of the code, and its decimals are
// always 0. Widths above 40 are stored as 40, except for strings.
#ifndef CHARTXML_HOST_VORN_FORMAT_H_
#define CHARTXML_HOST_VORN_FORMAT_H_

#include <cstdint>

#include "chartxml/codes.h"
#include "chartxml/export.h"

struct CHARTXML_HOST_EXPORT VORN_Format {
  static constexpr std::uint16_t kMaxWidth = 40;
  static constexpr std::uint8_t kStringType = CX_FORMAT_STRING;

  VORN_Format() = default;
  VORN_Format(std::uint8_t type, std::uint16_t width, std::uint8_t decimals);

  // Unpacks a format code. Negative codes, and codes whose type does not fit
  // 8 bits, give the empty format (0, 0, 0).
  static VORN_Format FromCode(int code);
  // Packs the format into a code.
  int ToCode() const;

  // Sets the width, capping it at 40 unless the format is exempt (strings).
  void SetWidth(std::uint16_t width);
  bool ExemptFromWidthCap() const { return type == kStringType; }

  bool operator==(const VORN_Format& o) const {
    return width == o.width && type == o.type && decimals == o.decimals;
  }

  std::uint16_t width = 0;
  std::uint8_t type = 0;
  std::uint8_t decimals = 0;
};

#endif  // CHARTXML_HOST_VORN_FORMAT_H_
