#include "analysis/sdanalysiswindow.h"

#include <gtest/gtest.h>

#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <algorithm>
#include <stdexcept>
#include <vector>

#include "analysis/sdfigures.h"
#include "platform/barchart.h"
#include "platform/stripchart.h"

namespace kelp::analysis {
namespace {

template <class W>
W* child(const QObject* parent, const std::string& name) {
    W* w = parent->findChild<W*>(QString::fromStdString(name));
    if (!w) throw std::runtime_error("no control named " + name);
    return w;
}

// What the named boxes and labels show, joined by '|'.
std::string texts(const QObject* parent, const std::vector<std::string>& names) {
    QStringList out;
    for (const std::string& name : names) {
        const auto* w = child<QWidget>(parent, name);
        const auto* box = qobject_cast<const QLineEdit*>(w);
        out << (box ? box->text() : qobject_cast<const QLabel*>(w)->text());
    }
    return out.join('|').toStdString();
}

using F = BlockFigures;
// Both blocks' boxes with their captions and the figure they show; the histogram marks last.
struct BoxCase {
    std::string F::*figure;
    bool greys;  // the caption greys with its block
    const char *box, *label, *auxBox, *auxLabel;
};
// clang-format off
const BoxCase kBoxes[] = {
    {&F::VrefTextbox, false, "VrefTextbox", "Label8", "AuxVrefTextbox", "Label15"},
    {&F::ADCChanTextbox, true, "ADCChanTextbox", "Label7", "AuxADCChanTextbox", "Label16"},
    {&F::ADCRangeTextbox, true, "ADCRangeTextbox", "Label6", "AuxADCRangeTextbox", "Label17"},
    {&F::MinCodeTextbox, true, "MinCodeTextbox", "Label22", "AuxMinCodeTextbox", "Label29"},
    {&F::MaxCodeTextBox, false, "MaxCodeTextBox", "Label23", "AuxMaxCodeTextbox", "Label30"},
    {&F::PPNoiseCodesTextbox, true, "PPNoiseCodesTextbox", "Label21",
     "AuxPPNoiseCodesTextbox", "Label25"},
    {&F::RMSNoiseuVTextbox, true, "RMSNoiseuVTextbox", "Label27",
     "AuxRMSNoiseuVTextbox", "Label32"},
    {&F::RMSNoiseBitsTextbox, true, "RMSNoiseBitsTextbox", "Label28",
     "AuxRMSNoiseBitsTextbox", "Label33"},
    {&F::PPNoiseuVTextbox, true, "PPNoiseuVTextbox", "Label20", "AuxPPNoiseuVTextbox", "Label24"},
    {&F::PPNoiseBitsTextbox, true, "PPNoiseBitsTextbox", "Label26",
     "AuxPPNoiseBitsTextbox", "Label31"},
    {&F::MinCodeHistogramTextbox, false, "MinCodeHistogramTextbox", nullptr,
     "AuxMinCodeHistogramTextbox", nullptr},
    {&F::MidCodeHistogramTextbox, false, "MidCodeHistogramTextbox", nullptr,
     "AuxMidCodeHistogramTextbox", nullptr},
    {&F::MaxCodeHistogramTextbox, false, "MaxCodeHistogramTextbox", nullptr,
     "AuxMaxCodeHistogramTextbox", nullptr},
};
// clang-format on
constexpr int kCaptioned = 10;

struct Step {
    const char* name;
    const char* model;
    std::vector<int32_t> codes, raw, aux;  // an empty block is switched off
    const char* marks;                     // Star1, Star2, limitation shown
    int columns, auxColumns;
};

class SdAnalysisWindowTest : public ::testing::Test {
protected:
    // The run as it leaves its results: extremes of its own codes, chart scales around them.
    static SdAnalysisInput input(const Step& s) {
        SdAnalysisInput in{s.model, {s.codes, s.raw, s.aux}, {}};
        SdRunResults& r = in.results;
        r.SampleCount = static_cast<int>(std::max(s.codes.size(), s.aux.size()));
        SdRunSettings& t = in.settings;
        t = {"2.5", "3F", "19.7916666666667", true, "800", 1, true, 0, false, 0};
        t.PrimaryADCButton = !s.codes.empty(), t.PrimaryInputRange = 7;
        t.PrimaryInputRangeText = "+/- 2.56V", t.PrimaryInputChannel = "AIN1-AIN2";
        t.AuxillaryADCButton = !s.aux.empty(), t.AuxInputChannel = "AIN3", t.AuxInputRange = "2.5";
        if (t.PrimaryADCButton) {
            r.PrimaryMinCode = std::ranges::min(s.codes);
            r.PrimaryMaxCode = std::ranges::max(s.codes);
            t.Graph = {r.PrimaryMaxCode + 1.0, r.PrimaryMinCode - 1.0, "max", "mid", "min"};
        }
        if (t.AuxillaryADCButton) {
            r.AuxMinCode = std::ranges::min(s.aux), r.AuxMaxCode = std::ranges::max(s.aux);
            t.AuxGraph = {r.AuxMaxCode + 2.0, r.AuxMinCode - 2.0, "aMax", "aMid", "aMin"};
        }
        return in;
    }

