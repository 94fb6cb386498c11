#include <gtest/gtest.h>

#include <QCheckBox>
#include <cmath>

#include "e2e/e2etools.h"

namespace kelp::testing {
namespace {

using Logged = std::vector<std::pair<std::string, int>>;

// One model of each group from Next to the analysis, against the board's own record of what
// arrived at which speed and of every code it sent.
TEST(EndToEndSigmaDelta, EachGroupRunsFromNextToTheAnalysis) {
    const struct {
        const char* model;
        bool aux;
        Logged dividers;           // as the board logged them
        int linkBaud;              // of the configuration and requests
        std::vector<long> prefix;  // of the configuration, before the register block
    } cases[] = {
        // First four: divider 0 once; bipolar, REFIN, channel 2, range 7, SF 45, chop on.
        {"Zylo560", false, {{"0", 57600}}, 57600, {0x43, 0x67, 0x20, 0x20, 0x45, 0x08, 0x12, 0, 0}},
        // 58X: divider 0, then 3 at the old speed; the firmware link then runs at 9600.
        {"Zylo580",
         true,
         {{"0", 57600}, {"3", 57600}},
         9600,
         {0x43, 0x07, 0x4F, 0x0F, 0x30, 0x45, 0x08, 0x02, 0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        Bench b(c.model);
        // Eight frames a second: the run's own speed is the frame receiver's bench; here every
        // frame must arrive, also in a sanitizer build that slows each frame's handling many times.
        ASSERT_TRUE(b.plug(c.model, {"--sd-rate", "8"}));
        b.next(c.model);
        ASSERT_NE(b.window(), nullptr);
        ASSERT_TRUE(b.sd());
        if (c.aux) b.control<QCheckBox>("AuxillaryADCButton")->setChecked(true);
        EXPECT_EQ(b.run(60), Texts{});
        EXPECT_FALSE(b.app->link().port().isOpen());
        EXPECT_EQ(loggedWithSpeed(b.log(), "DIVIDER "), c.dividers);
        const auto config = loggedWithSpeed(b.log(), "CONFIG ");
        ASSERT_EQ(config.size(), 1u);
        EXPECT_EQ(config[0].second, c.linkBaud);
        const std::vector<long> bytes = hexWords(config[0].first);
        ASSERT_EQ(bytes.size(), 27u);
        EXPECT_EQ(std::vector<long>(bytes.begin(), bytes.begin() + std::ssize(c.prefix)), c.prefix);
        EXPECT_EQ(loggedWithSpeed(b.log(), "REQUEST"), (Logged{{"", c.linkBaud}}));
        EXPECT_EQ(loggedWithSpeed(b.log(), "STOP"), (Logged{{"", c.linkBaud}}));
        EXPECT_TRUE(loggedWithSpeed(b.log(), "BAD").empty());

        // Every frame the board sent was stored, in order, and the figures are the board's.
        EXPECT_EQ(b.count(), 60);
        b.expectKept(60);  // the stream runs on until the stop byte arrives
        const std::vector<long> primary = b.logged(), aux = loggedCodes(b.log(), 1);
        for (size_t i = 0; c.aux && i < 60; ++i)
            ASSERT_EQ(b.state().sd.AuxCodeBuffer[i], aux.at(i)) << i;
        const auto [lo, hi] = std::minmax_element(primary.begin(), primary.begin() + 60);
        double mean = 0, squares = 0;
        for (size_t i = 0; i < 60; ++i) mean += static_cast<double>(primary[i]) / 60;
        for (size_t i = 0; i < 60; ++i) squares += std::pow(mean - primary[i], 2);
        // Bipolar over REFIN 2.5 V at range 7: 5.12 V full scale over 2^24 codes.
        const double rmsMicrovolts = std::sqrt(squares / 60) * 5.12 / 16777216 * 1e6;
        EXPECT_EQ(texts(b.analysis(), "PPNoiseCodesTextbox|RMSNoiseuVTextbox"),
                  std::to_string(*hi - *lo) + "|" +
                      QString::number(rmsMicrovolts, 'f', 3)
                          .remove(QRegularExpression("\\.?0+$"))
                          .toStdString());
        EXPECT_EQ(child<QWidget>(b.analysis(), "AuxMaxCodeTextbox")->isEnabled(), c.aux);
    }
}

}  // namespace
}  // namespace kelp::testing
