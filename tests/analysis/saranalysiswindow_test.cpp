#include "analysis/saranalysiswindow.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <memory>
#include <vector>

#include "analysis/sarrunsettings.h"
#include "platform/barchart.h"
#include "platform/stripchart.h"
#include "shell/programstate.h"

namespace kelp::analysis {
namespace {

const QColor kRed(255, 0, 0);
// Where the run's settings are shown, in the order of SarRunSettings.
constexpr const char* kSettingNames =
    "ADCChan|ADCRef|ConvTime|AcqTime|VrefTextbox|MasterClockTextbox|SampFreqTextbox|"
    "ConversionTimeTextbox|GraphMaxLabel|GraphMidLabel|GraphMinLabel";
// Min code, max code, spread, the three counts, then the three histogram marks.
constexpr const char* kFigureNames =
    "MinCodeTextbox|MaxCodeTextBox|CodeDistributionTextbox|NumberMinCode|NumberMidCode|"
    "NumberMaxCode|MinCodeHistogramTextbox|MidCodeHistogramTextbox|MaxCodeHistogramTextbox";

std::vector<int16_t> repeat(std::initializer_list<std::pair<int, int>> codeTimes) {
    std::vector<int16_t> out;
    for (auto [code, times] : codeTimes) out.insert(out.end(), times, static_cast<int16_t>(code));
    return out;
}

class SarAnalysisWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        state.ModelName = "Zylo570";
        window = std::make_unique<SarAnalysisWindow>(state);
        settings = {"ADC3",  "Ext Ref", "ADCCLK/4", "2 ADCCLK", "2.048", "11.0592", "27.648",
                    "14.47", "802",     "800",      "7FE",      2050.0,  2046.0};
    }

    // Stores the samples as a run does: sample k at index k, extremes kept alongside.
    void run(const std::vector<int16_t>& samples) {
        state.SampleCount = static_cast<int16_t>(samples.size());
        state.MinCode = 4096;
        state.MaxCode = 0;
        for (size_t i = 0; i < samples.size(); ++i) {
            state.SampleBuffer[i + 1] = samples[i];
            state.MinCode = std::min(state.MinCode, samples[i]);
            state.MaxCode = std::max(state.MaxCode, samples[i]);
        }
    }

    // The texts of the named boxes and labels, separated by '|'.
    std::string textsOf(const char* names) const {
        QStringList out;
        for (const QString& name : QString::fromLatin1(names).split('|')) {
            const auto* w = window->findChild<QWidget*>(name);
            if (const auto* edit = qobject_cast<const QLineEdit*>(w))
                out << edit->text();
            else if (const auto* label = qobject_cast<const QLabel*>(w))
                out << label->text();
            else
                out << "<missing " + name + ">";
        }
        return out.join('|').toStdString();
    }

    shell::ProgramState state;
    std::unique_ptr<SarAnalysisWindow> window;
    SarRunSettings settings;
};

struct ControlCase {
    const char* box;
    const char* designText;
    const char* label;    // its caption, if it has one
    const char* caption;  // the caption's text, also the box's accessible name
};