    bool shown(const char* name) const {
        return child<QWidget>(&window, name)->isVisibleTo(&window);
    }

    void expectBlock(bool aux, const BlockFigures& f, const SdAnalysisInput& in, int columns) {
        SCOPED_TRACE(aux ? "auxiliary" : "primary");
        const bool on = aux ? in.settings.AuxillaryADCButton : in.settings.PrimaryADCButton;
        for (int i = 0; i < std::ssize(kBoxes); ++i) {
            const BoxCase& b = kBoxes[i];
            auto* box = child<QLineEdit>(&window, aux ? b.auxBox : b.box);
            EXPECT_EQ(box->text().toStdString(), f.*b.figure) << b.box;
            if (i >= kCaptioned) continue;
            EXPECT_EQ(box->isEnabled(), on) << b.box;
            EXPECT_EQ(child<QLabel>(&window, aux ? b.auxLabel : b.label)->isEnabled(),
                      on || !b.greys)
                << b.box;
        }
        EXPECT_TRUE(child<QGroupBox>(&window, aux ? "Frame1" : "PrimaryADC")->isEnabled());

        const std::string prefix = aux ? "Aux" : "";
        auto* histogram = child<platform::BarChart>(&window, prefix + "Histogram");
        auto* graph = child<platform::StripChart>(&window, prefix + "Graph");
        const ChartCopy& copy = aux ? in.settings.AuxGraph : in.settings.Graph;
        for (int i = 1; i <= 50; ++i)
            EXPECT_EQ(histogram->value(i), on ? f.histogram.histogram.slot(i) : 0) << i;
        EXPECT_EQ(texts(&window, {prefix + "GraphMaxLabel", prefix + "GraphMinLabel"}),
                  copy.maxLabel + "|" + copy.minLabel);
        if (!on) {
            EXPECT_EQ(graph->pointCount(), 0);
            return;
        }
        ASSERT_EQ(histogram->columnCount(), columns);
        for (int i = 1; i <= columns; ++i) EXPECT_EQ(histogram->columnColor(i), QColor(255, 0, 0));
        EXPECT_EQ(histogram->rowLabel(), QString());
        ASSERT_EQ(graph->pointCount(), in.results.SampleCount);
        const auto& codes = aux ? in.results.AuxCodeBuffer : in.results.PrimaryCodeBuffer;
        EXPECT_EQ(graph->points().last().y(), codes.back());
        EXPECT_EQ(graph->extent(), in.results.SampleCount);
        EXPECT_EQ(graph->upperBound(), copy.upperBound);
        EXPECT_EQ(graph->lowerBound(), copy.lowerBound);
    }

