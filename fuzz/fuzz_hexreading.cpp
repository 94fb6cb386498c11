// The hexadecimal reading every box and field goes through, and the register rules on top.
//
// Input: a text. Split at '|', its pieces are also the fifteen register boxes of a block.

#include <array>
#include <cctype>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzzing.h"
#include "link/hexreading.h"
#include "link/registerrules.h"

namespace {

using namespace kelp::link;

std::string mapped(std::string_view text, int (*f)(int)) {
    std::string out;
    for (char c : text) out += static_cast<char>(f(static_cast<unsigned char>(c)));
    return out;
}

bool isHexDigit(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n'; }

// Canonical hex: upper-case digits, no leading zero, "0" alone for zero.
bool canonical(const std::string& text, size_t maxDigits) {
    if (text.empty() || text.size() > maxDigits) return false;
    if (text.size() > 1 && text[0] == '0') return false;
    for (char c : text)
        if (!isHexDigit(c) || std::islower(static_cast<unsigned char>(c))) return false;
    return true;
}

// What a value written by toHex reads back as: four digits or fewer are 16-bit.
int64_t readsBackAs(int64_t v) { return v >= 0x8000 && v <= 0xFFFF ? v - 65536 : v; }

void checkReading(std::string_view text) {
    const std::optional<int32_t> value = readHex(text);

    // Case, blanks and leading zeros change nothing; the first other character ends it.
    FUZZ_CHECK(readHex(mapped(text, ::toupper)) == value);
    FUZZ_CHECK(readHex(mapped(text, ::tolower)) == value);
    std::string digits, rest;
    size_t at = 0;
    for (; at < text.size(); ++at) {
        if (isBlank(text[at])) continue;
        if (!isHexDigit(text[at])) break;
        digits += text[at];
    }
    FUZZ_CHECK(readHex(digits) == value);
    FUZZ_CHECK(readHex("0 0\t" + digits + "\n" + std::string(text.substr(at))) == value);

    size_t significant = digits.find_first_not_of('0');
    significant = significant == std::string::npos ? 0 : digits.size() - significant;
    FUZZ_CHECK(value.has_value() == (significant <= 8));
    if (value) {
        // Up to four digits: 16 bits; up to eight: 32 bits.
        if (significant <= 4) FUZZ_CHECK(*value >= INT16_MIN && *value <= INT16_MAX);
        if (significant > 4) FUZZ_CHECK(static_cast<uint32_t>(*value) > 0xFFFF);
        FUZZ_CHECK(readHex(toHex(*value)) == value);
        FUZZ_CHECK(canonical(toHex(*value), 8));
    }
    FUZZ_CHECK(hexField(text) == (value ? (*value & 0xFF) : 0));
    FUZZ_CHECK(hexField(text) >= 0 && hexField(text) <= 255);

    // The boxes: in range the value stays, out of range the fallback.
    const int64_t v = value.value_or(0);
    const std::string v16 = Verify16bitSFR(text), v8 = Verify8bitSFR(text),
                      v1 = Verify1bitSFR(text);
    FUZZ_CHECK(canonical(v16, 4) && canonical(v8, 2) && (v1 == "0" || v1 == "1"));
    FUZZ_CHECK(Verify16bitSFR(v16) == v16 && Verify8bitSFR(v8) == v8 && Verify1bitSFR(v1) == v1);
    // Negative readings count from 65536; what is still negative then is out of range.
    const bool in16 = value && v >= -65536 && v <= 0xFFFF;
    FUZZ_CHECK(registerWord(v16) == (in16 ? static_cast<uint16_t>(v) : 0));
    FUZZ_CHECK(v8 == (value && v >= 0 && v <= 255 ? toHex(v) : "0"));
    FUZZ_CHECK(v1 == (value && (v == 0 || v == 1) ? toHex(v) : "1"));
    for (auto* f : {Verify16bitSFR, Verify8bitSFR, Verify1bitSFR})
        FUZZ_CHECK(f(mapped(text, ::tolower)) == f(mapped(text, ::toupper)));

    FUZZ_CHECK(registerByte(text) == static_cast<uint8_t>(v));
    FUZZ_CHECK(registerWord(text) == static_cast<uint16_t>(v));
    const std::string word = WordBytes(text);
    FUZZ_CHECK(word.size() == 2);
    FUZZ_CHECK(static_cast<uint8_t>(word[0]) * 256 + static_cast<uint8_t>(word[1]) ==
               registerWord(v16));
}

void checkToHex(std::string_view text) {
    // Any 64-bit value: toHex writes what reads back, 32-bit two's complement when negative.
    int64_t v = 0;
    for (size_t i = 0; i < 8 && i < text.size(); ++i)
        v = static_cast<int64_t>(static_cast<uint64_t>(v) << 8 | static_cast<uint8_t>(text[i]));
    const std::string written = toHex(v);
    FUZZ_CHECK(canonical(written, 16));
    if (v >= INT32_MIN && v <= UINT32_MAX)
        FUZZ_CHECK(readHex(written) == static_cast<int32_t>(readsBackAs(v)));
    if (v < 0 && v >= INT32_MIN) FUZZ_CHECK(written.size() == 8);
}

void checkBlock(std::string_view text) {
    std::vector<std::string> boxes;
    size_t start = 0;
    for (;;) {
        const size_t bar = text.find('|', start);
        boxes.emplace_back(text.substr(start, bar - start));
        if (bar == std::string_view::npos) break;
        start = bar + 1;
    }
    boxes.resize(15);
    RegisterTexts r;
    std::array<std::string*, 15> fields = {&r.TCON,   &r.TMOD,  &r.T0,    &r.T1,    &r.TIMECON,
                                           &r.PWMCON, &r.PWM0H, &r.PWM0L, &r.PWM1H, &r.PWM1L,
                                           &r.P0,     &r.P1_0,  &r.P1_1,  &r.P2,    &r.P3};
    for (size_t i = 0; i < fields.size(); ++i) *fields[i] = boxes[i];
    const std::string block = RegisterBlock(r);
    FUZZ_CHECK(block.size() == 17);
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(block[i]); };
    const auto b8 = [](const std::string& t) { return registerByte(Verify8bitSFR(t)); };
    FUZZ_CHECK(byte(0) == b8(r.TCON) && byte(1) == b8(r.TMOD));
    FUZZ_CHECK(block.substr(2, 2) == WordBytes(r.T0) && block.substr(4, 2) == WordBytes(r.T1));
    for (size_t i = 4; i <= 10; ++i) FUZZ_CHECK(byte(i + 2) == b8(*fields[i]));
    FUZZ_CHECK(byte(13) <= 1 && byte(14) <= 1);
    FUZZ_CHECK(byte(15) == b8(r.P2));
    FUZZ_CHECK(byte(16) == (b8(r.P3) | 0x03));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkReading(text);
    checkToHex(text);
    checkBlock(text);
    return 0;
}