TEST_F(SarAnalysisWindowTest, HasEveryControlWithItsDesignText) {
    EXPECT_EQ(window->objectName(), "SAR_KELP_Analysis");
    EXPECT_EQ(window->windowTitle(), "KELP - Zylo570 - ADC Noise Analysis");
    // clang-format off
    const ControlCase controls[] = {
        {"ADCChan", "ADC0", "Label3", "Input Channel"},
        {"ADCRef", "Int 2.5V", "Label9", "ADC Reference"},
        {"ConvTime", "", "Label12", "Conversion Time"},
        {"AcqTime", "", "Label4", "Aquistion Time"},
        {"VrefTextbox", "2.5", "Label5", "External Vref (V)"},
        {"MasterClockTextbox", "11.0592", "Label2", "Master Clock (MHz)"},
        {"SampFreqTextbox", "", "Label14", "Sampling Freq (kHz)"},
        {"ConversionTimeTextbox", "", "Label16", "Conversion Time (us)"},
        {"MinCodeTextbox", "7FF", "Label22", "Min Code (Hex)"},
        {"MaxCodeTextBox", "801", "Label23", "Max Code (Hex)"},
        {"CodeDistributionTextbox", "", "Label21", "Code Distribution"},
        {"NumberMinCode", "", "Label6", "Occurances of Min Code"},
        {"NumberMidCode", "", "Label7", "Occurances of Median"},
        {"NumberMaxCode", "", "Label1", "Occurances of Max Code"},
        {"MinCodeHistogramTextbox", "7FFH", nullptr, "Histogram lowest code"},
        {"MidCodeHistogramTextbox", "800H", nullptr, "Histogram middle code"},
        {"MaxCodeHistogramTextbox", "801H", nullptr, "Histogram highest code"},
    };
    // clang-format on
    for (const auto& c : controls) {
        auto* edit = window->findChild<QLineEdit*>(c.box);
        ASSERT_NE(edit, nullptr) << c.box;
        EXPECT_EQ(edit->text(), c.designText) << c.box;
        EXPECT_TRUE(edit->isReadOnly()) << c.box;
        EXPECT_EQ(edit->accessibleName(), c.caption) << c.box;
        if (!c.label) continue;
        auto* label = window->findChild<QLabel*>(c.label);
        ASSERT_NE(label, nullptr) << c.label;
        EXPECT_EQ(label->text(), c.caption) << c.label;
        EXPECT_EQ(label->buddy(), edit) << c.label;
    }
    EXPECT_EQ(textsOf("GraphMaxLabel|GraphMidLabel|GraphMinLabel"), "801H|800H|7FFH");

    auto* adc = window->findChild<QGroupBox*>("ADC");
    auto* results = window->findChild<QGroupBox*>("PrimaryADC");
    ASSERT_TRUE(adc && results);
    EXPECT_EQ(adc->title(), "ADC");
    EXPECT_EQ(results->title(), "ADC Data Analysis");
    EXPECT_TRUE(adc->isAncestorOf(window->ADCChan));
    EXPECT_TRUE(results->isAncestorOf(window->NumberMaxCode));
    EXPECT_EQ(window->findChild<platform::BarChart*>("Histogram"), window->Histogram);
    EXPECT_EQ(window->Histogram->title(), "ADC Codes Histogram");
    EXPECT_EQ(window->findChild<platform::StripChart*>("Graph"), window->Graph);
    ASSERT_EQ(window->findChild<QPushButton*>("ReturnButton"), window->ReturnButton);
    EXPECT_EQ(window->ReturnButton->text(), "Return to Aquistion Window");
}

struct AnalysisCase {
    const char* name;
    std::vector<int16_t> samples;
    int columns;
    const char* figures;  // as kFigureNames
};

TEST_F(SarAnalysisWindowTest, FillsHistogramFiguresAndMarks) {
    // clang-format off
    const AnalysisCase cases[] = {
        {"all equal", repeat({{0x800, 100}}), 1, "800|800|0|100|100|100|800|800|800"},
        {"7FF..801", repeat({{0x7FF, 3}, {0x800, 5}, {0x801, 2}}), 3, "7FF|801|2|3|5|2|7FF|800|801"},
        {"spread 48", repeat({{1000, 2}, {1024, 1}, {1048, 3}}), 49,
         "3E8|418|48|2|3|3|3E8|400|418"},
        // 50 bins of width 1 scaled by 0.98: 50 -> 49, 25 -> 24.5 -> 24; the peak stays raw
        {"spread 49", repeat({{1000, 50}, {1049, 25}, {1020, 1}}), 50,
         "3E8|419|49|49|50|24|3E8|400|419"},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        run(c.samples);
        window->Histogram->setColumnColor(1, Qt::blue);  // whatever it held, bars come out red
        window->AnalyseData(settings);
        ASSERT_EQ(window->Histogram->columnCount(), c.columns);
        for (int i = 1; i <= c.columns; ++i) EXPECT_EQ(window->Histogram->columnColor(i), kRed);
        EXPECT_EQ(window->Histogram->rowLabel(), QString());
        EXPECT_EQ(textsOf(kFigureNames), c.figures);
        ASSERT_EQ(window->Graph->pointCount(), static_cast<int>(c.samples.size()));
        EXPECT_EQ(window->Graph->points().last().y(), c.samples.back());
    }
    EXPECT_EQ(window->Histogram->value(1), 49);
}

TEST_F(SarAnalysisWindowTest, StaleSlotsArePlottedButCountedOnlyWithinTheExtremes) {
    run({0x800, 0x800, 0x800});
    state.SampleBuffer[2] = 0x900;  // a slot the run skipped, left from before
    window->AnalyseData(settings);
    EXPECT_EQ(textsOf(kFigureNames), "800|800|0|2|2|2|800|800|800");
    ASSERT_EQ(window->Graph->pointCount(), 3);
    EXPECT_EQ(window->Graph->points()[1].y(), 0x900);
}

