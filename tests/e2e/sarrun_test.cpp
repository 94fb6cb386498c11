#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <algorithm>
#include <map>

#include "analysis/saranalysiswindow.h"
#include "e2e/e2etools.h"
#include "link/registerpanel.h"
#include "platform/serialport.h"
#include "platform/stripchart.h"
#include "sar/sarwindow.h"

namespace kelp::testing {
namespace {

// Lines of the board's log that start with `tag`, without it.
std::vector<std::string> logged(const fs::path& log, const std::string& tag) {
    std::vector<std::string> out;
    for (const auto& l : readLines(log))
        if (l.rfind(tag, 0) == 0) out.push_back(l.substr(tag.size()));
    return out;
}

std::vector<int> hexList(const std::string& text) {
    std::vector<int> out;
    std::istringstream in(text);
    for (std::string w; in >> w;) out.push_back(std::stoi(w, nullptr, 16));
    return out;
}

std::string hex(int v) {
    char b[16];
    std::snprintf(b, sizeof b, "%X", v);
    return b;
}

// KELP on a board whose SAR firmware runs, with SAR_KELP opened through Next.
struct SarSession {
    explicit SarSession(QStringList boardArgs, const char* model = "Zylo570")
        : dir(freshFolder(std::string("sar-") + model)),
          board(QStringList{"--model", model, "--log",
                            QString::fromStdString((dir / "board.log").string())} +
                boardArgs),
          kelp(board.device()) {
        auto* main = kelp.app->mainWindow();
        main->VantorCombobox->setCurrentText(model);
        main->NextButton->click();
        window = qobject_cast<sar::SarWindow*>(kelp.app->evaluationWindow());
    }
    ~SarSession() { fs::remove_all(dir); }
    fs::path log() const { return dir / "board.log"; }
    std::vector<int> codes() const {
        std::vector<int> all;
        for (const auto& line : logged(log(), "CODES ")) {
            const auto c = hexList(line);
            all.insert(all.end(), c.begin(), c.end());
        }
        return all;
    }

