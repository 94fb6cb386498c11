#pragma once

#include <cstdint>
#include <span>
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

// A 16-bit box as two bytes, high byte first, after the 16-bit rule.
std::string WordBytes(std::string_view text);

// The texts of the register boxes that a configuration message carries (the UART group is
// never sent). Named after the registers.
struct RegisterTexts {
    std::string TCON = "00";
    std::string TMOD = "00";
    std::string T0 = "0000";
    std::string T1 = "0000";
    std::string TIMECON = "00";
    std::string PWMCON = "00";
    std::string PWM0H = "00";
    std::string PWM0L = "00";
    std::string PWM1H = "00";
    std::string PWM1L = "00";
    std::string P0 = "FF";
    std::string P1_0 = "1";
    std::string P1_1 = "1";
    std::string P2 = "FF";
    std::string P3 = "FF";
};

// The boxes a configuration message carries, by the name the windows give them ("T0SFR"),
// with the rule each box's edit applies and the field its text goes to.
struct SentRegisterBox {
    std::string_view name;
    std::string (*rule)(std::string_view);  // Verify16bitSFR, Verify8bitSFR or Verify1bitSFR
    std::string RegisterTexts::*field;
};
std::span<const SentRegisterBox> SentRegisterBoxes();
// nullptr for a name that is not a sent box (the UART boxes included).
const SentRegisterBox* FindSentRegisterBox(std::string_view name);

// The register bytes both families send after their converter bytes: TCON, TMOD, TH0, TL0,
// TH1, TL1, TIMECON, the five PWM registers, P0, P1.0, P1.1, P2, and P3 with its two low bits
// forced on. One character per byte.
std::string RegisterBlock(const RegisterTexts& registers);

}  // namespace kelp::link
