#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "analysis/sarrunsettings.h"
#include "analysis/sdfigures.h"
#include "analysis/statistics.h"

namespace kelp::analysis {

// Figures shown beside the fixed ones, over the same samples. The deviation is taken with
// divisor N, as the RMS noise is. Both resolutions are computed on the code scale,
// log2(2^bits / noise in codes), which equals log2(FS / noise in volts) for any reference and
// stays defined when the reference text holds no number.
struct NoiseFigures {
    int sampleCount = 0;
    double meanCode = 0;
    std::optional<double> meanVolts;
    double stdDevCodes = 0;
    double ppEstimateCodes = 0;  // 6.6 standard deviations
    std::optional<double> fullScaleVolts;
    std::optional<double> effectiveBits;  // log2(FS / RMS noise); none without noise
    // log2(FS / the 6.6-sigma peak-to-peak estimate); none without noise
    std::optional<double> noiseFreeBits;
};

inline constexpr double kPeakToPeakSigmas = 6.6;

// The texts the windows show. A figure that cannot be computed (no samples, no noise, no
// reference) is the empty text.
struct NoiseTexts {
    std::string sampleCount, meanCode, meanVolts, stdDevCodes, ppEstimateCodes, effectiveBits,
        noiseFreeBits;
};
NoiseTexts NoiseFigureTexts(const NoiseFigures& f);

// Codes weighing fullScale / 2^codeBits each; bipolar codes read 0 V at 2^(codeBits - 1).
// fullScale <= 0 means no reference is known.
NoiseFigures ComputeNoiseFigures(std::span<const int32_t> codes, double fullScale, int codeBits,
                                 bool bipolar);

// SAR: 12-bit unipolar codes, full scale the VrefTextbox reference (volts = code x Vref / 4096).
inline constexpr int kSarCodeBits = 12;
NoiseFigures SarNoiseFigures(const SarRunSettings& settings, const SarRunData& data);
std::optional<double> SarCodeVolts(const SarRunSettings& settings, int code);

// Sigma-delta: a block switched off, or without samples, has sampleCount 0.
NoiseFigures SdNoiseFigures(const SdAnalysisInput& in, SdBlock block);
std::optional<double> SdCodeVolts(const SdAnalysisInput& in, SdBlock block, int32_t code);

// The run's samples of one channel in index order: SAR samples 1..N, sigma-delta 0..N-1.
std::vector<int32_t> SarSamples(const SarRunData& data);
std::vector<int32_t> SdSamples(const SdAnalysisInput& in, SdBlock block);

// A Gaussian of the given mean and deviation over `count` samples, as the histogram would
// hold it: at column position x (columns numbered from 1, x between them allowed) the
// expected content of a column centred there, in the histogram's own units (counts in exact
// mode; counts of width + 1 codes scaled by step / width when binned). pointsPerColumn points
// per column from 0.5 to columnCount + 0.5. Empty without a histogram or without noise.
std::vector<std::pair<double, double>> HistogramGaussian(const HistogramResult& histogram,
                                                         int32_t minCode, int32_t maxCode,
                                                         double mean, double stdDev, int count,
                                                         int pointsPerColumn = 8);

}  // namespace kelp::analysis
