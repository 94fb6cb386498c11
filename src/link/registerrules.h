#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kelp::link {

// Canonical text of a register box after an edit. Out-of-range values become "0" for the
// 16- and 8-bit boxes and "1" for the 1-bit boxes; a negative reading (8000..FFFF typed
// into an 8- or 1-bit box) or one beyond 32 bits counts as out of range.
std::string Verify16bitSFR(std::string_view text);
std::string Verify8bitSFR(std::string_view text);
std::string Verify1bitSFR(std::string_view text);

// The byte a box sends: the reading kept within 0..255.
uint8_t registerByte(std::string_view text);
// A 16-bit box as an unsigned value 0..FFFF (negative readings + 65536).
uint16_t registerWord(std::string_view text);

}  // namespace kelp::link
