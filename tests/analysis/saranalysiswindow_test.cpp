#include "analysis/saranalysiswindow.h"

#include <gtest/gtest.h>

#include <QPushButton>
#include <QTest>
#include <array>
#include <memory>
#include <vector>

#include "analysis/sarrunsettings.h"
#include "platform/barchart.h"
#include "platform/stripchart.h"
#include "support/widgets.h"

namespace kelp::analysis {
namespace {

using testing::child;
using testing::texts;

// Min code, max code, spread, the three counts, then the three histogram marks.
constexpr const char* kFigures =
    "MinCodeTextbox|MaxCodeTextBox|CodeDistributionTextbox|NumberMinCode|NumberMidCode|"
    "NumberMaxCode|MinCodeHistogramTextbox|MidCodeHistogramTextbox|MaxCodeHistogramTextbox";

std::vector<int16_t> repeat(std::initializer_list<std::pair<int, int>> codeTimes) {
    std::vector<int16_t> out;
    for (auto [code, times] : codeTimes) out.insert(out.end(), times, static_cast<int16_t>(code));
    return out;
}

class SarAnalysisWindowTest : public ::testing::Test {
protected:
    // Stores the samples as a run does (sample k at index k, extremes kept alongside) and
    // analyses them.
    void analyse(const std::vector<int16_t>& samples) {
        data.SampleCount = static_cast<int>(samples.size());
        data.MinCode = 4096;
        data.MaxCode = 0;
        for (size_t i = 0; i < samples.size(); ++i) {
            buffer[i + 1] = samples[i];
            data.MinCode = std::min<int>(data.MinCode, samples[i]);
            data.MaxCode = std::max<int>(data.MaxCode, samples[i]);
        }
        window.AnalyseData(settings, data);
    }
    platform::BarChart* histogram() { return child<platform::BarChart>(&window, "Histogram"); }
    platform::StripChart* graph() { return child<platform::StripChart>(&window, "Graph"); }

