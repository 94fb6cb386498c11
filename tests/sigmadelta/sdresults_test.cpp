#include "sigmadelta/sdresults.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "link/textforms.h"

namespace kelp::sigmadelta {
namespace {

TEST(AssembleResults, EachModelsLayout) {
    const PacketBytes bytes = {0x80, 0x01, 0x23, 0x45, 0x67, 0x89};
    const std::tuple<const char*, int32_t, int32_t, int32_t> cases[] = {
        {"Zylo530", 0x8001, 0x8023, 0x10000},       {"Zylo561", 0x8001, 0x8023, 0x10000},
        {"Zylo540", 0x800123, 0x8023, 0x10000},     {"Zylo582", 0x800123, 0x8023, 0x10000},
        {"Zylo580", 0x800123, 0x456789, 0x1000000},
    };
    for (const auto& [model, primary, aux, auxStartMin] : cases) {
        const SampleResults r = AssembleResults(model, bytes);
        EXPECT_EQ(
            std::tuple(r.primaryCode, r.primaryRaw, r.auxCode, StartingExtremes(model).AuxMinCode),
            std::tuple(primary, 0x800123, aux, auxStartMin))
            << model;
    }
}

struct Step {
    int32_t code;
    bool refresh;
    double upper, lower;
    std::string labels;  // upper|middle|lower
};

// Feeds codes through one chart's rule, checking the scale and the labels after each.
void feed(const char* model, bool aux, ChartScale s, const std::vector<Step>& steps) {
    for (const Step& step : steps) {
        SCOPED_TRACE(testing::Message() << model << " code " << std::hex << step.code);
        const ScaleStep next =
            aux ? AuxScaleStep(model, s, step.code) : SnappedScaleStep(s, step.code);
        const AxisLabels l = aux ? AuxAxisLabels(model, next.scale) : PrimaryAxisLabels(next.scale);
        EXPECT_EQ(std::tuple(next.refreshLabels, next.scale.upperBound, next.scale.lowerBound,
                             l.upper + "|" + l.middle + "|" + l.lower),
                  std::tuple(step.refresh, step.upper, step.lower, step.labels));
        s = next.scale;
    }
}

// The run's tests hold the primary chart's snapping; here its edge and the auxiliary rules.
TEST(ChartScale, PrimaryAndAuxiliaryRules) {
    const ChartScale design{0, 0x1000000, 0x800100, 0x7FFE00};
    // Code 0 is no new maximum, so only the lower bound moves, below 0.
    feed("Zylo540", false, design,
         {{0, true, 0x800100, -16, "800100|" + link::HexCode((0x800100 - 16) / 2) + "|-10"}});
    feed("Zylo580", true, design, {{0x456789, true, 0x456790, 0x456770, "456790|456780|456770"}});
    // Other models: the bounds are the codes; a half middle goes to the even neighbour.
    feed("Zylo560", true, {0, 0x10000, 0x8001, 0x7FFE},
         {{0x8021, true, 0x8021, 0x8021, "8021|8021|8021"},
          {0x8020, true, 0x8021, 0x8020, "8021|8020|8020"},
          {0x8023, true, 0x8023, 0x8020, "8023|8022|8020"},
          {0x8022, false, 0x8023, 0x8020, "8023|8022|8020"}});
}

}  // namespace
}  // namespace kelp::sigmadelta