TEST_F(SarAnalysisWindowTest, EachAnalysisShowsItsRunsSettingsAndSamples) {
    run(repeat({{0x7FF, 1}, {0x800, 2}, {0x801, 1}}));
    window->AnalyseData(settings);
    EXPECT_EQ(textsOf(kSettingNames),
              "ADC3|Ext Ref|ADCCLK/4|2 ADCCLK|2.048|11.0592|27.648|14.47|802|800|7FE");
    EXPECT_EQ(window->Graph->upperBound(), 2050.0);
    EXPECT_EQ(window->Graph->lowerBound(), 2046.0);

    run(repeat({{0x900, 10}}));
    window->AnalyseData({"ADC5", "Int 2.5V", "a", "b", "2.5", "22.1184", "13.8", "7.2", "901",
                         "900", "8FF", 0x901, 0x8FF});
    EXPECT_EQ(textsOf(kSettingNames), "ADC5|Int 2.5V|a|b|2.5|22.1184|13.8|7.2|901|900|8FF");
    EXPECT_EQ(window->Graph->pointCount(), 10);
    EXPECT_EQ(window->Graph->extent(), 10);
    EXPECT_EQ(window->Graph->upperBound(), 0x901);
    EXPECT_EQ(window->Graph->lowerBound(), 0x8FF);
}

TEST_F(SarAnalysisWindowTest, RunWithoutSamplesShowsEmptyCodesAndZeroCounts) {
    for (int count : {0, -100, 200}) {  // 200: slots counted but no code kept
        run({0x7FF, 0x801});
        window->AnalyseData(settings);  // something to be replaced
        state.SampleCount = static_cast<int16_t>(count);
        state.MinCode = 4096;
        state.MaxCode = 0;
        window->AnalyseData(settings);
        EXPECT_EQ(window->Histogram->columnCount(), 0) << count;
        EXPECT_EQ(textsOf(kFigureNames), "||0|0|0|0|||") << count;
        EXPECT_EQ(window->Graph->pointCount(), std::max(count, 0));
    }
    state.SampleCount = 32767;  // beyond the buffer: every slot plotted once
    window->AnalyseData(settings);
    EXPECT_EQ(window->Graph->pointCount(), 10000);
}

struct CloseWatch : QObject {
    int closes = 0;
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Close) ++closes;
        return false;
    }
};

TEST_F(SarAnalysisWindowTest, ReturnButtonHidesWithoutClosing) {
    CloseWatch watch;
    window->installEventFilter(&watch);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    QTest::mouseClick(window->ReturnButton, Qt::LeftButton);
    EXPECT_TRUE(window->isHidden());
    EXPECT_EQ(watch.closes, 0);
}

TEST_F(SarAnalysisWindowTest, FitsAThousandBySevenHundredWithoutClipping) {
    run(repeat({{0x800, 10000}}));
    state.SampleBuffer[5000] = 0x7000;  // wide spread: binned chart, long code texts
    state.MaxCode = 0x7000;
    window->AnalyseData(settings);
    window->resize(1000, 700);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    EXPECT_LE(window->minimumSizeHint().width(), 1000);
    EXPECT_LE(window->minimumSizeHint().height(), 700);

    const QRect inside = window->rect();
    for (QWidget* w : window->findChildren<QWidget*>()) {
        if (!w->isVisible() || !(qobject_cast<QLabel*>(w) || qobject_cast<QLineEdit*>(w))) continue;
        const auto* edit = qobject_cast<QLineEdit*>(w);
        const int needed = edit ? w->fontMetrics().horizontalAdvance(edit->text()) + 4
                                : w->minimumSizeHint().width();
        EXPECT_GE(w->width(), needed) << w->objectName().toStdString();
        EXPECT_TRUE(inside.contains(QRect(w->mapTo(window.get(), QPoint(0, 0)), w->size())))
            << w->objectName().toStdString();
    }
    EXPECT_GE(window->Histogram->height(), 220);
    EXPECT_GE(window->Graph->height(), 160);
    EXPECT_GT(window->Histogram->width(), window->PrimaryADC->width());
}

}  // namespace
}  // namespace kelp::analysis
