#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace kelp::sar {

inline constexpr int kSamplesPerPacket = 100;
inline constexpr int kRecordLength = 5;
inline constexpr int kPacketLength = kSamplesPerPacket * kRecordLength;

// One code per slot; an empty slot produced no sample (out of step, unreadable, or a code
// above 32767 that the sample store cannot hold).
using PacketSlots = std::array<std::optional<int>, kSamplesPerPacket>;

// Reads the 100 records "\r" HH LL of a packet. A record that does not start with a carriage
// return realigns the rest of the text at its first carriage return and yields no sample;
// with no carriage return left, the remaining slots stay empty. Any text is accepted.
PacketSlots ParsePacket(std::string_view packet);

struct AxisLabels {
    std::string upper;
    std::string middle;
    std::string lower;
};

// The three marks beside the chart's vertical axis: the bounds and their middle, rounded
// half-to-even and written as codes. A negative bound (-1 after a code of 0) is shown with a
// minus sign ("-1"), since the axis really extends below code 0.
AxisLabels AxisLabelTexts(double lowerBound, double upperBound);
std::string AxisLabelText(double value);

}  // namespace kelp::sar
