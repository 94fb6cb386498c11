// The statistics over a run's codes and the sigma-delta analysis figures.
//
// Input: the shape of a run (first index, count, extremes as found or as given, limits,
// reference texts and switches), then the codes.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "analysis/sdfigures.h"
#include "analysis/statistics.h"
#include "fuzzing.h"
#include "link/textforms.h"

namespace {

using namespace kelp::analysis;
using kelp::link::leadingNumber;

// The samples a histogram or mean looks at: the count from the first index, clipped to the
// buffer.
template <typename Code>
std::vector<int64_t> samplesOf(const std::vector<Code>& codes, int first, int n) {
    std::vector<int64_t> out;
    for (int64_t i = std::max(first, 0); n > 0 && i < int64_t{first} + n; ++i)
        if (i < static_cast<int64_t>(codes.size())) out.push_back(codes[static_cast<size_t>(i)]);
    return out;
}

template <typename Code>
void checkHistogram(const std::vector<Code>& codes, int first, int n, int32_t minCode,
                    int32_t maxCode, int exactLimit) {
    const HistogramResult h =
        BuildCodeHistogram(std::span<const Code>(codes), first, n, minCode, maxCode, exactLimit);
    const auto& counts = h.histogram.counts;
    for (int16_t c : counts) FUZZ_CHECK(c >= 0 && c <= h.PeakCount);
    FUZZ_CHECK(h.histogram.slot(0) == 0 && h.histogram.slot(kHistogramSlots + 1) == 0);
    if (n <= 0 || minCode > maxCode) {
        FUZZ_CHECK(h.columnCount == 0 && h.PeakCount == 0 && !h.binned);
        return;
    }
    const std::vector<int64_t> samples = samplesOf(codes, first, n);
    std::map<int64_t, int64_t> perCode;
    for (int64_t c : samples)
        if (c >= minCode && c <= maxCode) ++perCode[c];
    int64_t inRange = 0, mostOfOneCode = 0;
    for (const auto& [code, count] : perCode) {
        inRange += count;
        mostOfOneCode = std::max(mostOfOneCode, count);
    }
    const int64_t spread = CodeSpread(maxCode, minCode);
    FUZZ_CHECK(spread >= 0);
    FUZZ_CHECK(h.PeakCount <= inRange);
    // Every code between the extremes lies in a column: the one holding the most samples of
    // one code shows at least that many before scaling.
    FUZZ_CHECK(h.PeakCount >= std::min<int64_t>(mostOfOneCode, 32767));
    if (spread <= exactLimit && spread < kHistogramSlots) {
        // One column per code: the columns count each sample in range once.
        FUZZ_CHECK(!h.binned && h.columnCount == spread + 1);
        int64_t sum = 0;
        for (int i = 0; i < kHistogramSlots; ++i) {
            FUZZ_CHECK(i < h.columnCount || counts[static_cast<size_t>(i)] == 0);
            const auto it = perCode.find(int64_t{minCode} + i);
            FUZZ_CHECK(counts[static_cast<size_t>(i)] ==
                       (it == perCode.end() ? 0 : std::min<int64_t>(it->second, 32767)));
            sum += counts[static_cast<size_t>(i)];
        }
        if (inRange <= 32767) FUZZ_CHECK(sum == inRange);
        FUZZ_CHECK(h.PeakCount == std::min<int64_t>(mostOfOneCode, 32767));
    } else {
        FUZZ_CHECK(h.binned && h.columnCount == kHistogramSlots);
    }
}

void checkMean(const std::vector<int32_t>& codes, int first, int n) {
    const MeanAndRms m = MeanAndRmsCodes(codes, first, n);
    const std::vector<int64_t> samples = samplesOf(codes, first, n);
    if (samples.empty()) {
        FUZZ_CHECK(m.mean == 0 && m.rms == 0);
        return;
    }
    const auto [lo, hi] = std::minmax_element(samples.begin(), samples.end());
    const double tolerance = 1e-9 * (std::fabs(double(*lo)) + std::fabs(double(*hi)) + 1);
    FUZZ_CHECK(std::isfinite(m.mean) && std::isfinite(m.rms));
    FUZZ_CHECK(m.mean >= *lo - tolerance && m.mean <= *hi + tolerance);
    FUZZ_CHECK(m.rms >= 0 && m.rms <= double(*hi - *lo) + tolerance);
    if (*lo == *hi) FUZZ_CHECK(m.rms == 0 && m.mean == *lo);
}

void checkLimit(int64_t spread, double fullScale, double rmsVolts, int referenceWidth,
                int bitWidth) {
    const LimitedResolution r =
        ApplyResolutionLimit(spread, fullScale, rmsVolts, referenceWidth, bitWidth);
    // Each figure is finite and at most the bit width, which a star marks.
    FUZZ_CHECK(std::isfinite(r.peakToPeakBits) && r.peakToPeakBits <= bitWidth);
    FUZZ_CHECK(std::isfinite(r.rmsBits) && r.rmsBits <= bitWidth);
    if (r.peakToPeakStar) FUZZ_CHECK(r.peakToPeakBits == bitWidth);
    if (r.rmsStar) FUZZ_CHECK(r.rmsBits == bitWidth && r.note);
    if (spread <= 0) FUZZ_CHECK(r.peakToPeakStar);
    if (rmsVolts == 0) FUZZ_CHECK(r.rmsStar);
    FUZZ_CHECK(r.note == (r.rmsStar || (spread > 0 && r.peakToPeakStar)));
}

bool readsAsFiniteNumber(const std::string& text) {
    if (text.empty() || text == "NaN" || text.ends_with("Infinity")) return false;
    return std::isfinite(leadingNumber(text));
}

// The auxiliary RMS resolution has no limit rule: only the peak-to-peak one is bounded there.
void checkBlock(const BlockFigures& b, bool on, bool hasSamples, bool saneReference, int width,
                bool rmsLimited) {
    FUZZ_CHECK(b.enabled == on);
    if (!on) {
        FUZZ_CHECK(b.MaxCodeTextBox == "0" && b.histogram.columnCount == 0);
        return;
    }
    FUZZ_CHECK((b.histogram.columnCount > 0) == hasSamples);
    if (!hasSamples) {
        FUZZ_CHECK(b.MaxCodeTextBox.empty() && b.MinCodeTextbox.empty());
        FUZZ_CHECK(b.RMSNoiseBitsTextbox == "0" && b.PPNoiseBitsTextbox == "0");
        return;
    }
    // Resolutions never exceed the width; with a sensible reference no figure is NaN or
    // infinite, and noise is never negative.
    for (const std::string* bits : {&b.RMSNoiseBitsTextbox, &b.PPNoiseBitsTextbox})
        FUZZ_CHECK(readsAsFiniteNumber(*bits));
    FUZZ_CHECK(leadingNumber(b.PPNoiseBitsTextbox) <= width);
    if (rmsLimited) FUZZ_CHECK(leadingNumber(b.RMSNoiseBitsTextbox) <= width);
    if (saneReference) {
        for (const std::string* uv : {&b.RMSNoiseuVTextbox, &b.PPNoiseuVTextbox}) {
            FUZZ_CHECK(readsAsFiniteNumber(*uv));
            FUZZ_CHECK(leadingNumber(*uv) >= 0);
        }
    }
}

constexpr const char* kModels[] = {"Zylo530", "Zylo540", "Zylo560", "Zylo561",
                                   "Zylo580", "Zylo581", "Zylo582", "Zylo999"};

SdAnalysisInput figureSettings(FuzzedDataProvider& in) {
    SdAnalysisInput a;
    a.ModelName = kModels[in.ConsumeIntegralInRange(0, 7)];
    SdRunSettings& s = a.settings;
    s.VrefTextbox = in.ConsumeRandomLengthString(12);
    s.PrimaryADCButton = in.ConsumeBool();
    s.AuxillaryADCButton = in.ConsumeBool();
    s.PrimaryReference = in.ConsumeIntegralInRange(-1, 2);
    s.PrimaryMode = in.ConsumeIntegralInRange(-1, 1);
    s.PrimaryInputRange = in.ConsumeIntegral<int>();
    s.AuxReference = in.ConsumeIntegralInRange(-1, 1);
    s.AuxMode = in.ConsumeIntegralInRange(-1, 1);
    return a;
}

void checkFigures(SdAnalysisInput a, const std::vector<int32_t>& codes, int n) {
    const SdRunSettings& s = a.settings;
    // Raw codes hold three bytes; the code buffers the model's width of them.
    const bool narrow = a.ModelName == "Zylo530" || a.ModelName == "Zylo561";
    std::vector<int32_t> raw, primary, aux;
    for (int32_t c : codes) {
        raw.push_back(c & 0xFFFFFF);
        primary.push_back(narrow ? (c & 0xFFFFFF) >> 8 : c & 0xFFFFFF);
        aux.push_back(a.ModelName == "Zylo580" ? c & 0xFFFFFF : c & 0xFFFF);
    }
    SdRunResults& r = a.results;
    r.PrimaryRawBuffer = raw;
    r.PrimaryCodeBuffer = primary;
    r.AuxCodeBuffer = aux;
    r.SampleCount = n;
    const auto extremes = [&](const std::vector<int32_t>& v, int32_t& lo, int32_t& hi) {
        const size_t count = std::min(v.size(), static_cast<size_t>(std::max(n, 0)));
        if (count == 0) return;  // the run's starting extremes stay
        lo = *std::min_element(v.begin(), v.begin() + static_cast<long>(count));
        hi = *std::max_element(v.begin(), v.begin() + static_cast<long>(count));
    };
    extremes(primary, r.PrimaryMinCode, r.PrimaryMaxCode);
    extremes(aux, r.AuxMinCode, r.AuxMaxCode);

    const SdFigures f = ComputeSdFigures(a);
    const double vref = leadingNumber(s.VrefTextbox);
    const SdWidths w = SdModelWidths(a.ModelName);
    const bool primarySamples = n > 0 && r.PrimaryMinCode <= r.PrimaryMaxCode;
    const bool auxSamples = n > 0 && r.AuxMinCode <= r.AuxMaxCode;
    checkBlock(f.primary, s.PrimaryADCButton, primarySamples,
               s.PrimaryReference <= 0 || (vref >= 0 && vref <= 1e3), w.B, true);
    checkBlock(f.aux, s.AuxillaryADCButton, auxSamples,
               s.AuxReference <= 0 || (vref >= 0 && vref <= 1e3), w.A, false);
    if (!s.PrimaryADCButton) FUZZ_CHECK(f.Star1 == Mark::Unchanged && f.Star2 == Mark::Unchanged);
    if (s.PrimaryADCButton && !primarySamples) FUZZ_CHECK(f.Star1 == Mark::Hidden);
    if (f.Star1 == Mark::Shown) FUZZ_CHECK(f.primary.PPNoiseBitsTextbox == std::to_string(w.B));
    if (f.Star2 == Mark::Shown) FUZZ_CHECK(f.primary.RMSNoiseBitsTextbox == std::to_string(w.B));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    const int first = in.ConsumeBool() ? 0 : in.ConsumeIntegralInRange(-5, 5);
    const int n = in.ConsumeIntegralInRange(-2, 600);
    const bool found = in.ConsumeBool();  // extremes as the run finds them, or any
    int32_t minCode = in.ConsumeIntegral<int32_t>(), maxCode = in.ConsumeIntegral<int32_t>();
    const int limits[] = {kSarExactLimit, kSigmaDeltaExactLimit, in.ConsumeIntegral<int>()};
    const int exactLimit = limits[in.ConsumeIntegralInRange(0, 2)];
    const uint8_t narrowing = in.ConsumeIntegralInRange(0, 3);  // codes close together or not
    const double fullScale = in.ConsumeFloatingPoint<double>();
    const double rmsVolts = in.ConsumeBool() ? 0 : in.ConsumeFloatingPoint<double>();
    const int bitWidth = in.ConsumeIntegralInRange(8, 32);
    const int64_t spread = in.ConsumeIntegral<int32_t>();
    const int referenceWidth = in.ConsumeIntegralInRange(8, 32);
    const SdAnalysisInput figures = figureSettings(in);

    std::vector<int32_t> codes;
    const int32_t base = in.ConsumeIntegral<int32_t>();
    while (in.remaining_bytes() > 0) {
        const int32_t c = in.ConsumeIntegral<int32_t>();
        codes.push_back(narrowing == 0   ? c
                        : narrowing == 1 ? base / 2 + c % 60
                        : narrowing == 2 ? static_cast<int16_t>(c)
                                         : 0x800000 + c % 200);
    }
    std::vector<int16_t> shortCodes;
    for (int32_t c : codes) shortCodes.push_back(static_cast<int16_t>(c));
    if (found) {
        const auto samples = samplesOf(codes, first, n);
        if (!samples.empty()) {
            minCode = static_cast<int32_t>(*std::min_element(samples.begin(), samples.end()));
            maxCode = static_cast<int32_t>(*std::max_element(samples.begin(), samples.end()));
        }
    }
    checkHistogram(codes, first, n, minCode, maxCode, exactLimit);
    checkHistogram(shortCodes, first, n, minCode, maxCode, exactLimit);
    checkMean(codes, first, n);
    checkLimit(spread, fullScale, rmsVolts, referenceWidth, bitWidth);
    checkFigures(figures, codes, n);
    return 0;
}
