#include "analysis/sdfigures.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "link/textforms.h"

namespace kelp::analysis {

using link::DecimalText;
using link::FormatRounded;
using link::HexCode;

namespace {

struct ModelWidths {
    std::string_view model;
    SdWidths widths;
};

constexpr std::array kWidths = {
    ModelWidths{"Zylo530", {16, 16}}, ModelWidths{"Zylo540", {24, 16}},
    ModelWidths{"Zylo560", {24, 16}}, ModelWidths{"Zylo561", {16, 16}},
    ModelWidths{"Zylo580", {24, 24}}, ModelWidths{"Zylo581", {24, 16}},
    ModelWidths{"Zylo582", {16, 16}},
};

// The RMS is taken over the three received bytes, whatever the model's width.
constexpr int kRawBits = 24;
constexpr int kPrimaryReferenceWidth = 24;

double referenceVolts(int position, const std::string& vrefText) {
    return position <= 0 ? 1.25 : link::leadingNumber(vrefText);
}

std::string referenceText(int position, const std::string& vrefText) {
    return position <= 0 ? "Int 1.25V" : "Ext " + vrefText;
}

Mark markOf(bool shown) { return shown ? Mark::Shown : Mark::Hidden; }

// What a block shows whether or not it has samples: codes, spread, histogram and chart.
// Returns false when the run left no samples for it.
bool fillCodes(BlockFigures& b, std::span<const int32_t> codes, int N, int32_t minCode,
               int32_t maxCode, const ChartCopy& chart) {
    b.enabled = true;
    b.graph = chart;
    b.histogram = BuildCodeHistogram(codes, 0, N, minCode, maxCode, kSigmaDeltaExactLimit);
    if (b.histogram.columnCount == 0) {
        b.MaxCodeTextBox = b.MinCodeTextbox = "";
        return false;
    }
    b.MaxCodeTextBox = b.MaxCodeHistogramTextbox = HexCode(maxCode);
    b.MinCodeTextbox = b.MinCodeHistogramTextbox = HexCode(minCode);
    b.MidCodeHistogramTextbox = link::MiddleCode(minCode, maxCode);
    b.PPNoiseCodesTextbox = DecimalText(CodeSpread(maxCode, minCode));
    return true;
}

// The primary block; the marks are set only when it is switched on.
void primaryBlock(const SdAnalysisInput& in, SdFigures& out) {
    const SdRunSettings& s = in.settings;
    const SdRunResults& r = in.results;
    if (!s.PrimaryADCButton) return;
    BlockFigures& b = out.primary;
    out.Star1 = out.Star2 = out.limitation = Mark::Hidden;
    b.VrefTextbox = referenceText(s.PrimaryReference, s.VrefTextbox);
    b.ADCChanTextbox = s.PrimaryInputChannel;
    b.ADCRangeTextbox = s.PrimaryInputRangeText;
    const int N = r.SampleCount;
    if (!fillCodes(b, r.PrimaryCodeBuffer, N, r.PrimaryMinCode, r.PrimaryMaxCode, s.Graph)) return;

    const SdBlockScale scale = SdScaleOf(in, SdBlock::Primary);
    const double fullScale = scale.fullScale;
    const int B = scale.codeBits;
    const int64_t spread = CodeSpread(r.PrimaryMaxCode, r.PrimaryMinCode);
    const double ppVolts = CodesToVolts(static_cast<double>(spread), fullScale, B);
    const double rmsVolts =
        CodesToVolts(MeanAndRmsCodes(r.PrimaryRawBuffer, 0, N).rms, fullScale, kRawBits);
    const LimitedResolution res =
        ApplyResolutionLimit(spread, fullScale, rmsVolts, kPrimaryReferenceWidth, B);

    b.RMSNoiseuVTextbox = FormatRounded(VoltsToMicrovolts(rmsVolts), 3);
    b.RMSNoiseBitsTextbox = FormatRounded(res.rmsBits, 2);
    b.PPNoiseuVTextbox = FormatRounded(VoltsToMicrovolts(ppVolts), 3);
    b.PPNoiseBitsTextbox = FormatRounded(res.peakToPeakBits, 2);
    out.Star1 = markOf(res.peakToPeakStar);
    out.Star2 = markOf(res.rmsStar);
    out.limitation = markOf(res.note);
}

void auxBlock(const SdAnalysisInput& in, BlockFigures& b) {
    const SdRunSettings& s = in.settings;
    const SdRunResults& r = in.results;
    if (!s.AuxillaryADCButton) return;
    b.VrefTextbox = referenceText(s.AuxReference, s.VrefTextbox);
    b.ADCChanTextbox = s.AuxInputChannel;
    b.ADCRangeTextbox = s.AuxInputRange;
    const int N = r.SampleCount;
    if (!fillCodes(b, r.AuxCodeBuffer, N, r.AuxMinCode, r.AuxMaxCode, s.AuxGraph)) return;

    const SdBlockScale scale = SdScaleOf(in, SdBlock::Aux);
    const double fullScale = scale.fullScale;
    const int A = scale.codeBits;
    const int64_t spread = CodeSpread(r.AuxMaxCode, r.AuxMinCode);
    const double ppVolts = CodesToVolts(static_cast<double>(spread), fullScale, A);
    const double rmsVolts = CodesToVolts(MeanAndRmsCodes(r.AuxCodeBuffer, 0, N).rms, fullScale, A);
    // No finite figure (spread 0, RMS 0, full scale 0): show A, the finest the converter resolves.
    const auto bits = [A](double v) {
        return std::isfinite(v) ? FormatRounded(v, 2) : DecimalText(A);
    };

    b.RMSNoiseuVTextbox = FormatRounded(VoltsToMicrovolts(rmsVolts), 1);
    b.RMSNoiseBitsTextbox = bits(ResolutionBits(fullScale, rmsVolts));
    b.PPNoiseuVTextbox = FormatRounded(VoltsToMicrovolts(ppVolts), 1);
    b.PPNoiseBitsTextbox = bits(PeakToPeakResolutionBits(A, spread));
}

}  // namespace

SdWidths SdModelWidths(std::string_view model) {
    for (const ModelWidths& w : kWidths)
        if (w.model == model) return w.widths;
    return {};
}

SdBlockScale SdScaleOf(const SdAnalysisInput& in, SdBlock block) {
    const SdRunSettings& s = in.settings;
    const SdWidths widths = SdModelWidths(in.ModelName);
    if (block == SdBlock::Primary) {
        // FS = V x 2^k / 125, twice that when bipolar (PrimaryMode 0).
        const double range = referenceVolts(s.PrimaryReference, s.VrefTextbox) *
                             std::pow(2.0, std::clamp(s.PrimaryInputRange, 0, 7)) / 125;
        const bool bipolar = s.PrimaryMode <= 0;
        return {bipolar ? 2 * range : range, widths.B, bipolar};
    }
    const double va = referenceVolts(s.AuxReference, s.VrefTextbox);
    const bool bipolar = s.AuxMode <= 0;
    return {bipolar ? 2 * va : va, widths.A, bipolar};
}

SdFigures ComputeSdFigures(const SdAnalysisInput& in) {
    const SdRunSettings& s = in.settings;
    SdFigures out;
    out.Text5 = s.SF;
    out.Text6 = s.ConversionRate;
    out.Text13 =
        s.DACButton ? "Code " + s.DACData + " at pin" + (s.DACPin == 1 ? "12" : "3") : "Disabled";
    out.Text7 = !s.IEXC1Button ? "Disabled" : s.IEXC1Pin == 0 ? "200uA at pin 3" : "200uA at pin 4";
    out.Text8 = !s.IEXC2Button ? "Disabled" : s.IEXC2Pin == 0 ? "200uA at pin 4" : "200uA at pin 3";
    primaryBlock(in, out);
    auxBlock(in, out.aux);
    return out;
}

}  // namespace kelp::analysis
