#include "link/registerrules.h"

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

}  // namespace kelp::link
