#include "link/registerrules.h"

#include <array>

#include "link/hexreading.h"

namespace kelp::link {

std::string Verify16bitSFR(std::string_view text) {
    auto r = readHex(text);
    int64_t v = r ? *r : 0;
    if (v > 65535) v = 0;
    if (v < 0) v += 65536;
    if (v < 0) v = 0;  // 32-bit negatives stay negative after the shift
    return toHex(v);
}

std::string Verify8bitSFR(std::string_view text) {
    auto r = readHex(text);
    int64_t v = r ? *r : 0;
    if (v > 255 || v < 0) v = 0;
    return toHex(v);
}

std::string Verify1bitSFR(std::string_view text) {
    auto r = readHex(text);
    int64_t v = r ? *r : 2;
    if (v > 1 || v < 0) v = 1;
    return toHex(v);
}

uint8_t registerByte(std::string_view text) {
    auto r = readHex(text);
    return static_cast<uint8_t>(r ? (*r & 0xFF) : 0);
}

uint16_t registerWord(std::string_view text) {
    auto r = readHex(text);
    int64_t v = r ? *r : 0;
    if (v < 0) v += 65536;
    if (v < 0 || v > 0xFFFF) v &= 0xFFFF;
    return static_cast<uint16_t>(v);
}

std::string WordBytes(std::string_view text) {
    const uint16_t v = registerWord(Verify16bitSFR(text));
    return {static_cast<char>(v / 256), static_cast<char>(v % 256)};
}

namespace {

using T = RegisterTexts;
const std::array kSentBoxes = {
    SentRegisterBox{"TCONSFR", Verify8bitSFR, &T::TCON},
    SentRegisterBox{"TMODSFR", Verify8bitSFR, &T::TMOD},
    SentRegisterBox{"T0SFR", Verify16bitSFR, &T::T0},
    SentRegisterBox{"T1SFR", Verify16bitSFR, &T::T1},
    SentRegisterBox{"TIMECONSFR", Verify8bitSFR, &T::TIMECON},
    SentRegisterBox{"PWMCONSFR", Verify8bitSFR, &T::PWMCON},
    SentRegisterBox{"PWM0HSFR", Verify8bitSFR, &T::PWM0H},
    SentRegisterBox{"PWM0LSFR", Verify8bitSFR, &T::PWM0L},
    SentRegisterBox{"PWM1HSFR", Verify8bitSFR, &T::PWM1H},
    SentRegisterBox{"PWM1LSFR", Verify8bitSFR, &T::PWM1L},
    SentRegisterBox{"P0SFR", Verify8bitSFR, &T::P0},
    SentRegisterBox{"P1_0SFR", Verify1bitSFR, &T::P1_0},
    SentRegisterBox{"P1_1SFR", Verify1bitSFR, &T::P1_1},
    SentRegisterBox{"P2SFR", Verify8bitSFR, &T::P2},
    SentRegisterBox{"P3SFR", Verify8bitSFR, &T::P3},
};

}  // namespace

std::span<const SentRegisterBox> SentRegisterBoxes() { return kSentBoxes; }

const SentRegisterBox* FindSentRegisterBox(std::string_view name) {
    for (const SentRegisterBox& b : kSentBoxes)
        if (b.name == name) return &b;
    return nullptr;
}

std::string RegisterBlock(const RegisterTexts& r) {
    const auto byte8 = [](const std::string& t) {
        return static_cast<char>(registerByte(Verify8bitSFR(t)));
    };
    const auto byte1 = [](const std::string& t) {
        return static_cast<char>(registerByte(Verify1bitSFR(t)));
    };
    std::string m;
    m += byte8(r.TCON);
    m += byte8(r.TMOD);
    m += WordBytes(r.T0);
    m += WordBytes(r.T1);
    for (const std::string* box :
         {&r.TIMECON, &r.PWMCON, &r.PWM0H, &r.PWM0L, &r.PWM1H, &r.PWM1L, &r.P0})
        m += byte8(*box);
    m += byte1(r.P1_0);
    m += byte1(r.P1_1);
    m += byte8(r.P2);
    // P3.0 and P3.1 carry the firmware's serial link and must stay inputs.
    m += static_cast<char>(registerByte(Verify8bitSFR(r.P3)) | 0x03);
    return m;
}

}  // namespace kelp::link
