#include "analysis/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <vector>

namespace kelp::analysis {
namespace {

template <typename Code = int16_t>
std::vector<Code> repeat(std::initializer_list<std::pair<int, int>> codeTimes) {
    std::vector<Code> out;
    for (auto [code, times] : codeTimes) out.insert(out.end(), times, static_cast<Code>(code));
    return out;
}

TEST(CodeHistogram, ExactAndBinnedModes) {
    const int sar = kSarExactLimit, sd = kSigmaDeltaExactLimit;
    const struct {
        const char* name;
        std::vector<int16_t> samples;
        int minCode, maxCode, limit;
        bool binned;
        int columns;
        std::string slots;  // the slots that are not 0, as slot:count
        int peak;
    } cases[] = {
        // clang-format off
        {"no samples", {}, 4096, 0, sar, false, 0, "", 0},
        {"stale code", {0x800, 0x900, 0x801}, 0x800, 0x801, sar, false, 2, "1:1 2:1 ", 1},
        {"spread 48", {1000, 1048, 1048, 1024}, 1000, 1048, sar, false, 49, "1:1 25:1 49:2 ", 2},
        // step 0.98, width 1: bins 1 and 2 both cover min .. min + 1, bin 3 starts at min + 1
        {"SAR spread 49", {1000, 1001}, 1000, 1049, sar, true, 50, "1:2 2:2 3:1 ", 2},
        {"SD spread 49", repeat({{-20, 1}, {29, 3}}), -20, 29, sd, false, 50, "1:1 50:3 ", 3},
        // step 1, width 2: one sample scales to 0.5, a tie that goes to 0
        {"SD spread 50", {-20, 30}, -20, 30, sd, true, 50, "", 1},
        // 50 slots are all there are, whatever the limit
        {"spread 50 under a wider limit", {0, 50}, 0, 50, 60, true, 50, "", 1},
        // halved counts: 2.5 -> 2, 3.5 -> 4; the peak stays raw
        {"to even", repeat({{1000, 5}, {1050, 7}}), 1000, 1050, sar, true, 50, "1:2 49:4 50:4 ", 7},
        // step 2.88, width 3: bin 1 covers 2032..2035, bin 2 2034..2037, bin 3 2037..2040;
        // 7 x 0.96 = 6.72 -> 7, 12 x 0.96 = 11.52 -> 12, 5 x 0.96 = 4.8 -> 5
        {"example", repeat({{2034, 7}, {2037, 5}}), 2032, 2176, sar, true, 50, "1:7 2:12 3:5 ", 12},
        // step 2, width 3: bin 50 covers 2098..2101, past the max code
        {"last bin", {2000, 2101}, 2000, 2100, sar, true, 50, "1:1 50:1 ", 1},
        // 10 additions of 1.1 give 10.999..., so bin 11 starts at min + 10, not min + 11
        {"accumulated position", {1010}, 1000, 1055, sar, true, 50, "9:1 10:1 11:1 ", 1},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        // Sample k at index k, as the SAR run stores them; index 0 and the slot past the count
        // are decoys that must not be counted.
        std::vector<int16_t> buffer{static_cast<int16_t>(c.minCode)};
        buffer.insert(buffer.end(), c.samples.begin(), c.samples.end());
        buffer.push_back(static_cast<int16_t>(c.minCode));
        const auto r =
            BuildCodeHistogram(std::span<const int16_t>(buffer), 1,
                               static_cast<int>(c.samples.size()), c.minCode, c.maxCode, c.limit);
        std::string slots;
        for (int b = 1; b <= kHistogramSlots; ++b)
            if (r.histogram.slot(b))
                slots += std::to_string(b) + ":" + std::to_string(r.histogram.slot(b)) + " ";
        EXPECT_EQ(std::tuple(r.binned, r.columnCount, slots, r.PeakCount),
                  std::tuple(c.binned, c.columns, c.slots, c.peak));
    }
}

// A run-sized set at a 24-bit mid-scale: a single-precision sum, or the squares of the codes
// themselves, would lose the mean or the spread to rounding; N - 1 would give 2.0005.
TEST(Statistics, MeanAndRmsDivideByNAndKeepTheirPrecision) {
    const auto m = MeanAndRmsCodes(repeat<int32_t>({{8388607, 1000}, {8388611, 1000}}), 0, 2000);
    EXPECT_DOUBLE_EQ(m.mean, 8388609);
    EXPECT_NEAR(m.rms, 2, 1e-12);
}

// The figures' tests hold the usual cases; here the edges of the rule.
TEST(Statistics, LimitRuleShowsTheBitWidthWithItsMarks) {
    const struct {
        const char* name;
        int64_t spread;
        double fullScale, rmsVolts;
        int bitWidth;
        std::tuple<double, double, bool, bool, bool> shown;  // both figures, their stars, the note
    } cases[] = {
        // clang-format off
        {"spread 0 leaves the note", 0, 2.56, 2.56 / std::pow(2, 21), 24, {24, 21, 1, 0, 0}},
        {"spread 5", 5, 2.56, 2.56 / std::pow(2, 21.678), 24, {21.68, 21.68, 0, 0, 0}},
        {"RMS rounds to B", 40000, 1, std::pow(2, -16.004), 16, {8.71, 16, 0, 0, 0}},
        // clang-format on
    };
    for (const auto& c : cases) {
        const auto r = ApplyResolutionLimit(c.spread, c.fullScale, c.rmsVolts, 24, c.bitWidth);
        EXPECT_EQ(std::tuple(r.peakToPeakBits, r.rmsBits, r.peakToPeakStar, r.rmsStar, r.note),
                  c.shown)
            << c.name;
    }
}

}  // namespace
}  // namespace kelp::analysis
