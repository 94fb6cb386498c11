#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <map>

#include "e2e/e2etools.h"
#include "platform/serialsettings.h"
#include "platform/stripchart.h"

namespace kelp::testing {
namespace {

// How often the stop byte reached the board at the firmware link's speed.
size_t stops(const fs::path& log) {
    size_t n = 0;
    for (const auto& [line, baud] : loggedWithSpeed(log, "STOP")) n += baud == 57600;
    return n;
}

TEST(EndToEndSarRun, FourThousandSamplesMatchTheBoard) {
    Bench s("sar");
    ASSERT_TRUE(s.plug("Zylo570"));
    s.next("Zylo570");
    ASSERT_NE(s.window(), nullptr);
    choose(s.control<QComboBox>("ADCChan"), 3);
    choose(s.control<QComboBox>("ConvTime"), 2);  // "Mclk /8 " on this model
    choose(s.control<QComboBox>("AcqTime"), 1);
    s.control<QCheckBox>("DAC0Button")->click();
    choose(s.control<QComboBox>("DAC0Range"), 1);
    s.control<QLineEdit>("DAC0Data")->setText("800");
    s.control<QLineEdit>("T0SFR")->setText("fc18");
    s.control<QLineEdit>("P3SFR")->setText("F0");
    EXPECT_EQ(s.run(4000), Texts{});

    EXPECT_FALSE(s.app->link().port().isOpen());
    EXPECT_EQ(platform::lineSettingsText(s.app->link().port().lineSettings()), "57600,N,8,1");
    // The configuration message, byte for byte, and every request, at the firmware link's
    // speed, not the loader's: the board hears nothing else.
    const auto config = loggedWithSpeed(s.log(), "CONFIG ");
    ASSERT_EQ(config.size(), 1u);
    EXPECT_EQ(hexWords(config[0].first),
              (std::vector<long>{0x43, 0xA4, 0x03, 0x00, 0x2D, 0x08, 0x00, 0x00, 0x00,
                                 0x00, 0x00, 0xFC, 0x18, 0x00, 0x00, 0x00, 0x00, 0x00,
                                 0x00, 0x00, 0x00, 0xFF, 0x01, 0x01, 0xFF, 0xF3}));
    EXPECT_EQ(config[0].second, 57600);
    const auto requests = loggedWithSpeed(s.log(), "REQUEST");
    EXPECT_EQ(requests, (std::vector<std::pair<std::string, int>>(40, {"", 57600})));
    EXPECT_TRUE(loggedWithSpeed(s.log(), "BAD").empty());
    EXPECT_EQ(stops(s.log()), 1u);

    // Every sample at its index, and the figures against our own count of the logged codes.
    ASSERT_EQ(s.logged().size(), 4000u);
    EXPECT_EQ(s.count(), 4000);
    s.expectKept(4000);
    const std::vector<long> codes = s.logged();
    const auto [lo, hi] = std::minmax_element(codes.begin(), codes.end());
    std::map<long, int> counts;
    for (long c : codes) ++counts[c];
    int peak = 0;
    for (const auto& [code, n] : counts) peak = std::max(peak, n);
    ASSERT_LE(*hi - *lo, 48) << "the board's noise should give an exact histogram";
    EXPECT_EQ(texts(s.analysis(),
                    "CodeDistributionTextbox|NumberMinCode|NumberMidCode|NumberMaxCode|ADCChan|"
                    "ConvTime"),
              std::to_string(*hi - *lo) + "|" + std::to_string(counts[*lo]) + "|" +
                  std::to_string(peak) + "|" + std::to_string(counts[*hi]) + "|ADC3|Mclk /8 ");
    EXPECT_EQ(texts(s.window(), "GraphMaxLabel|GraphMinLabel"),
              hexText(*hi + 1) + "|" + hexText(*lo - 1));
    EXPECT_EQ(s.control<platform::StripChart>("Graph")->pointCount(), 4000);
}

TEST(EndToEndSarRun, StopEndsTheRunAfterThePacketInFlight) {
    Bench s("sar-stop");
    ASSERT_TRUE(s.plug("Zylo570"));
    s.next("Zylo570");
    ASSERT_NE(s.window(), nullptr);
    QTimer::singleShot(400, s.window(), [&] { s.control<QPushButton>("StopButton")->click(); });
    EXPECT_EQ(s.run(10000), Texts{});
    EXPECT_GT(s.count(), 0);
    EXPECT_LT(s.count(), 2000);
    EXPECT_EQ(loggedWithSpeed(s.log(), "REQUEST").size(), static_cast<size_t>(s.count() / 100));
    EXPECT_EQ(stops(s.log()), 1u);
    s.expectKept(s.count());
}

TEST(EndToEndSarRun, RunWithoutHardwareThroughTheVirtualBoard) {
    Bench kelp("virtual", true);
    kelp.withImages();
    kelp.control<QComboBox>("VantorCombobox")->setCurrentText("Zylo520");
    kelp.control<QComboBox>("ComSelect")->setCurrentText("Virtual board");
    EXPECT_EQ(kelp.download(), Texts{});
    ASSERT_NE(kelp.window(), nullptr);
    EXPECT_EQ(kelp.window()->windowTitle(), "KELP - Zylo520");
    // The analysis window is made once: Return hides it, the next run shows it again.
    QWidget* first = nullptr;
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(kelp.run(1000), Texts{});
        EXPECT_EQ(kelp.count(), 1000);
        ASSERT_NE(kelp.analysis(), nullptr);
        if (!first) first = kelp.analysis();
        EXPECT_EQ(kelp.analysis(), first);
        EXPECT_TRUE(first->isVisible());
        child<QPushButton>(first, "ReturnButton")->click();
        EXPECT_FALSE(first->isVisible());
    }
}

}  // namespace
}  // namespace kelp::testing
