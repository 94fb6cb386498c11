#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <algorithm>
#include <map>
#include <sstream>

#include "analysis/saranalysiswindow.h"
#include "e2e/e2etools.h"
#include "platform/serialsettings.h"
#include "platform/stripchart.h"
#include "sar/sarwindow.h"

namespace kelp::testing {
namespace {

// Lines of the board's log that start with `tag`, without it.
std::vector<std::string> logged(const fs::path& log, const std::string& tag) {
    std::vector<std::string> out;
    for (const auto& l : boardLog(log))
        if (l.rfind(tag, 0) == 0) out.push_back(l.substr(tag.size()));
    return out;
}

// How often the stop byte reached the board at the firmware link's speed.
size_t stops(const fs::path& log) {
    size_t n = 0;
    for (const auto& [line, baud] : loggedWithSpeed(log, "STOP")) n += baud == 57600;
    return n;
}

std::vector<int> hexList(const std::string& text) {
    std::vector<int> out;
    std::istringstream in(text);
    for (std::string w; in >> w;) out.push_back(std::stoi(w, nullptr, 16));
    return out;
}

// KELP on a board whose SAR firmware runs, with SAR_KELP opened through Next.
struct SarSession {
    explicit SarSession(QStringList boardArgs, const char* model = "Zylo570")
        : dir(freshFolder(std::string("sar-") + model)),
          board(QStringList{"--model", model, "--log",
                            QString::fromStdString((dir / "board.log").string())} +
                boardArgs),
          kelp(board.device()) {
        kelp.control<QComboBox>("VantorCombobox")->setCurrentText(model);
        kelp.control<QPushButton>("NextButton")->click();
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
    template <class W>
    W* control(const char* name) const {
        return child<W>(window, name);
    }
    void run(const char* samples) {
        control<QComboBox>("NumSamples")->setEditText(samples);
        control<QPushButton>("RunButton")->click();
    }
    const shell::ProgramState& state() const { return kelp.app->state(); }

    fs::path dir;
    BoardProcess board;
    KelpOnBoard kelp;
    sar::SarWindow* window = nullptr;
};

TEST(EndToEndSarRun, FourThousandSamplesMatchTheBoard) {
    SarSession s({});
    ASSERT_NE(s.window, nullptr);
    choose(s.control<QComboBox>("ADCChan"), 3);
    choose(s.control<QComboBox>("ConvTime"), 2);  // "Mclk /8 " on this model
    choose(s.control<QComboBox>("AcqTime"), 1);
    s.control<QCheckBox>("DAC0Button")->click();
    choose(s.control<QComboBox>("DAC0Range"), 1);
    s.control<QLineEdit>("DAC0Data")->setText("800");
    s.control<QLineEdit>("T0SFR")->setText("fc18");
    s.control<QLineEdit>("P3SFR")->setText("F0");
    s.run("4000");

    EXPECT_EQ(s.kelp.messages.texts(), std::vector<std::string>{});
    EXPECT_FALSE(s.kelp.port().isOpen());
    EXPECT_EQ(platform::lineSettingsText(s.kelp.port().lineSettings()), "57600,N,8,1");

    // The configuration message, byte for byte.
    const auto config = logged(s.log(), "CONFIG ");
    ASSERT_EQ(config.size(), 1u);
    EXPECT_EQ(hexList(config[0]),
              (std::vector<int>{0x43, 0xA4, 0x03, 0x00, 0x2D, 0x08, 0x00, 0x00, 0x00,
                                0x00, 0x00, 0xFC, 0x18, 0x00, 0x00, 0x00, 0x00, 0x00,
                                0x00, 0x00, 0x00, 0xFF, 0x01, 0x01, 0xFF, 0xF3}));
    EXPECT_EQ(logged(s.log(), "REQUEST").size(), 40u);
    // The firmware link at its speed, not the loader's: the board hears nothing else.
    EXPECT_EQ(loggedWithSpeed(s.log(), "CONFIG ")[0].second, 57600);
    for (const auto& [line, baud] : loggedWithSpeed(s.log(), "REQUEST")) ASSERT_EQ(baud, 57600);
    EXPECT_TRUE(logged(s.log(), "BAD").empty());
    EXPECT_EQ(stops(s.log()), 1u);

    // Every sample at its index, and the figures against our own count of the logged codes.
    const std::vector<int> codes = s.codes();
    ASSERT_EQ(codes.size(), 4000u);
    EXPECT_EQ(s.state().run.SampleCount, 4000);
    for (size_t k = 0; k < codes.size(); ++k)
        ASSERT_EQ(s.state().sar.SampleBuffer[k + 1], codes[k]) << k;
    const int lo = *std::min_element(codes.begin(), codes.end());
    const int hi = *std::max_element(codes.begin(), codes.end());
    std::map<int, int> counts;
    for (int c : codes) ++counts[c];
    int peak = 0;
    for (const auto& [code, n] : counts) peak = std::max(peak, n);
    ASSERT_LE(hi - lo, 48) << "the board's noise should give an exact histogram";
    const auto hex = [](int v) { return QString::number(v, 16).toUpper().toStdString(); };

    auto* a = s.kelp.app->sarAnalysis();
    ASSERT_NE(a, nullptr);
    EXPECT_TRUE(a->isVisible());
    EXPECT_EQ(texts(a,
                    "MinCodeTextbox|MaxCodeTextBox|CodeDistributionTextbox|NumberMinCode|"
                    "NumberMidCode|NumberMaxCode|ADCChan|ConvTime"),
              hex(lo) + "|" + hex(hi) + "|" + std::to_string(hi - lo) + "|" +
                  std::to_string(counts[lo]) + "|" + std::to_string(peak) + "|" +
                  std::to_string(counts[hi]) + "|ADC3|Mclk /8 ");
    EXPECT_EQ(texts(s.window, "GraphMaxLabel|GraphMinLabel"), hex(hi + 1) + "|" + hex(lo - 1));
    EXPECT_EQ(s.control<platform::StripChart>("Graph")->pointCount(), 4000);
    EXPECT_TRUE(s.control<QPushButton>("RunButton")->isVisible());
    EXPECT_FALSE(s.control<QPushButton>("StopButton")->isVisible());
}

TEST(EndToEndSarRun, StopEndsTheRunAfterThePacketInFlight) {
    SarSession s({});
    ASSERT_NE(s.window, nullptr);
    QTimer::singleShot(400, s.window, [&] { s.control<QPushButton>("StopButton")->click(); });
    s.run("10000");
    const int count = s.state().run.SampleCount;
    EXPECT_GT(count, 0);
    EXPECT_LT(count, 2000);
    EXPECT_EQ(logged(s.log(), "REQUEST").size(), static_cast<size_t>(count / 100));
    EXPECT_EQ(stops(s.log()), 1u);
    ASSERT_NE(s.kelp.app->sarAnalysis(), nullptr);
    EXPECT_EQ(s.kelp.messages.texts(), std::vector<std::string>{});
}

TEST(EndToEndSarRun, ASilentTargetEndsTheRunWithAMessage) {
    SarSession s({"--fault", "silent-after:5"});
    ASSERT_NE(s.window, nullptr);
    s.run("4000");
    EXPECT_EQ(s.kelp.messages.texts(),
              std::vector<std::string>{"The target stopped answering after 500 samples.\r\nCheck "
                                       "that the board is powered and connected, then press Run "
                                       "again."});
    EXPECT_EQ(s.state().run.SampleCount, 500);
    EXPECT_EQ(stops(s.log()), 1u);
    ASSERT_NE(s.kelp.app->sarAnalysis(), nullptr);
    EXPECT_TRUE(s.kelp.app->sarAnalysis()->isVisible());
    EXPECT_FALSE(s.kelp.port().isOpen());
}

TEST(EndToEndSarRun, DamagedPacketsAreSkippedNotFatal) {
    struct Case {
        const char* fault;
        std::vector<size_t> skippedIndexes;  // SampleBuffer slots the run must leave alone
    };
    const Case cases[] = {
        {"garble:2:17", {118}},
        {"long-packet:3", {201, 250, 300}},
        {"sar-noise:2", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault);
        SarSession s({"--no-pacing", "--fault", c.fault});
        ASSERT_NE(s.window, nullptr);
        auto& buffer = s.kelp.app->state().sar.SampleBuffer;
        for (size_t i : c.skippedIndexes) buffer[i] = -7;
        s.run("1000");
        EXPECT_EQ(s.kelp.messages.texts(), std::vector<std::string>{});
        EXPECT_EQ(s.state().run.SampleCount, 1000);
        for (size_t i : c.skippedIndexes) EXPECT_EQ(buffer[i], -7) << i;
        // The packets the fault did not touch arrive whole.
        const auto codes = s.codes();
        ASSERT_EQ(codes.size(), 1000u);
        for (size_t k = 500; k < 1000; ++k) ASSERT_EQ(buffer[k + 1], codes[k]) << k;
        ASSERT_NE(s.kelp.app->sarAnalysis(), nullptr);
    }
}

TEST(EndToEndSarRun, RunWithoutHardwareThroughTheVirtualBoard) {
    KelpOnBoard kelp("/dev/null-kelp", true);
    kelp.control<QComboBox>("VantorCombobox")->setCurrentText("Zylo520");
    kelp.control<QComboBox>("ComSelect")->setCurrentIndex(5);
    kelp.control<QPushButton>("DownloadButton")->click();
    auto* w = qobject_cast<sar::SarWindow*>(kelp.app->evaluationWindow());
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->windowTitle(), "KELP - Zylo520");
    child<QComboBox>(w, "NumSamples")->setEditText("1000");
    // The analysis window is made once: Return hides it, the next run shows it again.
    analysis::SarAnalysisWindow* first = nullptr;
    for (int run = 0; run < 2; ++run) {
        child<QPushButton>(w, "RunButton")->click();
        EXPECT_EQ(kelp.messages.texts(), std::vector<std::string>{});
        EXPECT_EQ(kelp.app->state().run.SampleCount, 1000);
        ASSERT_NE(kelp.app->sarAnalysis(), nullptr);
        if (!first) first = kelp.app->sarAnalysis();
        EXPECT_EQ(kelp.app->sarAnalysis(), first);
        EXPECT_TRUE(first->isVisible());
        child<QPushButton>(first, "ReturnButton")->click();
        EXPECT_FALSE(first->isVisible());
    }
}

}  // namespace
}  // namespace kelp::testing
