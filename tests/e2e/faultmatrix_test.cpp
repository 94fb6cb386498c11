#include <gtest/gtest.h>

#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>

#include "e2e/e2etools.h"
#include "platform/qtserialport.h"

// Faults on the line, end to end: what the user reads, what the program keeps, and that the
// user can go on afterwards.

namespace kelp::testing {
namespace {

// The port's name in what the user reads when the line stops working.
std::string lost(const Bench& b) { return "The serial port " + b.ports[0] + " stopped working"; }

// A failed download says why, on a window the user can go on from; a second Download on a
// sound board then opens the family's window.
TEST(FaultMatrix, EachDownloadFaultSaysWhyAndTheNextDownloadWorks) {
    const std::string reset = shell::MainWindow::kResetFailure;
    const std::string erase = "Error: Could not ERASE code.", run = "Error: Could not RUN Code.";
    const std::string record = "Error: Could not DOWNLOAD Code.";
    const struct {
        const char* model;
        const char* fault;   // nullptr: none
        int killMs;          // > 0: the board goes away this long into the download
        bool garbledImage;   // a record of SD_KELP.hex with a wrong digit
        Texts texts;         // "lost": the port stopped working
        const char* window;  // after the second download; nullptr: not tried
    } cases[] = {
        {"Zylo570", "no-reset-answer", 0, false, {reset}, "SAR_KELP"},
        {"Zylo570", "extra-byte:reset", 0, false, {reset}, nullptr},
        {"Zylo570", "noise:reset", 0, false, {reset}, nullptr},
        {"Zylo570", "nak:erase", 0, false, {erase}, "SAR_KELP"},
        {"Zylo570", "silent:erase", 0, false, {erase}, nullptr},
        {"Zylo570", "extra-byte:erase", 0, false, {erase}, nullptr},
        {"Zylo570", "nak:record:3", 0, false, {record}, "SAR_KELP"},
        {"Zylo570", "silent:record:1", 0, false, {record}, nullptr},
        {"Zylo570", "noise:record:7", 0, false, {record}, "SAR_KELP"},
        {"Zylo570", "extra-byte:record:2", 0, false, {record}, "SAR_KELP"},
        {"Zylo570", "nak:run", 0, false, {run}, "SAR_KELP"},
        {"Zylo570", "silent:run", 0, false, {run}, nullptr},
        // A chip of a model without firmware: erased, then refused.
        {"Zylo599",
         nullptr,
         0,
         false,
         {"The board answered as Zylo599, a model KELP has no firmware for.\r\nCheck the board "
          "and its crystal setting, then press Download again.",
          "Error Invalid Hex File."},
         nullptr},
        {"Zylo570", nullptr, 600, false, {"lost"}, "SAR_KELP"},
        {"Zylo581", nullptr, 600, false, {"lost"}, "SD_KELP"},
        {"Zylo530", nullptr, 0, true, {"Invalid Hex File", "Error Invalid Hex File."}, "SD_KELP"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault ? c.fault : c.model);
        Bench b("download");
        const fs::path image = b.withImages() / "SD_KELP.hex";
        if (c.garbledImage) {
            std::string text = readFile(image);
            const size_t at = text.find(":10", 400) + 12;  // a data digit
            text[at] = text[at] == '0' ? '1' : '0';
            std::ofstream(image, std::ios::binary) << text;
        }
        QStringList args{"--start", "loader"};
        if (c.fault || !c.killMs) args << "--no-pacing";
        if (c.fault) args << "--fault" << c.fault;
        ASSERT_TRUE(b.plug(c.model, args));
        if (c.killMs) QTimer::singleShot(c.killMs, [&] { b.board.reset(); });
        Texts expected = c.texts;
        if (expected == Texts{"lost"})
            expected = {record + "\r\n" + lost(b) +
                        ": check the cable and the board, or choose the port again, then try "
                        "again."};
        EXPECT_EQ(b.download(), expected);
        for (const auto& m : b.messages.messages) EXPECT_EQ(m.title, "Warning");
        EXPECT_FALSE(b.app->link().port().isOpen());
        for (const char* button : {"DownloadButton", "NextButton"})
            EXPECT_TRUE(b.control<QPushButton>(button)->isEnabled()) << button;
        EXPECT_TRUE(b.control<QProgressBar>("ProgressBar")->isHidden());
        ASSERT_EQ(b.window(), nullptr);
        if (!c.fault && !c.killMs) {
            // Checked after the erase, refused before anything is written.
            EXPECT_EQ(boardLog(b.log()), (Texts{"RESET", "ERASE"}));
            fs::copy_file(kProgramDir / "ASM" / "SD_KELP.hex", image,
                          fs::copy_options::overwrite_existing);
        }
        if (!c.window) continue;
        ASSERT_TRUE(b.plug(c.model, {"--no-pacing", "--start", "loader"}));
        EXPECT_EQ(b.download(), Texts{});
        ASSERT_NE(b.window(), nullptr);
        EXPECT_EQ(b.window()->objectName(), c.window);
        EXPECT_TRUE(b.app->mainWindow()->isHidden());
    }
}

enum class Tail { Same, Later, Untouched };

struct RunCase {
    const char* model;
    const char* fault;  // nullptr: none
    int killMs;         // > 0: the board goes away this long into the run
    int samples;
    int count;  // SampleCount; 0: wherever the board went away
    int whole;  // leading slots that hold the board's codes one by one; -1: all
    int skip;   // slots after them that hold no code of the board's, but for `cut`
    long cut;   // the first skipped slot holds the board's code with only these bits, or 0
    bool kept;  // the skipped slots keep what they held
    // The slots after the skipped ones: the board's codes at their own slots (Same), later
    // frames in order, the one after the damaged frame lost with it (Later), or what they
    // held before (Untouched).
    Tail tail;
};

// A fault during a run: what the user reads and what the run keeps; then a run on a sound
// board takes every sample, and File > Exit ends the program.
TEST(FaultMatrix, AfterAFaultyRunTheNextOneWorks) {
    const RunCase cases[] = {
        {"Zylo570", "sar-noise:2", 0, 1000, 1000, 100, 100, 0, false, Tail::Same},
        {"Zylo570", "garble:2:17", 0, 1000, 1000, 117, 1, 0, true, Tail::Same},
        {"Zylo570", "long-packet:3", 0, 1000, 1000, 200, 100, 0, true, Tail::Same},
        {"Zylo570", "silent-after:5", 0, 1000, 500, -1, 0, 0, false, Tail::Same},
        {"Zylo580", "frame-noise:5", 0, 20, 20, 5, 0, 0, false, Tail::Later},
        {"Zylo560", "frame-noise:3", 0, 20, 20, 3, 0, 0, false, Tail::Later},
        {"Zylo560", "short-frame:5:4", 0, 20, 20, 4, 1, 0xFFFF00, false, Tail::Later},
        {"Zylo580", "short-frame:3:4", 0, 20, 20, 2, 1, 0xFFFF00, false, Tail::Later},
        {"Zylo560", "silent-after:5", 0, 8, 8, 5, 0, 0, false, Tail::Untouched},
        {"Zylo580", "silent-after:4", 0, 6, 6, 4, 0, 0, false, Tail::Untouched},
        {"Zylo570", nullptr, 400, 4000, 0, -1, 0, 0, false, Tail::Same},
        {"Zylo580", nullptr, 700, 40, 0, -1, 0, 0, false, Tail::Same},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.model) + " " + (c.fault ? c.fault : "killed"));
        Bench b("run");
        // Noisy enough that sigma-delta codes rarely repeat, so frames are told apart.
        QStringList args{"--sd-noise", "300"};
        if (c.fault) args += QStringList{"--no-pacing", "--fault", c.fault};
        ASSERT_TRUE(b.plug(c.model, args));
        b.next(c.model);
        ASSERT_NE(b.window(), nullptr);
        if (c.killMs) QTimer::singleShot(c.killMs, [&] { b.board.reset(); });
        const Texts said = b.run(c.samples);
        const int count = b.count();
        if (c.count) {
            EXPECT_EQ(count, c.count);
        } else {
            EXPECT_TRUE(count > 0 && count < c.samples) << count;
        }
        // Damage is skipped without a word; a silent SAR target and a lost port are said.
        Texts expected;
        if (c.killMs)
            expected = {lost(b) + " after " + std::to_string(count) +
                        " samples; they are kept for the analysis.\r\nCheck the cable and the "
                        "board, or choose the port again in the Port menu, then press Run again."};
        if (!b.sd() && c.whole < 0 && !c.killMs)
            expected = {"The target stopped answering after " + std::to_string(count) +
                        " samples.\r\nCheck that the board is powered and connected, then press "
                        "Run again."};
        EXPECT_EQ(said, expected);
        const int whole = c.whole < 0 ? count : c.whole;
        b.expectKept(whole);
        const std::vector<long> codes = b.logged();
        if (c.cut) {
            EXPECT_EQ(b.stored(whole), codes.at(static_cast<size_t>(whole)) & c.cut);
        }
        for (int i = whole; c.kept && i < whole + c.skip; ++i)
            EXPECT_EQ(b.stored(i), kUntouched) << i;
        size_t later = static_cast<size_t>(whole + c.skip + 1);
        for (int i = whole + c.skip; i < count; ++i) {
            if (c.tail == Tail::Same) {
                ASSERT_EQ(b.stored(i), codes[static_cast<size_t>(i)]) << i;
            } else if (c.tail == Tail::Untouched) {
                ASSERT_EQ(b.stored(i), kUntouched) << i;
            } else {
                while (later < codes.size() && codes[later] != b.stored(i)) ++later;
                ASSERT_LT(later++, codes.size()) << "slot " << i << " holds no later frame";
            }
        }
        ASSERT_TRUE(b.plug(c.model, {"--no-pacing"}));
        // A fresh board runs at divider 0; the user says so.
        if (b.sd()) choose(b.control<QComboBox>("CDBits"), 0);
        b.expectCleanRun(std::min(c.samples, 1000));
        b.expectExit();
    }
}

