#include "sigmadelta/sdresults.h"

#include <cmath>

#include "link/textforms.h"

namespace kelp::sigmadelta {

int PrimaryCodeBits(std::string_view model) {
    return model == "Zylo530" || model == "Zylo561" ? 16 : 24;
}

bool HasWideAux(std::string_view model) { return model == "Zylo580"; }

SampleResults AssembleResults(std::string_view model, const PacketBytes& b) {
    SampleResults r;
    r.primaryRaw = b[0] * 65536 + b[1] * 256 + b[2];
    r.primaryCode = PrimaryCodeBits(model) == 16 ? b[0] * 256 + b[1] : r.primaryRaw;
    // The first four models' firmware reuses B1 and B3 for the auxiliary result.
    r.auxCode = HasWideAux(model) ? b[3] * 65536 + b[4] * 256 + b[5] : b[0] * 256 + b[2];
    return r;
}

RunExtremes StartingExtremes(std::string_view model) {
    RunExtremes e;
    e.AuxMinCode = HasWideAux(model) ? 0x1000000 : 0x10000;
    return e;
}

ScaleStep SnappedScaleStep(const ChartScale& s, int32_t c) {
    ScaleStep step{s, false};
    if (c > step.scale.maxCode) {
        step.scale.maxCode = c;
        step.scale.upperBound = (c & 0xFFFFF0) + 16;
        step.refreshLabels = true;
    }
    if (c < step.scale.minCode) {
        step.scale.minCode = c;
        step.scale.lowerBound = (c & 0xFFFFF0) - 16;
        step.refreshLabels = true;
    }
    return step;
}

ScaleStep ExactScaleStep(const ChartScale& s, int32_t a) {
    ScaleStep step{s, false};
    if (a > step.scale.maxCode) {
        step.scale.maxCode = a;
        step.scale.upperBound = a;
        step.refreshLabels = true;
    }
    if (a < step.scale.minCode) {
        step.scale.minCode = a;
        step.scale.lowerBound = a;
        step.refreshLabels = true;
    }
    return step;
}

ScaleStep AuxScaleStep(std::string_view model, const ChartScale& s, int32_t code) {
    return HasWideAux(model) ? SnappedScaleStep(s, code) : ExactScaleStep(s, code);
}

std::string AxisLabelText(double value) {
    if (!std::isfinite(value) || std::fabs(value) > 1e15) return "0";
    const double r = link::roundHalfEven(value);
    if (r < 0) return "-" + link::HexCode(static_cast<int64_t>(-r));
    return link::HexCode(static_cast<int64_t>(r));
}

namespace {

AxisLabels labelsOf(double upper, double lower) {
    return {AxisLabelText(upper), AxisLabelText((upper + lower) / 2), AxisLabelText(lower)};
}

}  // namespace

AxisLabels PrimaryAxisLabels(const ChartScale& s) { return labelsOf(s.upperBound, s.lowerBound); }

AxisLabels AuxAxisLabels(std::string_view model, const ChartScale& s) {
    if (HasWideAux(model)) return PrimaryAxisLabels(s);
    return labelsOf(s.maxCode, s.minCode);
}

}  // namespace kelp::sigmadelta
