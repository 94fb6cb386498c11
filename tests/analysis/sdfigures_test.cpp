#include "analysis/sdfigures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "link/textforms.h"

namespace kelp::analysis {
namespace {

using link::FormatRounded;
using link::HexCode;
using Marks = std::vector<Mark>;  // Star1, Star2, limitation
constexpr Mark H = Mark::Hidden, S = Mark::Shown;

// Run results over owned buffers, which must outlive them; the extremes are the codes' own.
struct Samples {
    std::vector<int32_t> codes{}, raw{}, aux{};

    SdRunResults results() const {
        SdRunResults r{codes, raw, aux};
        r.SampleCount = static_cast<int>(std::max(codes.size(), aux.size()));
        if (!codes.empty()) r.PrimaryMinCode = std::ranges::min(codes);
        if (!codes.empty()) r.PrimaryMaxCode = std::ranges::max(codes);
        if (!aux.empty()) r.AuxMinCode = std::ranges::min(aux);
        if (!aux.empty()) r.AuxMaxCode = std::ranges::max(aux);
        return r;
    }
};

// Noise figures worked out here from their definitions.
std::string microvolts(double codes, double fullScale, int bits, int decimals) {
    return FormatRounded(codes * fullScale / std::pow(2.0, bits) * 1e6, decimals);
}
double rmsOf(const std::vector<int32_t>& v) {
    double mean = 0, squares = 0;
    for (int32_t x : v) mean += x / static_cast<double>(v.size());
    for (int32_t x : v) squares += (x - mean) * (x - mean);
    return std::sqrt(squares / static_cast<double>(v.size()));
}

TEST(SdFigures, SettingsSummary) {
    const struct {
        int dac, dacPin, i1, i1Pin, i2, i2Pin;
        std::string texts;  // Text13|Text7|Text8
    } cases[] = {
        {1, 1, 1, 0, 1, 0, "Code 800 at pin12|200uA at pin 3|200uA at pin 4"},
        {1, 0, 1, 1, 1, 1, "Code 800 at pin3|200uA at pin 4|200uA at pin 3"},
        {0, 1, 0, 0, 0, 0, "Disabled|Disabled|Disabled"},
    };
    for (const auto& c : cases) {
        SdAnalysisInput in;
        SdRunSettings& s = in.settings;
        s.DACButton = c.dac, s.DACData = "800", s.DACPin = c.dacPin;
        s.IEXC1Button = c.i1, s.IEXC1Pin = c.i1Pin, s.IEXC2Button = c.i2, s.IEXC2Pin = c.i2Pin;
        const SdFigures f = ComputeSdFigures(in);
        EXPECT_EQ(f.Text13 + "|" + f.Text7 + "|" + f.Text8, c.texts);
    }
}

TEST(SdFigures, PrimaryBlock) {
    const struct {
        const char* model;
        int reference, range, mode;  // positions
        Samples run;
        double fullScale;  // what the reference, range and mode mean
        int B;
        std::string ppMicrovolts, bits;  // bits: peak-to-peak|RMS
        Marks marks;
    } cases[] = {
        // clang-format off
        {"Zylo540", 0, 7, 0, {{0x800000, 0x800020}, {0x800000, 0x800020}}, 2.56, 24, "4.883",
         "19|20", {H, H, H}},
        // 24 - log2 3 is above 16: the bit width, with its star and the note.
        {"Zylo530", 1, 7, 0, {{0x8000, 0x8003}, {0x800012, 0x800345}}, 2 * 2.5 * 128 / 125, 16, "",
         "16|" + FormatRounded(24 - std::log2(409.5), 2), {S, H, S}},
        {"Zylo560", 1, 0, 1, {{0x800000, 0x800000, 0x800000}, {5, 5, 5}}, 2.5 / 125, 24, "0",
         "24|24", {S, S, S}},
        // Spread 1 gives 24, RMS 0.5 codes 25: above 16, and above 24 except the 24 itself.
        {"Zylo582", 1, 3, 1, {{0x800000, 0x800001}, {0x800000, 0x800001}}, 2.5 * 8 / 125, 16, "",
         "16|16", {S, S, S}},
        {"Zylo580", 2, 3, 1, {{0x800000, 0x800001}, {0x800000, 0x800001}}, 2.5 * 8 / 125, 24, "",
         "24|24", {H, S, S}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        SdAnalysisInput in{c.model, c.run.results(), {}};
        SdRunSettings& s = in.settings;
        s.VrefTextbox = "2.5V", s.PrimaryADCButton = true, s.PrimaryReference = c.reference;
        s.PrimaryMode = c.mode, s.PrimaryInputRange = c.range;
        s.PrimaryInputChannel = "AIN2-AIN2", s.PrimaryInputRangeText = "+/- 2.56V";
        const SdFigures f = ComputeSdFigures(in);
        const BlockFigures& b = f.primary;
        const int32_t max = in.results.PrimaryMaxCode, min = in.results.PrimaryMinCode;
        EXPECT_EQ(
            b.VrefTextbox + "|" + b.ADCChanTextbox + "|" + b.ADCRangeTextbox,
            (c.reference == 0 ? "Int 1.25V" : "Ext 2.5V") + std::string("|AIN2-AIN2|+/- 2.56V"));
        EXPECT_EQ(b.MaxCodeTextBox + "|" + b.MinCodeTextbox + "|" + b.PPNoiseCodesTextbox,
                  HexCode(max) + "|" + HexCode(min) + "|" + std::to_string(max - min));
        EXPECT_EQ(b.PPNoiseuVTextbox, c.ppMicrovolts.empty()
                                          ? microvolts(max - min, c.fullScale, c.B, 3)
                                          : c.ppMicrovolts);
        EXPECT_EQ(b.RMSNoiseuVTextbox, microvolts(rmsOf(c.run.raw), c.fullScale, 24, 3));
        EXPECT_EQ(b.PPNoiseBitsTextbox + "|" + b.RMSNoiseBitsTextbox, c.bits);
        EXPECT_EQ((Marks{f.Star1, f.Star2, f.limitation}), c.marks);
    }
}

// One slot per code up to a spread of 49, bins from 50; both blocks.
TEST(SdFigures, HistogramModeAndMarks) {
    for (const int spread : {49, 50}) {
        const Samples run{{0x7FFFF0, 0x7FFFF0 + spread}, {0, 0}, {0x7FF0, 0x7FF0 + spread}};
        SdAnalysisInput in{"Zylo560", run.results(), {}};
        in.settings.PrimaryADCButton = in.settings.AuxillaryADCButton = true;
        const SdFigures f = ComputeSdFigures(in);
        EXPECT_EQ(f.primary.histogram.binned, spread == 50);
        EXPECT_EQ(f.aux.histogram.binned, spread == 50);
        EXPECT_EQ(f.primary.MinCodeHistogramTextbox + "|" + f.primary.MidCodeHistogramTextbox +
                      "|" + f.aux.MaxCodeHistogramTextbox,
                  "7FFFF0|" + link::MiddleCode(0x7FFFF0, 0x7FFFF0 + spread) + "|" +
                      HexCode(0x7FF0 + spread));
    }
}

TEST(SdFigures, BlocksSwitchedOffOrWithoutSamples) {
    const Samples run{{1, 2}, {1, 2}, {3, 4}};
    SdAnalysisInput in{"Zylo580", run.results(), {}};
    in.settings.Graph.maxLabel = in.settings.AuxGraph.maxLabel = "800130";
    SdFigures f = ComputeSdFigures(in);
    for (const BlockFigures* b : {&f.primary, &f.aux}) {
        EXPECT_FALSE(b->enabled);
        EXPECT_EQ(b->VrefTextbox + b->ADCChanTextbox + b->ADCRangeTextbox + b->MaxCodeTextBox +
                      b->MinCodeTextbox + b->PPNoiseCodesTextbox + b->RMSNoiseuVTextbox +
                      b->RMSNoiseBitsTextbox + b->PPNoiseuVTextbox + b->PPNoiseBitsTextbox,
                  "0000000000");
        EXPECT_EQ(b->histogram.histogram.slot(1), 0);
        EXPECT_EQ(b->MaxCodeHistogramTextbox + b->graph.maxLabel, "");
    }
    // A primary block switched off leaves an earlier note as it is.
    EXPECT_EQ((Marks{f.Star1, f.Star2, f.limitation}), Marks(3, Mark::Unchanged));

    in.settings.PrimaryADCButton = in.settings.AuxillaryADCButton = true;
    in.results.SampleCount = 0;
    f = ComputeSdFigures(in);
    for (const BlockFigures* b : {&f.primary, &f.aux}) {
        EXPECT_TRUE(b->enabled);
        EXPECT_EQ(b->MaxCodeTextBox + b->MinCodeTextbox + b->MidCodeHistogramTextbox, "");
        EXPECT_EQ(b->PPNoiseCodesTextbox + b->RMSNoiseBitsTextbox + b->PPNoiseBitsTextbox, "000");
        EXPECT_EQ(b->graph.maxLabel, "800130");
    }
    EXPECT_EQ((Marks{f.Star1, f.Star2, f.limitation}), Marks(3, H));
}

TEST(SdFigures, AuxiliaryBlock) {
    const struct {
        const char* model;
        int reference, mode, A;
        double fullScale;
        std::vector<int32_t> codes;
        std::string bits;  // peak-to-peak|RMS; empty: worked out from the codes
    } cases[] = {
        {"Zylo580", 0, 0, 24, 2.5, {0x800000, 0x800010}, "20|21"},
        {"Zylo540", 0, 0, 16, 2.5, {0x8000, 0x8010}, "12|13"},
        {"Zylo561", 1, 1, 16, 3.3, {0x8000, 0x8003, 0x8003}, ""},
        {"Zylo530", 0, 1, 16, 1.25, {0x8000, 0x8001}, "16|17"},     // above A: no limit here
        {"Zylo580", 1, 1, 24, 3.3, {0x123456, 0x123456}, "24|24"},  // no finite figure: A
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        const Samples run{{}, {}, c.codes};
        SdAnalysisInput in{c.model, run.results(), {}};
        SdRunSettings& s = in.settings;
        s.VrefTextbox = "3.3V", s.AuxillaryADCButton = true;
        s.AuxReference = c.reference, s.AuxMode = c.mode;
        const BlockFigures& b = ComputeSdFigures(in).aux;
        const int32_t spread = in.results.AuxMaxCode - in.results.AuxMinCode;
        const double rms = rmsOf(c.codes);
        EXPECT_EQ(b.VrefTextbox, c.reference == 0 ? "Int 1.25V" : "Ext 3.3V");
        EXPECT_EQ(b.PPNoiseCodesTextbox, std::to_string(spread));
        EXPECT_EQ(b.PPNoiseuVTextbox, microvolts(spread, c.fullScale, c.A, 1));
        EXPECT_EQ(b.RMSNoiseuVTextbox, microvolts(rms, c.fullScale, c.A, 1));
        EXPECT_EQ(b.PPNoiseBitsTextbox + "|" + b.RMSNoiseBitsTextbox,
                  !c.bits.empty() ? c.bits
                                  : FormatRounded(c.A - std::log2(spread), 2) + "|" +
                                        FormatRounded(c.A - std::log2(rms), 2));
    }
}

}  // namespace
}  // namespace kelp::analysis
