#include "analysis/sdfigures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace kelp::analysis {
namespace {

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

std::string shown(const BlockFigures& b) {
    return b.VrefTextbox + "|" + b.ADCChanTextbox + "|" + b.ADCRangeTextbox + "|" +
           b.MaxCodeTextBox + "|" + b.MinCodeTextbox + "|" + b.PPNoiseCodesTextbox + "|" +
           b.PPNoiseuVTextbox + "|" + b.RMSNoiseuVTextbox + "|" + b.PPNoiseBitsTextbox + "|" +
           b.RMSNoiseBitsTextbox;
}

TEST(SdFigures, FullScaleAndCodeWeightsOfEachBlock) {
    const struct {
        const char* model;
        bool aux;
        int reference, range, mode;  // positions
        std::vector<int32_t> codes, raw;
        const char* shown;  // from the reference on, peak-to-peak before RMS; then the marks
    } cases[] = {
        // clang-format off
        // Internal reference, +/- 2.56 V: 32 codes of 2.56 / 2^24 V.
        {"Zylo540", false, 0, 7, 0, {0x800000, 0x800020}, {0x800000, 0x800020},
         "Int 1.25V|800020|800000|32|4.883|2.441|19|20 HHH"},
        // 24 - log2 3 is above 16: the bit width, with its star and the note; codes weigh
        // 5.12 / 2^16 V, the RMS over the raw results 5.12 / 2^24 V.
        {"Zylo530", false, 1, 7, 0, {0x8000, 0x8003}, {0x800012, 0x800345},
         "Ext 2.5V|8003|8000|3|234.375|124.969|16|15.32 SHS"},
        {"Zylo560", false, 1, 0, 1, {0x800000, 0x800000}, {5, 5},
         "Ext 2.5V|800000|800000|0|0|0|24|24 SSS"},
        // 0 to 160 mV. Spread 1 gives 24, RMS 0.5 codes 25: above 16, and above 24 except
        // the 24 itself.
        {"Zylo582", false, 1, 3, 1, {0x800000, 0x800001}, {0x800000, 0x800001},
         "Ext 2.5V|800001|800000|1|2.441|0.005|16|16 SSS"},
        {"Zylo580", false, 2, 3, 1, {0x800000, 0x800001}, {0x800000, 0x800001},
         "Ext 2.5V|800001|800000|1|0.01|0.005|24|24 HSS"},
        // The auxiliary block, alone: no limit, and the marks stay as they were.
        {"Zylo580", true, 0, 0, 0, {0x800000, 0x800010}, {},
         "Int 1.25V|800010|800000|16|2.4|1.2|20|21 UUU"},
        {"Zylo540", true, 0, 0, 0, {0x8000, 0x8010}, {},
         "Int 1.25V|8010|8000|16|610.4|305.2|12|13 UUU"},
        {"Zylo561", true, 1, 0, 1, {0x8000, 0x8003, 0x8003}, {},
         "Ext 3.3V|8003|8000|3|151.1|71.2|14.42|15.5 UUU"},
        {"Zylo530", true, 0, 0, 1, {0x8000, 0x8001}, {},
         "Int 1.25V|8001|8000|1|19.1|9.5|16|17 UUU"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        const Samples run = c.aux ? Samples{{}, {}, c.codes} : Samples{c.codes, c.raw};
        SdAnalysisInput in{c.model, run.results(), {}};
        SdRunSettings& s = in.settings;
        s.VrefTextbox = c.aux ? "3.3V" : "2.5V", s.PrimaryInputRange = c.range;
        s.PrimaryADCButton = !c.aux, s.AuxillaryADCButton = c.aux;
        s.PrimaryReference = s.AuxReference = c.reference, s.PrimaryMode = s.AuxMode = c.mode;
        s.PrimaryInputChannel = s.AuxInputChannel = "AIN2";
        s.PrimaryInputRangeText = s.AuxInputRange = "range";
        const SdFigures f = ComputeSdFigures(in);
        std::string expected = c.shown;
        expected.insert(expected.find('|'), "|AIN2|range");
        std::string marks = " ";
        for (const Mark m : {f.Star1, f.Star2, f.limitation}) marks += "USH"[static_cast<int>(m)];
        EXPECT_EQ(shown(c.aux ? f.aux : f.primary) + marks, expected);
    }
}

// One slot per code up to a spread of 49, bins from 50; both blocks.
TEST(SdFigures, HistogramMode) {
    for (const int spread : {49, 50}) {
        const Samples run{{0x7FFFF0, 0x7FFFF0 + spread}, {0, 0}, {0x7FF0, 0x7FF0 + spread}};
        SdAnalysisInput in{"Zylo560", run.results(), {}};
        in.settings.PrimaryADCButton = in.settings.AuxillaryADCButton = true;
        const SdFigures f = ComputeSdFigures(in);
        EXPECT_EQ(std::pair(f.primary.histogram.binned, f.aux.histogram.binned),
                  std::pair(spread == 50, spread == 50));
    }
}

}  // namespace
}  // namespace kelp::analysis
