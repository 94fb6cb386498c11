#include "loader/serialloader.h"

#include <gtest/gtest.h>

#include <functional>

#include "link/link.h"
#include "loader/download.h"
#include "loader/frames.h"
#include "loader/tempfile.h"
#include "platform/progress.h"
#include "support/fakes.h"

namespace kelp::loader {
namespace {

std::string bytes(std::initializer_list<int> values) { return {values.begin(), values.end()}; }

TEST(LoaderFrames, EveryRequestOnTheWire) {
    EXPECT_EQ(kResetSequence, bytes({0x21, 0x5A, 0x00, 0xA6}));
    EXPECT_EQ(eraseFrame(), bytes({0x07, 0x0E, 0x01, 0x43, 0xBC}));
    EXPECT_EQ(runFrame(), bytes({0x07, 0x0E, 0x04, 0x55, 0x00, 0x00, 0x00, 0xA7}));
    EXPECT_EQ(writeFrameFromLine(":0100ff00aa56"),
              bytes({0x07, 0x0E, 0x05, 0x57, 0x00, 0x00, 0xFF, 0xAA, 0xFB}));
    EXPECT_EQ(writeFrameFromLine(":101FF000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF1"),
              bytes({0x07, 0x0E, 0x14, 0x57, 0x00, 0x1F, 0xF0}) + std::string(16, '\xFF') +
                  bytes({0x96}));
    // 252 data bytes do not fit the length byte.
    EXPECT_FALSE(writeFrameFromLine(":FC000000" + std::string(2 * 252, 'A') + "00"));
}

class LoaderTest : public ::testing::Test, public platform::ProgressIndicator {
protected:
    LoaderTest() { world.port.open(); }
    void setVisible(bool v) override { progressShown = v; }
    void setRange(int lo, int hi) override { progressRange = {lo, hi}; }
    void setValue(int v) override { progressValues.push_back(v); }
    // Answers every block written with `answer`, 5 ms later.
    void answerEach(std::function<std::string(const std::string&)> answer) {
        world.port.onWrite = [this, answer](const std::string& block) {
            if (const std::string a = answer(block); !a.empty()) world.deliverAfter(5, a);
        };
    }
    // An image of `records` data lines, the end record and maybe an empty line after it.
    static std::string image(int records, const char* after = "") {
        std::string s;
        for (int i = 0; i < records; ++i) s += ":0300000002003BC0\r\n";
        return s + ":00000001FF\r\n" + after;
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    LoaderState state;
    SerialLoader loader{link, state, *this};
    bool progressShown = false;
    std::pair<int, int> progressRange{-1, -1};
    std::vector<int> progressValues;
};

TEST_F(LoaderTest, ResetKeepsReplyAndModelOnlyWhenItSucceeds) {
    answerEach([](const std::string&) { return std::string(26, 'Z'); });  // one byte too many
    state.LoaderReply = "previous reply";
    EXPECT_FALSE(loader.ResetDevice());
    EXPECT_EQ(state.LoaderReply, "previous reply");

    answerEach([](const std::string&) { return "Zylo572 LDR214 ident\r\n..."; });
    world.port.input = "stale";
    ASSERT_TRUE(loader.ResetDevice());
    EXPECT_EQ(link.TxBuffer, kResetSequence);
    EXPECT_EQ(world.port.writes.back(), kResetSequence);
    EXPECT_EQ(state.LoaderReply, "Zylo572 LDR214");
    EXPECT_EQ(state.ModelName, "Zylo572");
}

TEST_F(LoaderTest, EraseAndRunNeedTheirOneAcknowledge) {
    const std::pair<const char*, bool> cases[] = {
        {"\x06", true}, {"\x07", false}, {"", false}, {"\x06\x06", false}};
    for (const auto& [answer, ok] : cases) {
        answerEach([answer = std::string(answer)](const std::string&) { return answer; });
        world.port.input = "\x07";  // a late answer from before: discarded first
        EXPECT_EQ(loader.EraseCode(), ok) << int(answer[0]);
        EXPECT_EQ(world.port.writes.back(), eraseFrame());
        world.port.input = "\x07";
        EXPECT_EQ(loader.RunCode(), ok) << int(answer[0]);
        EXPECT_EQ(world.port.writes.back(), runFrame());
    }
}

TEST_F(LoaderTest, TransferSendsAllButTheLastLineAndStopsAtTheFirstRefusal) {
    const struct {
        std::string image;
        int refused;  // record answered 05, counted from 1; 0 for none
        int sent, lastValue;
    } cases[] = {{image(5, "\r\n"), 0, 5, 6},  // seven lines, the empty last one included
                 {image(6), 3, 3, 6}};
    for (const auto& c : cases) {
        testing::TempFile f(c.image);
        int sent = 0;
        answerEach([&](const std::string&) { return ++sent == c.refused ? "\x05" : "\x06"; });
        progressValues.clear();
        state.DownloadOk = true;
        EXPECT_EQ(loader.DownloadCode(f.path()), c.refused == 0);
        EXPECT_EQ(sent, c.sent);
        EXPECT_EQ(world.port.writes.back(), *writeFrameFromLine(":0300000002003BC0"));
        EXPECT_EQ(progressRange, std::pair(0, c.lastValue));
        EXPECT_EQ(progressValues.size(), size_t(c.lastValue + 1));
        EXPECT_EQ(progressValues.back(), c.lastValue);
        EXPECT_FALSE(progressShown);
    }
}

TEST_F(LoaderTest, ClosingTheProgramMidTransferFailsTheDownload) {
    testing::TempFile f(image(20));
    world.port.close();
    answerEach([](const std::string& block) {
        return block == kResetSequence ? "Zylo570" + std::string(18, '1') : "\x06";
    });
    world.actAt(40, [this] { world.events.closing_ = true; });  // at about record 6
    DownloadHooks hooks;
    hooks.imageFor = [&](const std::string&) { return f.path(); };
    const DownloadResult r = RunDownload(link, state, *this, hooks);
    EXPECT_TRUE(r.closing && !r.ok());
    EXPECT_EQ(r.reached, DownloadStep::Transfer);
    EXPECT_LT(world.port.writes.size(), 12u);
    EXPECT_FALSE(world.port.isOpen());
}

}  // namespace
}  // namespace kelp::loader