    fs::path dir;
    BoardProcess board;
    KelpOnBoard kelp;
    sar::SarWindow* window = nullptr;
};

TEST(EndToEndSarRun, FourThousandSamplesMatchTheBoard) {
    SarSession s({});
    ASSERT_NE(s.window, nullptr);
    auto* w = s.window;
    w->ADCChan->setCurrentIndex(3);
    w->ConvTime->setCurrentIndex(2);  // "Mclk /8 " on this model
    w->AcqTime->setCurrentIndex(1);
    w->DAC0Button->click();
    w->DAC0Range->setCurrentIndex(1);
    w->DAC0Data->setText("800");
    w->DigitalFrame->T0SFR->setText("fc18");
    w->DigitalFrame->P3SFR->setText("F0");
    ASSERT_EQ(w->NumSamples->currentText(), "4000");

    w->RunButton->click();

    EXPECT_TRUE(s.kelp.messages.messages.empty()) << s.kelp.messages.texts().front();
    EXPECT_FALSE(s.kelp.app->devices().MSComm1.isOpen());
    EXPECT_EQ(s.kelp.app->devices().MSComm1.settings(), "57600,N,8,1");

    // The configuration message, byte for byte.
    const auto config = logged(s.log(), "CONFIG ");
    ASSERT_EQ(config.size(), 1u);
    const std::vector<int> expected = {0x43, 0xA4, 0x03, 0x00, 0x2D, 0x08, 0x00, 0x00, 0x00,
                                       0x00, 0x00, 0xFC, 0x18, 0x00, 0x00, 0x00, 0x00, 0x00,
                                       0x00, 0x00, 0x00, 0xFF, 0x01, 0x01, 0xFF, 0xF3};
    EXPECT_EQ(hexList(config[0]), expected);
    EXPECT_EQ(logged(s.log(), "REQUEST").size(), 40u);
    EXPECT_EQ(logged(s.log(), "STOP").size(), 1u);

    // Every sample at its index, and the figures against our own count of the logged codes.
    const std::vector<int> codes = s.codes();
    ASSERT_EQ(codes.size(), 4000u);
    const auto& state = s.kelp.app->state();
    EXPECT_EQ(state.SampleCount, 4000);
    for (size_t k = 0; k < codes.size(); ++k) ASSERT_EQ(state.SampleBuffer[k + 1], codes[k]) << k;
    const int lo = *std::min_element(codes.begin(), codes.end());
    const int hi = *std::max_element(codes.begin(), codes.end());
    std::map<int, int> counts;
    for (int c : codes) ++counts[c];
    int peak = 0;
    for (const auto& [code, n] : counts) peak = std::max(peak, n);
    ASSERT_LE(hi - lo, 48) << "the board's noise should give an exact histogram";

    auto* a = w->analysisWindow();
    ASSERT_NE(a, nullptr);
    EXPECT_TRUE(a->isVisible());
    EXPECT_EQ(a->windowTitle(), "KELP - Zylo570 - ADC Noise Analysis");
    EXPECT_EQ(a->MinCodeTextbox->text().toStdString(), hex(lo));
    EXPECT_EQ(a->MaxCodeTextBox->text().toStdString(), hex(hi));
    EXPECT_EQ(a->CodeDistributionTextbox->text().toInt(), hi - lo);
    EXPECT_EQ(a->NumberMinCode->text().toInt(), counts[lo]);
    EXPECT_EQ(a->NumberMaxCode->text().toInt(), counts[hi]);
    EXPECT_EQ(a->NumberMidCode->text().toInt(), peak);
    EXPECT_EQ(a->MinCodeHistogramTextbox->text().toStdString(), hex(lo));
    EXPECT_EQ(a->MaxCodeHistogramTextbox->text().toStdString(), hex(hi));
    EXPECT_EQ(a->ADCChan->text(), "ADC3");
    EXPECT_EQ(a->ConvTime->text(), "Mclk /8 ");
    EXPECT_EQ(w->GraphMaxLabel->text().toStdString(), hex(hi + 1));
    EXPECT_EQ(w->GraphMinLabel->text().toStdString(), hex(lo - 1));
    EXPECT_EQ(w->Graph->pointCount(), 4000);
    EXPECT_TRUE(w->RunButton->isVisible());
    EXPECT_FALSE(w->StopButton->isVisible());
}

TEST(EndToEndSarRun, StopEndsTheRunAfterThePacketInFlight) {
    SarSession s({});
    ASSERT_NE(s.window, nullptr);
    s.window->NumSamples->setCurrentText("10000");
    QTimer::singleShot(400, s.window, [&] { s.window->StopButton->click(); });
    s.window->RunButton->click();
    const auto& state = s.kelp.app->state();
    EXPECT_GT(state.SampleCount, 0);
    EXPECT_LT(state.SampleCount, 2000);
    EXPECT_EQ(state.SampleCount % 100, 0);
    EXPECT_EQ(logged(s.log(), "REQUEST").size(), static_cast<size_t>(state.SampleCount / 100));
    EXPECT_EQ(logged(s.log(), "STOP").size(), 1u);
    ASSERT_NE(s.window->analysisWindow(), nullptr);
    EXPECT_EQ(s.window->analysisWindow()->CodeDistributionTextbox->text().isEmpty(), false);
    EXPECT_TRUE(s.kelp.messages.messages.empty());
}

TEST(EndToEndSarRun, ASilentTargetEndsTheRunWithAMessage) {
    SarSession s({"--fault", "silent-after:5"});
    ASSERT_NE(s.window, nullptr);
    s.window->RunButton->click();
    ASSERT_EQ(s.kelp.messages.messages.size(), 1u);
    EXPECT_NE(s.kelp.messages.messages[0].text.find("stopped answering after 500 samples"),
              std::string::npos)
        << s.kelp.messages.messages[0].text;
    EXPECT_EQ(s.kelp.app->state().SampleCount, 500);
    EXPECT_EQ(logged(s.log(), "STOP").size(), 1u);
    ASSERT_NE(s.window->analysisWindow(), nullptr);
    EXPECT_TRUE(s.window->analysisWindow()->isVisible());
    EXPECT_FALSE(s.kelp.app->devices().MSComm1.isOpen());
}

TEST(EndToEndSarRun, DamagedPacketsAreSkippedNotFatal) {
    struct Case {
        const char* fault;
        std::vector<int> skippedIndexes;  // SampleBuffer slots the run must leave alone
    };
    const Case cases[] = {
        {"garble:2:17", {118}},
        {"long-packet:3", {201, 250, 300}},
        {"sar-noise:2", {}},
    };
    for (const auto& c : cases) {
        SarSession s({"--no-pacing", "--fault", c.fault});
        ASSERT_NE(s.window, nullptr) << c.fault;
        auto& state = s.kelp.app->state();
        for (int i : c.skippedIndexes) state.SampleBuffer[static_cast<size_t>(i)] = -7;
        s.window->NumSamples->setCurrentText("1000");
        s.window->RunButton->click();
        EXPECT_TRUE(s.kelp.messages.messages.empty()) << c.fault;
        EXPECT_EQ(state.SampleCount, 1000) << c.fault;
        for (int i : c.skippedIndexes)
            EXPECT_EQ(state.SampleBuffer[static_cast<size_t>(i)], -7) << c.fault << " " << i;
        // The packets the fault did not touch arrive whole.
        const auto codes = s.codes();
        ASSERT_EQ(codes.size(), 1000u) << c.fault;
        for (size_t k = 500; k < 1000; ++k)
            ASSERT_EQ(state.SampleBuffer[k + 1], codes[k]) << c.fault;
        ASSERT_NE(s.window->analysisWindow(), nullptr) << c.fault;
    }
}

TEST(EndToEndSarRun, RunWithoutHardwareThroughTheVirtualBoard) {
    KelpOnBoard kelp("/dev/null-kelp", true);
    auto* main = kelp.app->mainWindow();
    main->VantorCombobox->setCurrentText("Zylo520");
    main->ComSelect->setCurrentIndex(5);
    main->DownloadButton->click();
    auto* w = qobject_cast<sar::SarWindow*>(kelp.app->evaluationWindow());
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->windowTitle(), "KELP - Zylo520");
    w->NumSamples->setCurrentText("1000");
    w->RunButton->click();
    EXPECT_TRUE(kelp.messages.messages.empty()) << kelp.messages.texts().front();
    EXPECT_EQ(kelp.app->state().SampleCount, 1000);
    ASSERT_NE(w->analysisWindow(), nullptr);
    EXPECT_TRUE(w->analysisWindow()->isVisible());
}

}  // namespace
}  // namespace kelp::testing