    SdAnalysisWindow window{"Zylo540"};
};

TEST_F(SdAnalysisWindowTest, ControlsCaptionsAndDesignTexts) {
    EXPECT_EQ(window.objectName(), "SD_KELP_Analysis");
    EXPECT_EQ(window.windowTitle(), "KELP - Zylo540 - ADC Noise Analysis");
    std::vector<std::string> boxes[2], labels[2], marks[2];
    for (int i = 0; i < std::ssize(kBoxes); ++i) {
        const BoxCase& b = kBoxes[i];
        (i < kCaptioned ? boxes : marks)[0].push_back(b.box);
        (i < kCaptioned ? boxes : marks)[1].push_back(b.auxBox);
        if (i >= kCaptioned) continue;
        labels[0].push_back(b.label), labels[1].push_back(b.auxLabel);
        EXPECT_EQ(child<QLabel>(&window, b.label)->buddy(), child<QWidget>(&window, b.box));
        EXPECT_EQ(child<QLabel>(&window, b.auxLabel)->buddy(), child<QWidget>(&window, b.auxBox));
        EXPECT_TRUE(child<QLineEdit>(&window, b.box)->isReadOnly());
    }
    const std::string captions[2] = {"|RMS Res (Bits)|Pk-PK Noise (uV)|Pk-PK Res (Bits)",
                                     "|RMS Noise (Bits)|Pk-PK Noise (uV)|Pk-PK Noise (Bits)"};
    for (int aux = 0; aux < 2; ++aux) {
        SCOPED_TRACE(aux);
        EXPECT_EQ(texts(&window, boxes[aux]),
                  "External|AIN2 - AIN2|0 to 2.56|7FFFF0|800010||0.73|21.7|4.88|");
        EXPECT_EQ(texts(&window, labels[aux]),
                  "ADC Reference|Input Channel|Input Range|Min Code (Hex)|Max Code (Hex)|"
                  "Pk-Pk Noise Codes|RMS Noise (uV)" +
                      captions[aux]);
        EXPECT_EQ(texts(&window, marks[aux]), "7FFE00H|800000H|800100H");
        const std::string p = aux ? "Aux" : "";
        EXPECT_EQ(texts(&window, {p + "GraphMaxLabel", p + "GraphMidLabel", p + "GraphMinLabel"}),
                  "800100H|800000H|7FFE00H");
    }
    EXPECT_EQ(texts(&window, {"Text6", "Text5", "Text7", "Text8", "Text13"}),
              "19.79||200uA (pin 3)|200uA (pin 4)|0.625V (pin 12)");
    EXPECT_EQ(texts(&window, {"Label1", "Label10", "Label13", "Label18", "Label19"}),
              "Update Rate (Hz)|SF (Hex)|IEXC1|IEXC2|DAC");
    std::string titles;
    for (const char* frame : {"PrimaryADC", "Frame1", "Frame2", "Current"})
        titles += child<QGroupBox>(&window, frame)->title().toStdString() + "|";
    for (const char* chart : {"Histogram", "AuxHistogram"})
        titles += child<platform::BarChart>(&window, chart)->title().toStdString() + "|";
    EXPECT_EQ(titles,
              "Primary ADC|Auxiliary ADC|Update Rate|Analog Peripherals|Primary ADC Histogram|"
              "Auxiliary ADC Histogram|");
    EXPECT_EQ(texts(&window, {"Star1", "Star2", "limitation"}),
              "*|*|* limited only by the number of bits available from the ADC");
    EXPECT_FALSE(shown("Star1") || shown("Star2") || shown("limitation"));
    EXPECT_EQ(child<QPushButton>(&window, "ReturnButton")->text(), "Return to Aquistion Window");
}

// One window through a series of runs: what each run leaves behind is replaced or kept.
TEST_F(SdAnalysisWindowTest, EachAnalysisShowsItsFigures) {
    std::vector<int32_t> flat(20, 0x800000), wide;
    for (int i = 0; i < 20; ++i) wide.push_back(0x7FF0 + (i * 61) % 62);  // spread 61
    // clang-format off
    const Step steps[] = {
        // 24 - log2 3 is above 16 bits; the RMS over the raw results is not.
        {"Zylo530 spread 3", "Zylo530", {0x8000, 0x8003, 0x8001}, {0x800012, 0x800345, 0x800100},
         {0x7FF0, 0x7FF0 + 60, 0x8000}, "101", 4, 50},
        {"primary off keeps the marks", "Zylo540", {}, {}, {0x7FF0, 0x7FF5, 0x7FF1}, "101", 0, 6},
        {"Zylo540 spread 32", "Zylo540", {0x800000, 0x800020, 0x800011},
         {0x800000, 0x800020, 0x800011}, {}, "000", 33, 0},
        {"all equal, aux binned", "Zylo540", flat, flat, wide, "111", 1, 50},
    };
    // clang-format on
    for (const Step& s : steps) {
        SCOPED_TRACE(s.name);
        for (const char* h : {"Histogram", "AuxHistogram"})
            child<platform::BarChart>(&window, h)->setColumnColor(1, Qt::blue);
        const SdAnalysisInput in = input(s);
        const SdFigures f = ComputeSdFigures(in);
        window.AnalyseData(in);
        EXPECT_EQ(texts(&window, {"Text5", "Text6", "Text7", "Text8", "Text13"}),
                  f.Text5 + "|" + f.Text6 + "|" + f.Text7 + "|" + f.Text8 + "|" + f.Text13);
        EXPECT_EQ(
            std::string() + "01"[shown("Star1")] + "01"[shown("Star2")] + "01"[shown("limitation")],
            s.marks);
        expectBlock(false, f.primary, in, s.columns);
        expectBlock(true, f.aux, in, s.auxColumns);
    }
}

TEST_F(SdAnalysisWindowTest, ReturnButtonHides) {
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QTest::mouseClick(child<QPushButton>(&window, "ReturnButton"), Qt::LeftButton);
    EXPECT_TRUE(window.isHidden());
}

TEST_F(SdAnalysisWindowTest, ReadableAtAThousandBySevenHundredTwenty) {
    // The widest a run gives: full-scale spread, long channel names, a 15-digit update rate;
    // RMS 0 brings out a star and the note.
    SdAnalysisInput in = input({"long", "Zylo540", {0, 0xFFFFFF}, {5, 5}, {0, 0xFFFF}, "", 0, 0});
    in.settings.ConversionRate = "19.7874396135266";
    in.settings.PrimaryInputChannel = "AIN10-AINCOM", in.settings.AuxInputChannel = "Temp Sensor";
    window.AnalyseData(in);
    window.resize(1000, 720);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_LE(window.minimumSizeHint().width(), 1000);
    EXPECT_LE(window.minimumSizeHint().height(), 720);
    const auto at = [this](QWidget* w) { return QRect(w->mapTo(&window, QPoint()), w->size()); };
    for (QWidget* w : window.findChildren<QWidget*>()) {
        const auto* box = qobject_cast<QLineEdit*>(w);
        if (!w->isVisible() || !(box || qobject_cast<QLabel*>(w))) continue;
        const int needed = box ? w->fontMetrics().horizontalAdvance(box->text()) + 4
                               : w->minimumSizeHint().width();
        EXPECT_GE(w->width(), needed) << w->objectName().toStdString();
        EXPECT_TRUE(window.rect().contains(at(w))) << w->objectName().toStdString();
    }
    // Primary left, auxiliary right, each over its own charts; the stars beside their figures.
    const auto named = [&](const char* name) { return at(child<QWidget>(&window, name)); };
    EXPECT_LT(named("PrimaryADC").right(), named("Frame1").left());
    EXPECT_LT(named("Histogram").right(), named("Frame1").left());
    EXPECT_GT(named("Graph").top(), named("Histogram").bottom());
    EXPECT_GT(named("AuxHistogram").top(), named("Frame1").bottom());
    EXPECT_GE(named("AuxGraph").left(), named("Frame1").left());
    EXPECT_GE(std::min(named("Histogram").height(), named("AuxGraph").height()), 120);
    for (const auto& [star, box] :
         {std::pair{"Star1", "PPNoiseBitsTextbox"}, {"Star2", "RMSNoiseBitsTextbox"}}) {
        EXPECT_EQ(named(star).center().y(), named(box).center().y()) << star;
        EXPECT_GE(named(star).left(), named(box).right()) << star;
    }
}

}  // namespace
}  // namespace kelp::analysis
