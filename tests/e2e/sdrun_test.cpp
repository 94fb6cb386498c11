#include <gtest/gtest.h>

#include <QCheckBox>
#include <QPushButton>
#include <QThread>
#include <algorithm>
#include <cmath>
#include <sstream>

#include "analysis/sdanalysiswindow.h"
#include "e2e/e2etools.h"
#include "link/foldingframe.h"
#include "shell/programstate.h"

namespace kelp::testing {
namespace {

struct GroupCase {
    const char* model;
    bool aux;
    std::vector<std::pair<std::string, int>> dividers;  // as the board logged them
    int linkBaud;                                       // of the configuration and requests
    size_t configPrefix;                                // bytes before the register block
    std::vector<int> prefix;
};

std::vector<int> hexBytes(const std::string& text) {
    std::vector<int> out;
    std::istringstream in(text);
    for (std::string w; in >> w;) out.push_back(std::stoi(w, nullptr, 16));
    return out;
}

// One model of each group from Next to the analysis, against the board's own record of what
// arrived at which speed and of every code it sent.
TEST(EndToEndSigmaDelta, EachGroupRunsFromNextToTheAnalysis) {
    const GroupCase cases[] = {
        // First four: divider 0 once; bipolar, REFIN, channel 2, range 7, SF 45, chop on.
        {"Zylo560",
         false,
         {{"0", 57600}},
         57600,
         9,
         {0x43, 0x67, 0x20, 0x20, 0x45, 0x08, 0x12, 0, 0}},
        // 58X: divider 0, then 3 at the old speed; the firmware link then runs at 9600.
        {"Zylo580",
         true,
         {{"0", 57600}, {"3", 57600}},
         9600,
         10,
         {0x43, 0x07, 0x4F, 0x0F, 0x30, 0x45, 0x08, 0x02, 0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        const fs::path dir = freshFolder(c.model);
        const fs::path log = dir / "board.log";
        // Eight frames a second: the run's own speed is the frame receiver's bench; here every
        // frame must arrive, also in a sanitizer build that slows each frame's handling many times.
        BoardProcess board(
            {"--model", c.model, "--sd-rate", "8", "--log", QString::fromStdString(log.string())});
        ASSERT_FALSE(board.device().empty()) << board.errorOutput();
        KelpOnBoard kelp(board.device());
        kelp.control<QComboBox>("VantorCombobox")->setCurrentText(c.model);
        kelp.control<QPushButton>("NextButton")->click();
        QMainWindow* w = kelp.app->evaluationWindow();
        ASSERT_NE(w, nullptr);
        ASSERT_EQ(w->objectName(), "SD_KELP");
        if (c.aux) child<QCheckBox>(w, "AuxillaryADCButton")->setChecked(true);
        // The board reads a divider command at the line's speed of the moment it reads it; on
        // a pseudo-terminal a run that changes the speed at once (as no user clicks) could
        // turn a command still unread into garbage, so wait until the set-up's last one is in.
        for (int waited = 0; waited < 3000; waited += 5) {
            const auto sent = loggedWithSpeed(log, "DIVIDER ");
            if (sent.size() >= c.dividers.size()) break;
            QThread::msleep(5);
        }
        child<QComboBox>(w, "NumSamples")->setEditText("120");
        child<QPushButton>(w, "RunButton")->click();

        EXPECT_EQ(kelp.messages.texts(), std::vector<std::string>{});
        EXPECT_FALSE(kelp.port().isOpen());
        EXPECT_EQ(loggedWithSpeed(log, "DIVIDER "), c.dividers);
        const auto config = loggedWithSpeed(log, "CONFIG ");
        ASSERT_EQ(config.size(), 1u);
        EXPECT_EQ(config[0].second, c.linkBaud);
        const std::vector<int> bytes = hexBytes(config[0].first);
        ASSERT_EQ(bytes.size(), 27u);
        EXPECT_EQ(std::vector<int>(bytes.begin(), bytes.begin() + c.configPrefix), c.prefix);
        EXPECT_EQ(loggedWithSpeed(log, "REQUEST"),
                  (std::vector<std::pair<std::string, int>>{{"", c.linkBaud}}));
        EXPECT_EQ(loggedWithSpeed(log, "STOP"),
                  (std::vector<std::pair<std::string, int>>{{"", c.linkBaud}}));
        EXPECT_TRUE(loggedWithSpeed(log, "BAD").empty());

        // Every frame the board sent was stored, in order, and the figures are the board's.
        std::vector<long> primary, aux;
        for (const auto& [codes, baud] : loggedWithSpeed(log, "CODES ")) {
            std::istringstream in(codes);
            std::string p, a;
            in >> p >> a;
            primary.push_back(std::stol(p, nullptr, 16));
            if (a != "-") aux.push_back(std::stol(a, nullptr, 16));
        }
        const shell::ProgramState& st = kelp.app->state();
        ASSERT_GE(primary.size(), 120u);  // the stream runs on until the stop byte arrives
        EXPECT_EQ(st.run.SampleCount, 120);
        for (size_t i = 0; i < 120; ++i) ASSERT_EQ(st.sd.PrimaryCodeBuffer[i], primary[i]) << i;
        for (size_t i = 0; c.aux && i < 120; ++i) ASSERT_EQ(st.sd.AuxCodeBuffer[i], aux[i]) << i;

        const auto [lo, hi] = std::minmax_element(primary.begin(), primary.begin() + 120);
        double mean = 0, squares = 0;
        for (size_t i = 0; i < 120; ++i) mean += static_cast<double>(primary[i]) / 120;
        for (size_t i = 0; i < 120; ++i) squares += std::pow(mean - primary[i], 2);
        // Bipolar over REFIN 2.5 V at range 7: 5.12 V full scale over 2^24 codes.
        const double rmsMicrovolts = std::sqrt(squares / 120) * 5.12 / 16777216 * 1e6;
        char rms[32];
        std::snprintf(rms, sizeof rms, "%.3f", rmsMicrovolts);
        auto* a = kelp.app->sdAnalysis();
        ASSERT_NE(a, nullptr);
        const auto hex = [](long v) { return QString::number(v, 16).toUpper().toStdString(); };
        std::string rmsText = rms;
        while (rmsText.back() == '0') rmsText.pop_back();
        if (rmsText.back() == '.') rmsText.pop_back();
        EXPECT_EQ(texts(a, "MinCodeTextbox|MaxCodeTextBox|PPNoiseCodesTextbox|RMSNoiseuVTextbox"),
                  hex(*lo) + "|" + hex(*hi) + "|" + std::to_string(*hi - *lo) + "|" + rmsText);
        EXPECT_EQ(child<QWidget>(a, "AuxMaxCodeTextbox")->isEnabled(), c.aux);
        fs::remove_all(dir);
    }
}

}  // namespace
}  // namespace kelp::testing
