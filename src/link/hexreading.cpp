#include "link/hexreading.h"

namespace kelp::link {

namespace {

int digitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

}  // namespace

std::optional<int32_t> readHex(std::string_view text) {
    uint64_t value = 0;
    for (char c : text) {
        if (c == ' ' || c == '\t' || c == '\n') continue;
        int d = digitValue(c);
        if (d < 0) break;
        value = value * 16 + static_cast<uint64_t>(d);
        if (value > 0xFFFFFFFFull) return std::nullopt;
    }
    if (value <= 0xFFFF) return static_cast<int32_t>(static_cast<int16_t>(value));
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

int hexField(std::string_view text) {
    auto v = readHex(text);
    return v ? (*v & 0xFF) : 0;
}

std::string toHex(int64_t value) {
    uint64_t v = value < 0 ? static_cast<uint32_t>(value) : static_cast<uint64_t>(value);
    if (v == 0) return "0";
    std::string out;
    while (v > 0) {
        out.insert(out.begin(), "0123456789ABCDEF"[v % 16]);
        v /= 16;
    }
    return out;
}

}  // namespace kelp::link
