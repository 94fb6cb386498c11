// The SAR packet parser and the axis marks of both strip charts.
//
// Input: any text is a packet; its bytes also give the 100 codes of a well-formed packet
// and the values of axis marks.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzzing.h"
#include "link/hexreading.h"
#include "link/textforms.h"
#include "sar/sarpacket.h"
#include "sigmadelta/sdresults.h"

namespace {

using kelp::sar::kSamplesPerPacket;
using kelp::sar::PacketSlots;
using kelp::sar::ParsePacket;

// The code a record starting at a carriage return carries, short fields reading what is there.
int recordCode(std::string_view p, size_t cr) {
    const auto field = [&](size_t at) {
        return at < p.size() ? kelp::link::hexField(p.substr(at, 2)) : 0;
    };
    return field(cr + 1) * 256 + field(cr + 3);
}

void checkAnyText(std::string_view p) {
    const PacketSlots slots = ParsePacket(p);
    // Every code is one a carriage return of the text carries, in the order of the text, each
    // return used once, and within what the sample store holds.
    size_t from = 0;
    for (const auto& slot : slots) {
        if (!slot) continue;
        FUZZ_CHECK(*slot >= 0 && *slot <= 32767);
        size_t cr = p.find('\r', from);
        while (cr != std::string_view::npos && recordCode(p, cr) != *slot)
            cr = p.find('\r', cr + 1);
        FUZZ_CHECK(cr != std::string_view::npos);
        from = cr + 1;
    }
}

std::string hex4(unsigned code, bool lower) {
    char buf[5];
    std::snprintf(buf, sizeof buf, lower ? "%04x" : "%04X", code & 0xFFFF);
    return buf;
}

void checkWellFormed(std::string_view bytes) {
    std::string packet;
    unsigned codes[kSamplesPerPacket];
    for (int j = 0; j < kSamplesPerPacket; ++j) {
        const size_t at = static_cast<size_t>(2 * j) % (bytes.size() | 1);
        const auto b = [&](size_t i) { return i < bytes.size() ? uint8_t(bytes[i]) : 0u; };
        codes[j] = (b(at) * 256u + b(at + 1) + static_cast<unsigned>(j)) & 0xFFFF;
        packet += '\r' + hex4(codes[j], (codes[j] & 1) != 0);
    }
    const auto expect = [&](const PacketSlots& slots, int j) {
        return codes[j] <= 32767 ? slots[j] == static_cast<int>(codes[j]) : !slots[j];
    };
    const PacketSlots whole = ParsePacket(packet);
    for (int j = 0; j < kSamplesPerPacket; ++j) FUZZ_CHECK(expect(whole, j));

    // Cut after k records: the first k stay, the rest are empty.
    const int k = bytes.empty() ? 0 : uint8_t(bytes[0]) % (kSamplesPerPacket + 1);
    const PacketSlots cut = ParsePacket(std::string_view(packet).substr(0, 5 * size_t(k)));
    for (int j = 0; j < kSamplesPerPacket; ++j) FUZZ_CHECK(j < k ? expect(cut, j) : !cut[j]);

    // Text before the packet costs the first sample and nothing else.
    std::string noise(bytes.substr(0, 7));
    for (char& c : noise)
        if (c == '\r') c = 'x';
    if (noise.empty()) noise = "x";
    const PacketSlots late = ParsePacket(noise + packet);
    FUZZ_CHECK(!late[0]);
    for (int j = 1; j < kSamplesPerPacket; ++j) FUZZ_CHECK(expect(late, j));
}

double doubleAt(std::string_view bytes, size_t at) {
    unsigned char raw[8] = {};
    for (size_t i = 0; i < 8 && at + i < bytes.size(); ++i) raw[i] = uint8_t(bytes[at + i]);
    double v;
    std::memcpy(&v, raw, sizeof v);
    return v;
}

// A mark reads back as the value rounded half to even, with its sign.
void checkAxisLabel(double v) {
    const std::string label = kelp::sar::AxisLabelText(v);
    FUZZ_CHECK(label == kelp::sigmadelta::AxisLabelText(v));
    if (!std::isfinite(v) || std::fabs(v) > 1e15) {
        FUZZ_CHECK(label == "0");
        return;
    }
    const double r = kelp::link::roundHalfEven(v);
    const bool negative = label[0] == '-';
    FUZZ_CHECK(negative == (r < 0));
    const std::string digits = label.substr(negative ? 1 : 0);
    FUZZ_CHECK(!digits.empty() &&
               digits.find_first_not_of("0123456789ABCDEF") == std::string::npos);
    FUZZ_CHECK(static_cast<double>(std::stoull(digits, nullptr, 16)) == std::fabs(r));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkAnyText(text);
    checkWellFormed(text);
    for (size_t at = 0; at < 24; at += 8) checkAxisLabel(doubleAt(text, at));
    // Small values too, where the marks mostly are.
    checkAxisLabel(static_cast<int16_t>(size > 1 ? data[0] << 8 | data[1] : 0) / 4.0);
    return 0;
}
