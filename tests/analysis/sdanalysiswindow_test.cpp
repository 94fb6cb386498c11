#include "analysis/sdanalysiswindow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "analysis/sdfigures.h"
#include "platform/barchart.h"
#include "platform/stripchart.h"
#include "support/widgets.h"

namespace kelp::analysis {
namespace {

using testing::child;
using testing::texts;

// Each block's ten figure boxes, then its three histogram marks.
constexpr const char* kBoxes[2] = {
    "VrefTextbox|ADCChanTextbox|ADCRangeTextbox|MaxCodeTextBox|MinCodeTextbox|"
    "PPNoiseCodesTextbox|PPNoiseuVTextbox|RMSNoiseuVTextbox|PPNoiseBitsTextbox|"
    "RMSNoiseBitsTextbox|MinCodeHistogramTextbox|MidCodeHistogramTextbox|MaxCodeHistogramTextbox",
    "AuxVrefTextbox|AuxADCChanTextbox|AuxADCRangeTextbox|AuxMaxCodeTextbox|AuxMinCodeTextbox|"
    "AuxPPNoiseCodesTextbox|AuxPPNoiseuVTextbox|AuxRMSNoiseuVTextbox|AuxPPNoiseBitsTextbox|"
    "AuxRMSNoiseBitsTextbox|AuxMinCodeHistogramTextbox|AuxMidCodeHistogramTextbox|"
    "AuxMaxCodeHistogramTextbox"};

// One window through a series of runs: what each run leaves behind is replaced or kept.
TEST(SdAnalysisWindow, EachAnalysisShowsItsFigures) {
    SdAnalysisWindow window{"Zylo540"};
    EXPECT_EQ(window.windowTitle(), "KELP - Zylo540 - ADC Noise Analysis");
    const struct {
        const char* model;
        std::vector<int32_t> codes, raw, aux;  // an empty block is switched off
        int dacPin, iexc1Pin, iexc2Pin;        // list positions; -1: switched off
        const char* summary;                   // Text13|Text7|Text8
        const char* marks;                     // Star1, Star2, limitation shown
    } steps[] = {
        // clang-format off
        // 24 - log2 3 is above 16 bits; the RMS over the raw results is not.
        {"Zylo530", {0x8000, 0x8003, 0x8001}, {0x800012, 0x800345, 0x800100},
         {0x7FF0, 0x7FF3, 0x7FF1}, 1, 0, -1, "Code 800 at pin12|200uA at pin 3|Disabled", "101"},
        // The primary block off keeps the marks.
        {"Zylo540", {}, {}, {0x7FF0, 0x802D, 0x8000}, 0, 1, 0,
         "Code 800 at pin3|200uA at pin 4|200uA at pin 4", "101"},
        // Spread 1 is 24 bits, no more than B; RMS 0.5 codes is 25 bits, above it.
        {"Zylo540", {0x800000, 0x800001}, {0x800000, 0x800001}, {}, -1, -1, 1,
         "Disabled|Disabled|200uA at pin 3", "011"},
        // clang-format on
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.summary);
        SdAnalysisInput in{s.model, {s.codes, s.raw, s.aux}, {}};
        SdRunResults& r = in.results;
        r.SampleCount = static_cast<int>(std::max(s.codes.size(), s.aux.size()));
        if (!s.codes.empty())
            r.PrimaryMinCode = std::ranges::min(s.codes),
            r.PrimaryMaxCode = std::ranges::max(s.codes);
        if (!s.aux.empty())
            r.AuxMinCode = std::ranges::min(s.aux), r.AuxMaxCode = std::ranges::max(s.aux);
        SdRunSettings& t = in.settings;
        t.SF = "3F", t.ConversionRate = "19.7916666666667", t.DACData = "800";
        t.DACButton = s.dacPin >= 0, t.DACPin = s.dacPin;
        t.IEXC1Button = s.iexc1Pin >= 0, t.IEXC1Pin = s.iexc1Pin;
        t.IEXC2Button = s.iexc2Pin >= 0, t.IEXC2Pin = s.iexc2Pin;
        t.PrimaryADCButton = !s.codes.empty(), t.PrimaryInputRange = 7;
        t.AuxillaryADCButton = !s.aux.empty(), t.AuxInputChannel = "AIN3";
        t.Graph = {9, 1, "max", "mid", "min"}, t.AuxGraph = {8, 2, "aMax", "aMid", "aMin"};
        for (const char* h : {"Histogram", "AuxHistogram"})
            child<platform::BarChart>(&window, h)->setColumnColor(1, Qt::blue);
        window.AnalyseData(in);

        const SdFigures f = ComputeSdFigures(in);
        EXPECT_EQ(texts(&window, "Text5|Text6|Text13|Text7|Text8"),
                  "3F|19.7916666666667|" + std::string(s.summary));
        std::string marks;
        for (const char* m : {"Star1", "Star2", "limitation"})
            marks += child<QWidget>(&window, m)->isVisibleTo(&window) ? '1' : '0';
        EXPECT_EQ(marks, s.marks);
        for (const bool aux : {false, true}) {
            SCOPED_TRACE(aux ? "auxiliary" : "primary");
            const bool on = aux ? t.AuxillaryADCButton : t.PrimaryADCButton;
            const BlockFigures& b = aux ? f.aux : f.primary;
            // A block switched off reads 0 in every box and has no marks; what a block on
            // shows is compared with the command line's figures.
            if (!on) {
                EXPECT_EQ(texts(&window, kBoxes[aux]), "0|0|0|0|0|0|0|0|0|0|||");
            }
            for (const QString& name : QString(kBoxes[aux]).split('|').mid(0, 10))
                EXPECT_EQ(child<QWidget>(&window, qPrintable(name))->isEnabled(), on)
                    << name.toStdString();

            const std::string prefix = aux ? "Aux" : "";
            auto* histogram = child<platform::BarChart>(&window, (prefix + "Histogram").c_str());
            auto* graph = child<platform::StripChart>(&window, (prefix + "Graph").c_str());
            const ChartCopy& copy = aux ? t.AuxGraph : t.Graph;
            for (int i = 1; i <= 50; ++i)
                EXPECT_EQ(histogram->value(i), on ? b.histogram.histogram.slot(i) : 0) << i;
            // Shown when on: the columns, all red, without a row label.
            EXPECT_TRUE(!on || histogram->columnCount() == b.histogram.columnCount);
            for (int i = 1; on && i <= b.histogram.columnCount; ++i)
                EXPECT_EQ(histogram->columnColor(i), QColor(255, 0, 0));
            EXPECT_TRUE(!on || histogram->rowLabel().isEmpty());
            std::vector<int32_t> plotted;
            for (const QPointF& p : graph->points()) plotted.push_back(static_cast<int32_t>(p.y()));
            EXPECT_EQ(plotted, aux ? s.aux : s.codes);
            EXPECT_EQ(
                texts(&window, (prefix + "GraphMaxLabel|" + prefix + "GraphMinLabel").c_str()),
                on ? copy.maxLabel + "|" + copy.minLabel : "|");
            EXPECT_TRUE(!on || std::pair(graph->upperBound(), graph->lowerBound()) ==
                                   std::pair(copy.upperBound, copy.lowerBound));
        }
    }
}

}  // namespace
}  // namespace kelp::analysis
