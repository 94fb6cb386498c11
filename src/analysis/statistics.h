#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace kelp::analysis {

inline constexpr int kHistogramSlots = 50;
// Largest spread that still gets one slot per code.
inline constexpr int kSarExactLimit = 48;
inline constexpr int kSigmaDeltaExactLimit = 49;

// 50 counts, numbered 1..50 as the charts number their columns.
struct CodeHistogram {
    std::array<int16_t, kHistogramSlots> counts{};

    // Slot by number; 0 for a number outside 1..50.
    int16_t slot(int number) const {
        return number >= 1 && number <= kHistogramSlots ? counts[number - 1] : int16_t{0};
    }
};

struct HistogramResult {
    CodeHistogram histogram;
    // Slots shown from slot 1: spread + 1 in exact mode, 50 binned, 0 without samples.
    int columnCount = 0;
    // Largest raw (unscaled) count met while filling.
    int16_t PeakCount = 0;
    bool binned = false;
};

// Samples lie at codes[firstIndex .. firstIndex + N - 1]; indexes outside the span are not
// read. minCode/maxCode are the run's own extremes and are trusted, not searched again.
// Exact mode (one slot per code) when the spread is at most exactLimit, and never more than
// 50 slots; otherwise 50 overlapping bins, each scaled by step / width.
// No samples (N <= 0, or minCode above maxCode as a run without results leaves them): all
// slots 0, columnCount 0, PeakCount 0. Counts saturate at 32767.
HistogramResult BuildCodeHistogram(std::span<const int32_t> codes, int firstIndex, int N,
                                   int32_t minCode, int32_t maxCode, int exactLimit);
HistogramResult BuildCodeHistogram(std::span<const int16_t> codes, int firstIndex, int N,
                                   int32_t minCode, int32_t maxCode, int exactLimit);

// max - min in 64 bits, so extreme 32-bit codes cannot overflow. Negative for a run
// without samples; callers decide what to show then.
int64_t CodeSpread(int32_t maxCode, int32_t minCode);

struct MeanAndRms {
    double mean = 0;
    double rms = 0;
};

// Over codes[firstIndex .. firstIndex + N - 1] (clipped to the span), divisor N.
// No samples: mean 0 and RMS 0.
MeanAndRms MeanAndRmsCodes(std::span<const int32_t> codes, int firstIndex, int N);

// codes x fullScale / 2^weightBits: the noise in volts of a figure given in codes.
double CodesToVolts(double codes, double fullScale, int weightBits);
double VoltsToMicrovolts(double volts);

// log2 computed as ln x / ln 2, as every resolution figure is.
double Log2(double x);
// log2(fullScale / noiseVolts). Infinite or NaN when the noise or the full scale is 0;
// the caller chooses what to show then.
double ResolutionBits(double fullScale, double noiseVolts);
// referenceWidth - log2(spread). Infinite for spread 0.
double PeakToPeakResolutionBits(int referenceWidth, int64_t spread);

// The two resolutions as shown in a block with a limit rule, and which marks go with them.
struct LimitedResolution {
    double peakToPeakBits = 0;  // already rounded to 2 decimals, or the bit width
    double rmsBits = 0;         // already rounded to 2 decimals, or the bit width
    bool peakToPeakStar = false;
    bool rmsStar = false;
    bool note = false;  // "limited only by the number of bits" note
};

// A figure above the converter's bit width shows the bit width with its star; the
// peak-to-peak figure is compared unrounded, the RMS figure after rounding to 2 decimals.
// Spread 0 shows the bit width with the peak-to-peak star but does not by itself raise the
// note. A negative spread (no samples) is treated as spread 0; RMS noise 0 or a result that
// is not finite shows the bit width with the RMS star and the note.
LimitedResolution ApplyResolutionLimit(int64_t spread, double fullScale, double rmsVolts,
                                       int referenceWidth, int bitWidth);

}  // namespace kelp::analysis
