#include "loader/serialloader.h"

#include <gtest/gtest.h>

#include "loader/frames.h"
#include "loader/tempfile.h"
#include "platform/progress.h"
#include "link/link.h"
#include "loader/download.h"
#include "support/fakes.h"

namespace kelp::loader {
namespace {

class RecordingProgress final : public platform::ProgressIndicator {
public:
    void setVisible(bool v) override { visible = v; }
    void setRange(int lo, int hi) override {
        minimum = lo;
        maximum = hi;
    }
    void setValue(int v) override { values.push_back(v); }
    bool visible = false;
    int minimum = -1, maximum = -1;
    std::vector<int> values;
};

class LoaderTest : public ::testing::Test {
protected:
    LoaderTest() {
        world.port.open();
    }
    // Answers every block written with `answer` after `delay` ms.
    void answerEach(std::function<std::string(const std::string&)> answer, double delay = 5) {
        world.port.onWrite = [this, answer, delay](const std::string& block) {
            const std::string a = answer(block);
            if (!a.empty()) world.deliverAfter(delay, a);
        };
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    LoaderState state;
    RecordingProgress progress;
    SerialLoader loader{link, state, progress};
};

TEST_F(LoaderTest, WaitForBytesNeedsExactlyTheCount) {
    struct Case {
        const char* name;
        std::vector<std::pair<double, std::string>> arrivals;
        int count;
        bool result;
        double endsAt;
    };
    const Case cases[] = {
        {"exact count early", {{20, std::string(25, 'x')}}, 25, true, 20},
        {"in two pieces", {{10, std::string(20, 'x')}, {30, std::string(5, 'x')}}, 25, true, 30},
        {"too many at once", {{10, std::string(30, 'x')}}, 25, false, 500},
        {"passes the count between polls",
         {{10, std::string(24, 'x')}, {11, "yy"}},
         25,
         false,
         500},
        {"too late", {{600, std::string(25, 'x')}}, 25, false, 500},
        {"nothing", {}, 1, false, 500},
    };
    for (const auto& c : cases) {
        world.port.input.clear();
        world.arrivals.clear();
        const double start = world.now;
        for (const auto& [t, bytes] : c.arrivals) world.deliverAt(start + t, bytes);
        EXPECT_EQ(loader.WaitForBytes(500, c.count), c.result) << c.name;
        EXPECT_DOUBLE_EQ(world.now - start, c.endsAt) << c.name;
        EXPECT_FALSE(world.timer.enabled()) << c.name;
        EXPECT_FALSE(link.TimerElapsed) << c.name;
        world.now += 1000;
    }
}

TEST_F(LoaderTest, ResetKeepsReplyAndModel) {
    const std::string reply = "Zylo572 LDR214 ident\r\n...";
    ASSERT_EQ(reply.size(), 25u);
    answerEach([&](const std::string&) { return reply; });
    world.port.input = "stale";
    ASSERT_TRUE(loader.ResetDevice());
    EXPECT_EQ(world.port.writes.back(), kResetSequence);
    EXPECT_EQ(link.TxBuffer, kResetSequence);
    EXPECT_EQ(state.LoaderReply, "Zylo572 LDR214");
    EXPECT_EQ(state.ModelName, "Zylo572");
}

TEST_F(LoaderTest, FailedResetKeepsOldValues) {
    state.LoaderReply = "previous reply";
    state.ModelName = "Zylo510";
    answerEach([](const std::string&) { return std::string(26, 'Z'); });
    EXPECT_FALSE(loader.ResetDevice());
    EXPECT_EQ(state.LoaderReply, "previous reply");
    EXPECT_EQ(state.ModelName, "Zylo510");
}

TEST_F(LoaderTest, AcknowledgeRules) {
    struct Case {
        const char* name;
        std::string answer;
        bool ok;
    };
    const Case cases[] = {
        {"ack", "\x06", true},
        {"nak", "\x07", false},
        {"silent", "", false},
        {"ack and an extra byte", "\x06\x06", false},
    };
    for (const auto& c : cases) {
        answerEach([&](const std::string&) { return c.answer; });
        EXPECT_EQ(loader.EraseCode(), c.ok) << c.name;
        EXPECT_EQ(world.port.writes.back(), eraseFrame()) << c.name;
        world.port.input.clear();
        EXPECT_EQ(loader.RunCode(), c.ok) << c.name;
        EXPECT_EQ(world.port.writes.back(), runFrame()) << c.name;
        world.port.input.clear();
    }
}

TEST_F(LoaderTest, StaleBytesAreDiscardedBeforeEachRequest) {
    // A late NAK from an earlier exchange is waiting; the erase's own ACK must count.
    world.port.input = "\x07";
    answerEach([](const std::string&) { return std::string("\x06"); });
    EXPECT_TRUE(loader.EraseCode());
}

std::string image(int records, bool emptyLineAfterEnd = false) {
    std::string s;
    for (int i = 0; i < records; ++i) s += ":0300000002003BC0\r\n";
    s += ":00000001FF\r\n";
    if (emptyLineAfterEnd) s += "\r\n";
    return s;
}

TEST_F(LoaderTest, DownloadSendsEveryRecordButNotTheLastLine) {
    testing::TempFile f(image(5, true));
    int writes = 0;
    answerEach([&](const std::string&) {
        ++writes;
        return std::string("\x06");
    });
    state.DownloadOk = true;
    EXPECT_TRUE(loader.DownloadCode(f.path()));
    EXPECT_EQ(writes, 5);
    EXPECT_EQ(progress.minimum, 0);
    EXPECT_EQ(progress.maximum, 6);  // seven lines, the empty last one included
    EXPECT_EQ(progress.values, (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
    EXPECT_FALSE(progress.visible);
}

TEST_F(LoaderTest, DownloadStopsSendingAfterTheFirstRefusedRecord) {
    testing::TempFile f(image(6));
    int writes = 0;
    answerEach([&](const std::string&) { return std::string(++writes == 3 ? "\x05" : "\x06"); });
    state.DownloadOk = true;
    EXPECT_FALSE(loader.DownloadCode(f.path()));
    EXPECT_EQ(writes, 3);
    EXPECT_EQ(progress.values.back(), progress.maximum);
    EXPECT_FALSE(state.DownloadOk);
}

TEST_F(LoaderTest, DownloadOfAMissingFileFails) {
    state.DownloadOk = true;
    EXPECT_FALSE(loader.DownloadCode("/nonexistent/image.hex"));
    EXPECT_TRUE(world.port.writes.empty());
}

TEST(LoaderReply, NamesTheModelAndVersion) {
    EXPECT_EQ(modelNameFromReply("XXXXX70"), "Zylo570");
    EXPECT_EQ(modelNameFromReply("abc"), "Zylo5");
    EXPECT_EQ(versionFromReply("Zylo510 LDR21"), "2.1");
    EXPECT_EQ(versionFromReply("short"), ".");
}

// The whole sequence against a chip that answers every request; `refuse` names a step that
// is not acknowledged.
class DownloadTest : public LoaderTest {
protected:
    DownloadResult download(const std::string& chipModel, const std::string& imagePath,
                            const std::string& refuse = "") {
        world.port.close();
        answerEach([=](const std::string& block) -> std::string {
            if (block == kResetSequence)
                return chipModel + std::string(25 - chipModel.size(), '1');
            const std::string step = block == eraseFrame() ? "erase"
                                     : block == runFrame() ? "run"
                                                           : "write";
            return step == refuse ? "\x07" : "\x06";
        });
        DownloadHooks hooks;
        hooks.imageFor = [=](const std::string& model) {
            return model == "Zylo570" ? imagePath : std::string();
        };
        hooks.identified = [this](const std::string& model, const std::string& version) {
            identified = model + " " + version;
        };
        return RunDownload(link, state, progress, hooks);
    }
    std::string identified;
};

TEST_F(DownloadTest, EachStepEndsTheSequenceWhereItFails) {
    testing::TempFile f(image(3));
    const struct {
        const char* refuse;
        DownloadStep reached;
        size_t blocks;  // reset, erase, three records, run
    } cases[] = {{"", DownloadStep::Done, 6},
                 {"erase", DownloadStep::Erase, 2},
                 {"write", DownloadStep::Transfer, 3},
                 {"run", DownloadStep::Run, 6}};
    for (const auto& c : cases) {
        world.port.writes.clear();
        const DownloadResult r = download("Zylo570", f.path(), c.refuse);
        EXPECT_EQ(r.reached, c.reached) << c.refuse;
        EXPECT_EQ(world.port.writes.size(), c.blocks) << c.refuse;
        EXPECT_EQ(world.port.baudAtWrite.front(), 9600) << c.refuse;
        EXPECT_FALSE(world.port.isOpen()) << c.refuse;
    }
    EXPECT_EQ(identified, "Zylo570 1.1");
}

TEST_F(DownloadTest, AModelWithoutAnImageIsErasedThenFailsTheCheck) {
    const DownloadResult r = download("Zylo599", "");
    EXPECT_EQ(r.reached, DownloadStep::CheckImage);
    EXPECT_TRUE(r.unknownModel);
    ASSERT_EQ(world.port.writes.size(), 2u);
    EXPECT_EQ(world.port.writes[1], eraseFrame());
    EXPECT_EQ(state.ModelName, "Zylo599");
    EXPECT_FALSE(world.port.isOpen());
}

TEST_F(DownloadTest, ClosingTheProgramMidTransferFailsTheDownload) {
    testing::TempFile f(image(20));
    world.actAt(40, [this] { world.events.closing_ = true; });  // at about record 6
    const DownloadResult r = download("Zylo570", f.path());
    EXPECT_FALSE(r.ok());
    EXPECT_TRUE(r.closing);
    EXPECT_EQ(r.reached, DownloadStep::Transfer);
    EXPECT_LT(world.port.writes.size(), 22u);
    EXPECT_FALSE(world.port.isOpen());
}

}  // namespace
}  // namespace kelp::loader
