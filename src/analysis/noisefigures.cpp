#include "analysis/noisefigures.h"

#include <algorithm>
#include <cmath>

#include "link/textforms.h"

namespace kelp::analysis {

using link::FormatRounded;

namespace {

std::optional<double> codeVolts(double code, double fullScale, int codeBits, bool bipolar) {
    if (!(fullScale > 0)) return std::nullopt;
    const double levels = std::pow(2.0, codeBits);
    const double zero = bipolar ? levels / 2 : 0;
    // Bipolar codes span -FS/2 .. +FS/2, unipolar 0 .. FS.
    return (code - zero) * fullScale / levels;
}

bool sdBlockOn(const SdAnalysisInput& in, SdBlock block) {
    return block == SdBlock::Primary ? in.settings.PrimaryADCButton
                                     : in.settings.AuxillaryADCButton;
}

double normalCdf(double z) { return 0.5 * std::erfc(-z / std::sqrt(2.0)); }

std::string optionalText(const std::optional<double>& v, int decimals) {
    return v ? FormatRounded(*v, decimals) : std::string();
}

}  // namespace

NoiseFigures ComputeNoiseFigures(std::span<const int32_t> codes, double fullScale, int codeBits,
                                 bool bipolar) {
    NoiseFigures f;
    f.sampleCount = static_cast<int>(codes.size());
    if (fullScale > 0) f.fullScaleVolts = fullScale;
    if (codes.empty()) return f;
    const MeanAndRms m = MeanAndRmsCodes(codes, 0, f.sampleCount);
    f.meanCode = m.mean;
    f.stdDevCodes = m.rms;
    f.ppEstimateCodes = kPeakToPeakSigmas * m.rms;
    f.meanVolts = codeVolts(m.mean, fullScale, codeBits, bipolar);
    if (m.rms > 0) {
        const double levels = std::pow(2.0, codeBits);
        f.effectiveBits = Log2(levels / f.stdDevCodes);
        f.noiseFreeBits = Log2(levels / f.ppEstimateCodes);
    }
    return f;
}

NoiseTexts NoiseFigureTexts(const NoiseFigures& f) {
    NoiseTexts t;
    t.sampleCount = link::DecimalText(f.sampleCount);
    if (f.sampleCount <= 0) return t;
    t.meanCode = FormatRounded(f.meanCode, 3);
    t.meanVolts = optionalText(f.meanVolts, 9);
    t.stdDevCodes = FormatRounded(f.stdDevCodes, 3);
    t.ppEstimateCodes = FormatRounded(f.ppEstimateCodes, 2);
    t.effectiveBits = optionalText(f.effectiveBits, 2);
    t.noiseFreeBits = optionalText(f.noiseFreeBits, 2);
    return t;
}

std::vector<int32_t> SarSamples(const SarRunData& data) {
    std::vector<int32_t> out;
    const int last = std::min(data.SampleCount, static_cast<int>(data.SampleBuffer.size()) - 1);
    for (int k = 1; k <= last; ++k) out.push_back(data.SampleBuffer[k]);
    return out;
}

std::vector<int32_t> SdSamples(const SdAnalysisInput& in, SdBlock block) {
    if (!sdBlockOn(in, block)) return {};
    const std::span<const int32_t> codes =
        block == SdBlock::Primary ? in.results.PrimaryCodeBuffer : in.results.AuxCodeBuffer;
    const size_t n = std::clamp<size_t>(std::max(in.results.SampleCount, 0), 0, codes.size());
    return {codes.begin(), codes.begin() + static_cast<std::ptrdiff_t>(n)};
}

NoiseFigures SarNoiseFigures(const SarRunSettings& settings, const SarRunData& data) {
    const std::vector<int32_t> codes = SarSamples(data);
    return ComputeNoiseFigures(codes, link::leadingNumber(settings.VrefTextbox), kSarCodeBits,
                               false);
}

std::optional<double> SarCodeVolts(const SarRunSettings& settings, int code) {
    return codeVolts(code, link::leadingNumber(settings.VrefTextbox), kSarCodeBits, false);
}

NoiseFigures SdNoiseFigures(const SdAnalysisInput& in, SdBlock block) {
    const SdBlockScale scale = SdScaleOf(in, block);
    const std::vector<int32_t> codes = SdSamples(in, block);
    return ComputeNoiseFigures(codes, scale.fullScale, scale.codeBits, scale.bipolar);
}

std::optional<double> SdCodeVolts(const SdAnalysisInput& in, SdBlock block, int32_t code) {
    const SdBlockScale scale = SdScaleOf(in, block);
    return codeVolts(code, scale.fullScale, scale.codeBits, scale.bipolar);
}

std::vector<std::pair<double, double>> HistogramGaussian(const HistogramResult& histogram,
                                                         int32_t minCode, int32_t maxCode,
                                                         double mean, double stdDev, int count,
                                                         int pointsPerColumn) {
    std::vector<std::pair<double, double>> curve;
    const int columns = histogram.columnCount;
    if (columns <= 0 || count <= 0 || !(stdDev > 0) || pointsPerColumn <= 0) return curve;
    // A column starting at code F holds the codes F .. F + width (one code in exact mode).
    const double step =
        histogram.binned ? static_cast<double>(CodeSpread(maxCode, minCode)) / 50 : 1;
    const int width = histogram.binned ? static_cast<int>(std::floor(step)) + 1 : 0;
    const double scale = histogram.binned ? step / width : 1;
    const int points = columns * pointsPerColumn;
    for (int i = 0; i <= points; ++i) {
        const double x = 0.5 + static_cast<double>(i) / pointsPerColumn;
        const double first = minCode + (x - 1) * step;
        const double lo = (first - 0.5 - mean) / stdDev;
        const double hi = (first + width + 0.5 - mean) / stdDev;
        curve.emplace_back(x, count * (normalCdf(hi) - normalCdf(lo)) * scale);
    }
    return curve;
}

}  // namespace kelp::analysis
