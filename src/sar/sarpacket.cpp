#include "sar/sarpacket.h"

#include <cmath>

#include "link/textforms.h"
#include "link/hexreading.h"

namespace kelp::sar {

namespace {

constexpr char kCR = '\r';

// A two-digit field; cut short by the end of the text it reads what is there.
int field(std::string_view text, size_t at) {
    if (at >= text.size()) return 0;
    return link::hexField(text.substr(at, 2));
}

}  // namespace

PacketSlots ParsePacket(std::string_view p) {
    PacketSlots slots{};
    for (int j = 0; j < kSamplesPerPacket; ++j) {
        const size_t at = static_cast<size_t>(j) * kRecordLength;
        if (at < p.size() && p[at] == kCR) {
            const int code = field(p, at + 1) * 256 + field(p, at + 3);
            if (code <= 32767) slots[static_cast<size_t>(j)] = code;
            continue;
        }
        const size_t cr = p.find(kCR);
        if (cr == std::string_view::npos) break;
        p.remove_prefix(cr);
    }
    return slots;
}

std::string AxisLabelText(double value) {
    if (!std::isfinite(value) || std::fabs(value) > 1e15) return "0";
    const double r = link::roundHalfEven(value);
    if (r < 0) return "-" + link::HexCode(static_cast<int64_t>(-r));
    return link::HexCode(static_cast<int64_t>(r));
}

AxisLabels AxisLabelTexts(double lowerBound, double upperBound) {
    return {AxisLabelText(upperBound), AxisLabelText((upperBound + lowerBound) / 2),
            AxisLabelText(lowerBound)};
}

}  // namespace kelp::sar