// Another program holds the port: Run says so with the cause and sends nothing; once the
// port is free, Run works.
TEST(FaultMatrix, APortHeldElsewhereRefusesTheRunUntilReleased) {
    for (const auto& [model, samples] : {std::pair{"Zylo570", 100}, {"Zylo580", 20}}) {
        SCOPED_TRACE(model);
        Bench b("held");
        ASSERT_TRUE(b.plug(model, {"--no-pacing"}));
        b.next(model);
        ASSERT_NE(b.window(), nullptr);
        platform::QtSerialPort other;
        other.setPortName(b.ports[0]);
        ASSERT_EQ(other.open(), platform::OpenError::None);
        EXPECT_EQ(b.run(samples), Texts{"Com Port Already Open by another host\r\nAnother "
                                        "program holds " +
                                        b.ports[0] + ". Close it there, then try again."});
        EXPECT_EQ(b.messages.messages[0].title, "Warning");
        EXPECT_TRUE(loggedWithSpeed(b.log(), "CONFIG").empty());
        EXPECT_EQ(b.count(), 0);
        EXPECT_EQ(b.analysis(), nullptr);
        EXPECT_TRUE(b.control<QPushButton>("RunButton")->isVisible());
        other.close();
        b.expectCleanRun(samples);
    }
}

