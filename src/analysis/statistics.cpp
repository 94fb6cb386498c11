#include "analysis/statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "link/textforms.h"

namespace kelp::analysis {

using link::roundHalfEven;

namespace {

int16_t saturate16(int64_t count) {
    return static_cast<int16_t>(std::min<int64_t>(count, std::numeric_limits<int16_t>::max()));
}

// The run's samples, clipped to what the span holds.
template <typename Code>
std::span<const Code> samplesOf(std::span<const Code> codes, int firstIndex, int N) {
    if (N <= 0) return {};
    const int64_t begin = std::max<int64_t>(firstIndex, 0);
    const int64_t end = std::min<int64_t>(int64_t{firstIndex} + N, codes.size());
    if (begin >= end) return {};
    return codes.subspan(static_cast<size_t>(begin), static_cast<size_t>(end - begin));
}

template <typename Code>
HistogramResult buildHistogram(std::span<const Code> codes, int firstIndex, int N, int32_t minCode,
                               int32_t maxCode, int exactLimit) {
    HistogramResult result;
    const std::span<const Code> samples = samplesOf(codes, firstIndex, N);
    if (N <= 0 || minCode > maxCode) return result;
    const int64_t spread = CodeSpread(maxCode, minCode);

    if (spread <= exactLimit && spread < kHistogramSlots) {
        // One slot per code; counting sample by sample gives the same slots and peak as
        // sweeping code by code, without the spread x N loop.
        std::array<int64_t, kHistogramSlots> tally{};
        int64_t peak = 0;
        for (Code c : samples) {
            if (c < minCode || c > maxCode) continue;
            int64_t& slot = tally[static_cast<size_t>(c - minCode)];
            ++slot;
            peak = std::max(peak, slot);
        }
        for (int i = 0; i < kHistogramSlots; ++i) result.histogram.counts[i] = saturate16(tally[i]);
        result.PeakCount = saturate16(peak);
        result.columnCount = static_cast<int>(spread) + 1;
        return result;
    }

    const double step = static_cast<double>(spread) / kHistogramSlots;
    const int64_t width = static_cast<int64_t>(std::floor(step)) + 1;
    // Accumulated, not b x step: the floor of the sum differs for some spreads and the bins
    // must start where the repeated addition puts them.
    double position = 0.0;
    int64_t peak = 0;
    for (int b = 0; b < kHistogramSlots; ++b) {
        const int64_t first = minCode + static_cast<int64_t>(std::floor(position));
        const int64_t last = first + width;  // both ends included: width + 1 codes
        int64_t raw = 0;
        for (Code c : samples)
            if (c >= first && c <= last) ++raw;
        peak = std::max(peak, raw);
        const double scaled = roundHalfEven(static_cast<double>(raw) * step / width);
        result.histogram.counts[b] = saturate16(static_cast<int64_t>(scaled));
        position += step;
    }
    result.PeakCount = saturate16(peak);
    result.columnCount = kHistogramSlots;
    result.binned = true;
    return result;
}

}  // namespace

HistogramResult BuildCodeHistogram(std::span<const int32_t> codes, int firstIndex, int N,
                                   int32_t minCode, int32_t maxCode, int exactLimit) {
    return buildHistogram(codes, firstIndex, N, minCode, maxCode, exactLimit);
}

HistogramResult BuildCodeHistogram(std::span<const int16_t> codes, int firstIndex, int N,
                                   int32_t minCode, int32_t maxCode, int exactLimit) {
    return buildHistogram(codes, firstIndex, N, minCode, maxCode, exactLimit);
}

int64_t CodeSpread(int32_t maxCode, int32_t minCode) { return int64_t{maxCode} - minCode; }

MeanAndRms MeanAndRmsCodes(std::span<const int32_t> codes, int firstIndex, int N) {
    const std::span<const int32_t> samples = samplesOf(codes, firstIndex, N);
    if (samples.empty()) return {};
    const double n = static_cast<double>(samples.size());
    double sum = 0;
    for (int32_t c : samples) sum += c;
    const double mean = sum / n;
    double squares = 0;
    for (int32_t c : samples) squares += std::pow(mean - c, 2);
    return {mean, std::sqrt(squares / n)};
}

double CodesToVolts(double codes, double fullScale, int weightBits) {
    return codes * fullScale / std::pow(2.0, weightBits);
}

double VoltsToMicrovolts(double volts) { return volts * 1'000'000; }

double Log2(double x) { return std::log(x) / std::log(2.0); }

double ResolutionBits(double fullScale, double noiseVolts) { return Log2(fullScale / noiseVolts); }

double PeakToPeakResolutionBits(int referenceWidth, int64_t spread) {
    return referenceWidth - Log2(static_cast<double>(spread));
}

LimitedResolution ApplyResolutionLimit(int64_t spread, double fullScale, double rmsVolts,
                                       int referenceWidth, int bitWidth) {
    LimitedResolution out;
    if (spread <= 0) {
        out.peakToPeakBits = bitWidth;
        out.peakToPeakStar = true;
    } else {
        const double bits = PeakToPeakResolutionBits(referenceWidth, spread);
        if (bits > bitWidth) {
            out.peakToPeakBits = bitWidth;
            out.peakToPeakStar = true;
            out.note = true;
        } else {
            out.peakToPeakBits = roundHalfEven(bits, 2);
        }
    }

    const double rmsBits =
        rmsVolts == 0 ? 0 : roundHalfEven(ResolutionBits(fullScale, rmsVolts), 2);
    if (rmsVolts == 0 || !std::isfinite(rmsBits) || rmsBits > bitWidth) {
        out.rmsBits = bitWidth;
        out.rmsStar = true;
        out.note = true;
    } else {
        out.rmsBits = rmsBits;
    }
    return out;
}

}  // namespace kelp::analysis
