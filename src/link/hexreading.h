#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelp::link {

// Reads a hexadecimal text the way the whole system does: blanks, tabs and line feeds are
// ignored, digits are read up to the first other character, no digit gives 0. Up to four
// significant digits is a 16-bit two's-complement number (8000..FFFF negative), up to eight
// a 32-bit one. nullopt when the value needs more than 32 bits.
std::optional<int32_t> readHex(std::string_view text);

// A two-digit field of a HEX line or a frame: always 0..255.
int hexField(std::string_view text);

// Upper-case digits, no prefix, no leading zeros, "0" for zero. Negative values are
// written as 32-bit two's complement.
std::string toHex(int64_t value);

}  // namespace kelp::link