    SarAnalysisWindow window{"Zylo570"};
    std::array<int16_t, 10001> buffer{};
    SarRunData data{buffer, 0, 4096, 0};
    SarRunSettings settings{"ADC3",    "External", "Mclk /8 ", "2 ADCclk", "2.048",
                            "11.0592", "76.8",     "13.021",   "802",      "800",
                            "7FE",     2050.0,     2046.0};
};

struct AnalysisCase {
    const char* name;
    std::vector<int16_t> samples;
    int columns;
    const char* figures;  // as kFigures
};

TEST_F(SarAnalysisWindowTest, FillsHistogramFiguresAndMarks) {
    EXPECT_EQ(window.windowTitle(), "KELP - Zylo570 - ADC Noise Analysis");
    // clang-format off
    const AnalysisCase cases[] = {
        {"all equal", repeat({{0x800, 100}}), 1, "800|800|0|100|100|100|800|800|800"},
        {"7FF..801", repeat({{0x7FF, 3}, {0x800, 5}, {0x801, 2}}), 3, "7FF|801|2|3|5|2|7FF|800|801"},
        // The widest exact histogram: the max code in slot 49, slot 50 untouched.
        {"spread 48", repeat({{1000, 2}, {1024, 1}, {1048, 3}}), 49,
         "3E8|418|48|2|3|3|3E8|400|418"},
        // 50 bins of width 1 scaled by 0.98: 50 -> 49, 25 -> 24.5 -> 24; the peak stays raw.
        {"spread 49", repeat({{1000, 50}, {1049, 25}, {1020, 1}}), 50,
         "3E8|419|49|49|50|24|3E8|400|419"},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        histogram()->setColumnColor(1, Qt::blue);  // whatever it held, bars come out red
        analyse(c.samples);
        ASSERT_EQ(histogram()->columnCount(), c.columns);
        for (int i = 1; i <= c.columns; ++i)
            EXPECT_EQ(histogram()->columnColor(i), QColor(255, 0, 0));
        EXPECT_EQ(histogram()->rowLabel(), QString());
        EXPECT_EQ(texts(&window, kFigures), c.figures);
        if (c.columns < 50) {
            EXPECT_EQ(histogram()->value(50), 0);
        }
        ASSERT_EQ(graph()->pointCount(), static_cast<int>(c.samples.size()));
        EXPECT_EQ(graph()->points().last().y(), c.samples.back());
    }
}

TEST_F(SarAnalysisWindowTest, StaleSlotsArePlottedButCountedOnlyWithinTheExtremes) {
    buffer[1] = buffer[3] = 0x800;
    buffer[2] = 0x900;  // a slot the run skipped, left from before
    data = {buffer, 3, 0x800, 0x800};
    window.AnalyseData(settings, data);
    EXPECT_EQ(texts(&window, kFigures), "800|800|0|2|2|2|800|800|800");
    ASSERT_EQ(graph()->pointCount(), 3);
    EXPECT_EQ(graph()->points()[1].y(), 0x900);
}

TEST_F(SarAnalysisWindowTest, EachAnalysisShowsItsRunsSettingsAndSamples) {
    const char* const kSettings =
        "ADCChan|ADCRef|ConvTime|AcqTime|VrefTextbox|MasterClockTextbox|SampFreqTextbox|"
        "ConversionTimeTextbox|GraphMaxLabel|GraphMidLabel|GraphMinLabel";
    analyse(repeat({{0x7FF, 1}, {0x800, 2}, {0x801, 1}}));
    EXPECT_EQ(texts(&window, kSettings),
              "ADC3|External|Mclk /8 |2 ADCclk|2.048|11.0592|76.8|13.021|802|800|7FE");
    EXPECT_EQ(graph()->upperBound(), 2050.0);
    EXPECT_EQ(graph()->lowerBound(), 2046.0);

    settings = {"ADC5", "Internal", "a",   "b",   "2.5", "16.777", "13.8",
                "7.2",  "901",      "900", "8FF", 0x901, 0x8FF};
    analyse(repeat({{0x900, 10}}));
    EXPECT_EQ(texts(&window, kSettings), "ADC5|Internal|a|b|2.5|16.777|13.8|7.2|901|900|8FF");
    EXPECT_EQ(graph()->pointCount(), 10);
    EXPECT_EQ(graph()->extent(), 10);
    EXPECT_EQ(graph()->upperBound(), 0x901);
    EXPECT_EQ(graph()->lowerBound(), 0x8FF);
}

TEST_F(SarAnalysisWindowTest, RunWithoutSamplesShowsEmptyCodesAndZeroCounts) {
    for (int count : {0, -100, 200}) {  // 200: slots counted but no code kept
        analyse({0x7FF, 0x801});        // something to be replaced
        data = {buffer, count, 4096, 0};
        window.AnalyseData(settings, data);
        EXPECT_EQ(histogram()->columnCount(), 0) << count;
        EXPECT_EQ(texts(&window, kFigures), "||0|0|0|0|||") << count;
        EXPECT_EQ(graph()->pointCount(), std::max(count, 0));
    }
    data = {buffer, 32767, 4096, 0};  // beyond the buffer: every slot plotted once
    window.AnalyseData(settings, data);
    EXPECT_EQ(graph()->pointCount(), 10000);
}

TEST_F(SarAnalysisWindowTest, ReturnButtonHidesWithoutClosing) {
    struct CloseWatch : QObject {
        int closes = 0;
        bool eventFilter(QObject*, QEvent* e) override {
            closes += e->type() == QEvent::Close;
            return false;
        }
    } watch;
    window.installEventFilter(&watch);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QTest::mouseClick(child<QPushButton>(&window, "ReturnButton"), Qt::LeftButton);
    EXPECT_TRUE(window.isHidden());
    EXPECT_EQ(watch.closes, 0);
}

}  // namespace
}  // namespace kelp::analysis
