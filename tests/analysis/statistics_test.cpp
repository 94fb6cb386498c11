#include "analysis/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <vector>

#include "link/textforms.h"

namespace kelp::analysis {
namespace {

using Slots = std::map<int, int>;  // slot number -> count, non-zero slots only

// Sample k at index k, as the SAR run stores them; index 0 holds a decoy.
HistogramResult sarHistogram(const std::vector<int16_t>& samples, int minCode, int maxCode,
                             int limit = kSarExactLimit) {
    std::vector<int16_t> buffer{static_cast<int16_t>(minCode)};
    buffer.insert(buffer.end(), samples.begin(), samples.end());
    buffer.push_back(static_cast<int16_t>(minCode));  // past the count: a decoy too
    return BuildCodeHistogram(std::span<const int16_t>(buffer), 1, static_cast<int>(samples.size()),
                              minCode, maxCode, limit);
}

Slots nonZero(const HistogramResult& r) {
    Slots out;
    for (int b = 1; b <= kHistogramSlots; ++b)
        if (r.histogram.slot(b) != 0) out[b] = r.histogram.slot(b);
    return out;
}

template <typename Code = int16_t>
std::vector<Code> repeat(std::initializer_list<std::pair<int, int>> codeTimes) {
    std::vector<Code> out;
    for (auto [code, times] : codeTimes) out.insert(out.end(), times, static_cast<Code>(code));
    return out;
}

struct HistogramCase {
    const char* name;
    std::vector<int16_t> samples;
    int minCode, maxCode, limit;
    bool binned;
    int columns;
    Slots slots;
    int peak;
};

TEST(CodeHistogram, ExactAndBinnedModes) {
    const int sar = kSarExactLimit, sd = kSigmaDeltaExactLimit;
    // clang-format off
    const HistogramCase cases[] = {
        {"all equal", repeat({{0x800, 100}}), 0x800, 0x800, sar, false, 1, {{1, 100}}, 100},
        {"one sample", {0x123}, 0x123, 0x123, sar, false, 1, {{1, 1}}, 1},
        {"7FF..801", repeat({{0x7FF, 2}, {0x800, 3}, {0x801, 1}}), 0x7FF, 0x801, sar, false, 3,
         {{1, 2}, {2, 3}, {3, 1}}, 3},
        {"stale value outside the extremes", {0x800, 0x900, 0x801}, 0x800, 0x801, sar, false, 2,
         {{1, 1}, {2, 1}}, 1},
        {"SAR spread 48", {1000, 1048, 1048, 1024}, 1000, 1048, sar, false, 49,
         {{1, 1}, {25, 1}, {49, 2}}, 2},
        // step 0.98, width 1: bins 1 and 2 both cover min .. min + 1, bin 3 starts at min + 1
        {"SAR spread 49", {1000, 1001}, 1000, 1049, sar, true, 50, {{1, 2}, {2, 2}, {3, 1}}, 2},
        {"sigma-delta spread 49", repeat({{-20, 1}, {29, 3}}), -20, 29, sd, false, 50,
         {{1, 1}, {50, 3}}, 3},
        // step 1, width 2: one sample scales to 0.5, a tie that goes to 0
        {"sigma-delta spread 50", {-20, 30}, -20, 30, sd, true, 50, {}, 1},
        // halved counts: 2.5 -> 2, 3.5 -> 4; the peak stays raw
        {"ties to even", repeat({{1000, 5}, {1050, 7}}), 1000, 1050, sar, true, 50,
         {{1, 2}, {49, 4}, {50, 4}}, 7},
        // step 2.88, width 3: 7 x 0.96 = 6.72 -> 7 and 5 x 0.96 = 4.8 -> 5
        {"worked example", repeat({{2036, 7}, {2050, 5}}), 2032, 2176, sar, true, 50,
         {{2, 7}, {7, 5}}, 7},
        // 10 additions of 1.1 give 10.999..., so bin 11 starts at min + 10, not min + 11
        {"accumulated position", {1010}, 1000, 1055, sar, true, 50, {{9, 1}, {10, 1}, {11, 1}}, 1},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto r = sarHistogram(c.samples, c.minCode, c.maxCode, c.limit);
        EXPECT_EQ(r.binned, c.binned);
        EXPECT_EQ(r.columnCount, c.columns);
        EXPECT_EQ(nonZero(r), c.slots);
        EXPECT_EQ(r.PeakCount, c.peak);
    }
}

struct BinCase {
    int minCode, maxCode, code;
    std::vector<int> bins;
};

TEST(CodeHistogram, BinnedRangesOverlapAsInTheWorkedExamples) {
    // Spread 144 (step 2.88, width 3) and spread 100 (step 2, width 3, last bin past the max).
    // clang-format off
    const BinCase cases[] = {
        {2032, 2176, 2031, {}},     {2032, 2176, 2032, {1}},     {2032, 2176, 2033, {1}},
        {2032, 2176, 2034, {1, 2}}, {2032, 2176, 2035, {1, 2}},  {2032, 2176, 2036, {2}},
        {2032, 2176, 2037, {2, 3}}, {2032, 2176, 2040, {3, 4}},  {2032, 2176, 2173, {49, 50}},
        {2032, 2176, 2175, {50}},   {2032, 2176, 2176, {50}},    {2032, 2176, 2177, {}},
        {2000, 2100, 2001, {1}},    {2000, 2100, 2002, {1, 2}},  {2000, 2100, 2003, {1, 2}},
        {2000, 2100, 2004, {2, 3}}, {2000, 2100, 2099, {49, 50}}, {2000, 2100, 2100, {50}},
        {2000, 2100, 2101, {50}},   {2000, 2100, 2102, {}},
    };
    // clang-format on
    for (const auto& c : cases) {
        Slots want;
        for (int b : c.bins) want[b] = 1;  // one sample scales to 0.96 or 0.67, shown as 1
        EXPECT_EQ(nonZero(sarHistogram({static_cast<int16_t>(c.code)}, c.minCode, c.maxCode)), want)
            << c.code;
    }
}

struct NoSampleCase {
    const char* name;
    int firstIndex, count, minCode, maxCode, columns;
};

TEST(CodeHistogram, MissingSamplesNeverFail) {
    const std::vector<int16_t> buffer(10001, 0x800);
    const NoSampleCase cases[] = {
        {"count 0, reset extremes", 1, 0, 4096, 0, 0},
        {"negative count", 1, -100, 0x800, 0x800, 0},
        {"count but no code kept", 1, 100, 4096, 0, 0},
        {"first index past the buffer", 20000, 100, 0x800, 0x800, 1},
    };
    for (const auto& c : cases) {
        const auto r = BuildCodeHistogram(std::span<const int16_t>(buffer), c.firstIndex, c.count,
                                          c.minCode, c.maxCode, kSarExactLimit);
        EXPECT_EQ(nonZero(r), Slots{}) << c.name;
        EXPECT_EQ(r.PeakCount, 0) << c.name;
        EXPECT_EQ(r.columnCount, c.columns) << c.name;
    }
    // A count beyond the buffer reads the samples that exist.
    const auto r = BuildCodeHistogram(std::span<const int16_t>(buffer), 1, 32767, 0x800, 0x800,
                                      kSarExactLimit);
    EXPECT_EQ(nonZero(r), (Slots{{1, 10000}}));

    const std::vector<int32_t> extremes = {INT32_MIN, 0, INT32_MAX};
    EXPECT_EQ(CodeSpread(INT32_MAX, INT32_MIN), 4294967295LL);
    const auto wide = BuildCodeHistogram(extremes, 0, 3, INT32_MIN, INT32_MAX, 49);
    EXPECT_EQ(nonZero(wide), (Slots{{1, 1}, {26, 1}, {50, 1}}));
}

TEST(Statistics, MeanAndRmsDivideByN) {
    const struct {
        std::vector<int32_t> codes;
        int firstIndex, count;
        double mean, rms;
    } cases[] = {
        {{5}, 0, 1, 5, 0},
        {{0, 2}, 0, 2, 1, 1},  // N - 1 would give sqrt(2)
        {{1, 2, 3, 4}, 0, 4, 2.5, 1.118033988749895},
        {{99, 8388608, 8388610}, 1, 2, 8388609, 1},
        {{-3, 3, -3, 3}, 0, 4, 0, 3},
        // A run-sized set at a 24-bit mid-scale: a single-precision sum, or the squares of
        // the codes themselves, would lose the mean or the spread to rounding.
        {repeat<int32_t>({{8388607, 1000}, {8388611, 1000}}), 0, 2000, 8388609, 2},
        {{}, 0, 0, 0, 0},
        {{1, 2}, 0, -5, 0, 0},
        {{1, 2}, 5, 3, 0, 0},
    };
    for (const auto& c : cases) {
        const auto m = MeanAndRmsCodes(c.codes, c.firstIndex, c.count);
        EXPECT_DOUBLE_EQ(m.mean, c.mean) << "case " << &c - cases;
        EXPECT_NEAR(m.rms, c.rms, 1e-12) << "case " << &c - cases;
    }
}

TEST(Statistics, VoltsAndResolution) {
    // 2.56 V full scale, 24-bit weight: 32 codes are 4.883 uV and 19 bits.
    EXPECT_EQ(link::FormatRounded(VoltsToMicrovolts(CodesToVolts(32, 2.56, 24)), 3), "4.883");
    EXPECT_NEAR(PeakToPeakResolutionBits(24, 32), 19, 1e-12);
    EXPECT_EQ(PeakToPeakResolutionBits(24, 1), 24);
    EXPECT_EQ(link::FormatRounded(PeakToPeakResolutionBits(24, 3), 2), "22.42");
    EXPECT_NEAR(ResolutionBits(2.56, 2.56 / 1048576), 20, 1e-12);
    EXPECT_TRUE(std::isinf(ResolutionBits(2.5, 0)));
}

struct LimitCase {
    const char* name;
    int64_t spread;
    double fullScale, rmsVolts;
    int bitWidth;
    double ppBits, rmsBits;
    bool ppStar, rmsStar, note;
};

TEST(Statistics, LimitRuleShowsTheBitWidthWithItsMarks) {
    const double fs = 2.56;
    const double rms21 = fs / std::pow(2, 21);
    // clang-format off
    const LimitCase cases[] = {
        {"all equal", 0, fs, 0, 24, 24, 24, true, true, true},
        {"spread 0 alone leaves the note", 0, fs, rms21, 24, 24, 21, true, false, false},
        {"no samples reads as spread 0", -4096, fs, 0, 24, 24, 24, true, true, true},
        {"spread 1 equals B: no star", 1, fs, rms21, 24, 24, 21, false, false, false},
        {"spread 5 rounded", 5, fs, fs / std::pow(2, 21.678), 24, 21.68, 21.68, false, false,
         false},
        {"16-bit model, spread 3", 3, fs, fs / std::pow(2, 15), 16, 16, 15, true, false, true},
        {"RMS rounds to B: no star", 40000, 1, std::pow(2, -16.004), 16, 8.71, 16, false, false,
         false},
        {"RMS rounds above B", 40000, 1, std::pow(2, -16.006), 16, 8.71, 16, false, true, true},
        {"full scale 0", 5, 0, 0, 24, 21.68, 24, false, true, true},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto r = ApplyResolutionLimit(c.spread, c.fullScale, c.rmsVolts, 24, c.bitWidth);
        EXPECT_DOUBLE_EQ(r.peakToPeakBits, c.ppBits);
        EXPECT_DOUBLE_EQ(r.rmsBits, c.rmsBits);
        EXPECT_EQ(r.peakToPeakStar, c.ppStar);
        EXPECT_EQ(r.rmsStar, c.rmsStar);
        EXPECT_EQ(r.note, c.note);
    }
}

}  // namespace
}  // namespace kelp::analysis
