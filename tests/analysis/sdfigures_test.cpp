#include "analysis/sdfigures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace kelp::analysis {
namespace {

using Marks = std::vector<Mark>;  // Star1, Star2, limitation
constexpr Mark H = Mark::Hidden, S = Mark::Shown;

// Run results over owned buffers, which must outlive them; the extremes are the codes' own.
struct Samples {
    std::vector<int32_t> codes{}, raw{}, aux{};

    SdRunResults results() const {
        SdRunResults r{codes, raw, aux};
        r.SampleCount = static_cast<int>(std::max(codes.size(), aux.size()));
        if (!codes.empty())
            r.PrimaryMinCode = std::ranges::min(codes), r.PrimaryMaxCode = std::ranges::max(codes);
        if (!aux.empty())
            r.AuxMinCode = std::ranges::min(aux), r.AuxMaxCode = std::ranges::max(aux);
        return r;
    }
};

// What the block's boxes show, joined by '|'.
std::string shown(const BlockFigures& b) {
    return b.VrefTextbox + "|" + b.ADCChanTextbox + "|" + b.ADCRangeTextbox + "|" +
           b.MaxCodeTextBox + "|" + b.MinCodeTextbox + "|" + b.PPNoiseCodesTextbox + "|" +
           b.PPNoiseuVTextbox + "|" + b.RMSNoiseuVTextbox + "|" + b.PPNoiseBitsTextbox + "|" +
           b.RMSNoiseBitsTextbox;
}

TEST(SdFigures, PrimaryFullScaleAndCodeWeights) {
    const struct {
        const char* model;
        int reference, range, mode;  // positions
        Samples run;
        const char* boxes;  // from the reference on; peak-to-peak before RMS
        Marks marks;
    } cases[] = {
        // clang-format off
        // Internal reference, +/- 2.56 V: 32 codes of 2.56 / 2^24 V.
        {"Zylo540", 0, 7, 0, {{0x800000, 0x800020}, {0x800000, 0x800020}},
         "Int 1.25V|800020|800000|32|4.883|2.441|19|20", {H, H, H}},
        // 24 - log2 3 is above 16: the bit width, with its star and the note; codes weigh
        // 5.12 / 2^16 V, the RMS over the raw results 5.12 / 2^24 V.
        {"Zylo530", 1, 7, 0, {{0x8000, 0x8003}, {0x800012, 0x800345}},
         "Ext 2.5V|8003|8000|3|234.375|124.969|16|15.32", {S, H, S}},
        {"Zylo560", 1, 0, 1, {{0x800000, 0x800000}, {5, 5}},
         "Ext 2.5V|800000|800000|0|0|0|24|24", {S, S, S}},
        // 0 to 160 mV. Spread 1 gives 24, RMS 0.5 codes 25: above 16, and above 24 except
        // the 24 itself.
        {"Zylo582", 1, 3, 1, {{0x800000, 0x800001}, {0x800000, 0x800001}},
         "Ext 2.5V|800001|800000|1|2.441|0.005|16|16", {S, S, S}},
        {"Zylo580", 2, 3, 1, {{0x800000, 0x800001}, {0x800000, 0x800001}},
         "Ext 2.5V|800001|800000|1|0.01|0.005|24|24", {H, S, S}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        SdAnalysisInput in{c.model, c.run.results(), {}};
        SdRunSettings& s = in.settings;
        s.VrefTextbox = "2.5V", s.PrimaryADCButton = true, s.PrimaryReference = c.reference;
        s.PrimaryMode = c.mode, s.PrimaryInputRange = c.range;
        s.PrimaryInputChannel = "AIN2-AIN2", s.PrimaryInputRangeText = "range";
        const SdFigures f = ComputeSdFigures(in);
        std::string boxes = c.boxes;
        boxes.insert(boxes.find('|'), "|AIN2-AIN2|range");
        EXPECT_EQ(shown(f.primary), boxes);
        EXPECT_EQ((Marks{f.Star1, f.Star2, f.limitation}), c.marks);
    }
}

TEST(SdFigures, AuxiliaryFullScaleAndCodeWeights) {
    const struct {
        const char* model;
        int reference, mode;
        std::vector<int32_t> codes;
        const char* boxes;  // as the primary block's
    } cases[] = {
        // clang-format off
        {"Zylo580", 0, 0, {0x800000, 0x800010}, "Int 1.25V|800010|800000|16|2.4|1.2|20|21"},
        {"Zylo540", 0, 0, {0x8000, 0x8010}, "Int 1.25V|8010|8000|16|610.4|305.2|12|13"},
        {"Zylo561", 1, 1, {0x8000, 0x8003, 0x8003}, "Ext 3.3V|8003|8000|3|151.1|71.2|14.42|15.5"},
        {"Zylo530", 0, 1, {0x8000, 0x8001}, "Int 1.25V|8001|8000|1|19.1|9.5|16|17"},  // no limit
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        const Samples run{{}, {}, c.codes};
        SdAnalysisInput in{c.model, run.results(), {}};
        SdRunSettings& s = in.settings;
        s.VrefTextbox = "3.3V", s.AuxillaryADCButton = true, s.AuxReference = c.reference;
        s.AuxMode = c.mode, s.AuxInputChannel = "Temp Sensor", s.AuxInputRange = "typed";
        const SdFigures f = ComputeSdFigures(in);
        std::string boxes = c.boxes;
        boxes.insert(boxes.find('|'), "|Temp Sensor|typed");
        EXPECT_EQ(shown(f.aux), boxes);
        EXPECT_EQ((Marks{f.Star1, f.Star2, f.limitation}), Marks(3, Mark::Unchanged));
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
                  spread == 49 ? "7FFFF0|800008|8021" : "7FFFF0|800009|8022");
    }
}

}  // namespace
}  // namespace kelp::analysis
