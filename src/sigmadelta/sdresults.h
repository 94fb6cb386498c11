#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "link/rxdatapacket.h"

namespace kelp::sigmadelta {

// PacketByte1..PacketByte6 of one frame, each 0..255.
using PacketBytes = link::PacketBytes;

// Width of the primary code as the run assembles it: 16 bits on Zylo530 and Zylo561,
// 24 bits on every other model.
int PrimaryCodeBits(std::string_view model);
// Only Zylo580 has a 24-bit auxiliary result.
bool HasWideAux(std::string_view model);

struct SampleResults {
    int32_t primaryCode = 0;
    int32_t primaryRaw = 0;  // always the three first bytes
    int32_t auxCode = 0;
};

// Primary code from B1..B2 or B1..B3; aux code from B4..B6 on Zylo580, otherwise B1*256 + B3.
SampleResults AssembleResults(std::string_view model, const PacketBytes& b);

// The run's extremes; each chart's scale follows them.
struct RunExtremes {
    int32_t PrimaryMaxCode = 0;
    int32_t PrimaryMinCode = 0x1000000;
    int32_t AuxMaxCode = 0;
    int32_t AuxMinCode = 0x1000000;
};
// At run start: the minima start above any code of the model's width.
RunExtremes StartingExtremes(std::string_view model);

// One chart's vertical scale: the run's extremes of that converter and the chart's bounds,
// which are not reset at run start (the first sample overrides them).
struct ChartScale {
    int32_t maxCode = 0;
    int32_t minCode = 0;
    double upperBound = 0;
    double lowerBound = 0;
};

struct ScaleStep {
    ChartScale scale;
    bool refreshLabels = false;  // a new extreme set a bound, even to the value it had
};

// Primary chart, and Zylo580's auxiliary chart: a new extreme moves its bound to the next
// multiple of 16 beyond it, one step of margin, (c AND FFFFF0) + 16 or - 16.
ScaleStep SnappedScaleStep(const ChartScale& s, int32_t code);
// Auxiliary chart of every other model: the bounds are the extremes themselves.
ScaleStep ExactScaleStep(const ChartScale& s, int32_t code);
// The auxiliary rule of the model.
ScaleStep AuxScaleStep(std::string_view model, const ChartScale& s, int32_t code);

struct AxisLabels {
    std::string upper;
    std::string middle;
    std::string lower;
};

// A value as its axis label: rounded half-to-even, upper-case hex without leading zeros.
// A negative bound (-16 after a code below 16) keeps its sign, "-10", since the axis does
// extend below code 0.
std::string AxisLabelText(double value);
// GraphMaxLabel/MidLabel/MinLabel: the bounds and their middle.
AxisLabels PrimaryAxisLabels(const ChartScale& s);
// Zylo580 labels as the primary ones; other models show the extremes and their middle.
AxisLabels AuxAxisLabels(std::string_view model, const ChartScale& s);

}  // namespace kelp::sigmadelta
