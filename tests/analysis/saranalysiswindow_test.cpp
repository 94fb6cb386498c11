#include "analysis/saranalysiswindow.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "analysis/sarrunsettings.h"
#include "platform/barchart.h"
#include "platform/stripchart.h"
#include "support/widgets.h"

namespace kelp::analysis {
namespace {

using testing::child;
using testing::texts;

std::vector<int16_t> repeat(std::initializer_list<std::pair<int, int>> codeTimes) {
    std::vector<int16_t> out;
    for (auto [code, times] : codeTimes) out.insert(out.end(), times, static_cast<int16_t>(code));
    return out;
}

TEST(SarAnalysisWindow, FillsHistogramFiguresMarksAndChart) {
    SarAnalysisWindow window{"Zylo570"};
    auto* histogram = child<platform::BarChart>(&window, "Histogram");
    auto* graph = child<platform::StripChart>(&window, "Graph");
    const SarRunSettings settings{"ADC3",    "External", "Mclk /8 ", "2 ADCclk", "2.048",
                                  "11.0592", "76.8",     "13.021",   "802",      "800",
                                  "7FE",     2050.0,     2046.0};
    const struct {
        const char* name;
        std::vector<int16_t> samples;
        int columns;
        const char* figures;  // codes, spread, the three counts, the three histogram marks
    } cases[] = {
        // clang-format off
        {"all equal", repeat({{0x800, 100}}), 1, "800|800|0|100|100|100|800|800|800"},
        // 50 bins of width 1 scaled by 0.98: 50 -> 49, 25 -> 24.5 -> 24; the peak stays raw.
        {"spread 49", repeat({{1000, 50}, {1049, 25}, {1020, 1}}), 50,
         "3E8|419|49|49|50|24|3E8|400|419"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        // Stored as a run stores them: sample k at index k, the extremes kept alongside.
        std::array<int16_t, 10001> buffer{};
        std::ranges::copy(c.samples, buffer.begin() + 1);
        const auto [min, max] = std::ranges::minmax(c.samples);
        histogram->setColumnColor(1, Qt::blue);  // whatever it held, bars come out red
        window.AnalyseData(settings, {buffer, static_cast<int>(c.samples.size()), min, max});

        ASSERT_EQ(histogram->columnCount(), c.columns);
        for (int i = 1; i <= c.columns; ++i)
            EXPECT_EQ(histogram->columnColor(i), QColor(255, 0, 0));
        EXPECT_EQ(histogram->rowLabel(), QString());
        EXPECT_EQ(texts(&window,
                        "MinCodeTextbox|MaxCodeTextBox|CodeDistributionTextbox|NumberMinCode|"
                        "NumberMidCode|NumberMaxCode|MinCodeHistogramTextbox|"
                        "MidCodeHistogramTextbox|MaxCodeHistogramTextbox"),
                  c.figures);
        std::vector<int16_t> plotted;
        for (const QPointF& p : graph->points()) plotted.push_back(static_cast<int16_t>(p.y()));
        EXPECT_EQ(plotted, c.samples);
        EXPECT_EQ(graph->extent(), std::ssize(c.samples));
    }
    EXPECT_EQ(texts(&window,
                    "ADCChan|ADCRef|ConvTime|AcqTime|VrefTextbox|MasterClockTextbox|"
                    "SampFreqTextbox|ConversionTimeTextbox|GraphMaxLabel|GraphMidLabel|"
                    "GraphMinLabel"),
              "ADC3|External|Mclk /8 |2 ADCclk|2.048|11.0592|76.8|13.021|802|800|7FE");
    EXPECT_EQ(graph->upperBound(), 2050.0);
    EXPECT_EQ(graph->lowerBound(), 2046.0);
}

}  // namespace
}  // namespace kelp::analysis