// A divider chosen during a run is refused: the run goes on at its speed, the divider and the
// link's speed stay; after the run the same choice is taken.
TEST(FaultMatrix, ADividerChoiceDuringARunIsRefused) {
    using Logged = std::vector<std::pair<std::string, int>>;
    Bench b("divider");
    ASSERT_TRUE(b.plug("Zylo580"));
    b.next("Zylo580");
    ASSERT_NE(b.window(), nullptr);
    auto* list = b.control<QComboBox>("CDBits");
    const Logged setup{{"0", 57600}, {"3", 57600}};  // the 58X set-up leaves divider 3
    ASSERT_EQ(loggedWithSpeed(b.log(), "DIVIDER "), setup);
    const std::string shown = texts(b.window(), "CDBits|PLLCONSFR");
    QTimer::singleShot(500, [&] { choose(list, 0); });
    EXPECT_EQ(b.run(20), Texts{});
    EXPECT_EQ(b.window()->statusBar()->currentMessage().toStdString(),
              "The clock divider cannot change during a run; press Stop first.");
    EXPECT_EQ(b.count(), 20);
    b.expectKept(20);
    EXPECT_EQ(texts(b.window(), "CDBits|PLLCONSFR"), shown);
    EXPECT_EQ(b.app->state().sdLink.CurrentClockDivider, 3);
    EXPECT_EQ(loggedWithSpeed(b.log(), "DIVIDER "), setup);
    EXPECT_EQ(loggedWithSpeed(b.log(), "REQUEST"), (Logged{{"", 9600}}));
    EXPECT_EQ(loggedWithSpeed(b.log(), "STOP"), (Logged{{"", 9600}}));

    choose(list, 0);
    b.awaitDivider();
    EXPECT_EQ(loggedWithSpeed(b.log(), "DIVIDER ").back(), Logged::value_type("0", 9600));
    b.expectCleanRun(20);
    EXPECT_EQ(loggedWithSpeed(b.log(), "REQUEST").back().second, 57600);
}

}  // namespace
}  // namespace kelp::testing
