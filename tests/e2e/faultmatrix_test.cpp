#include <gtest/gtest.h>

#include <QAction>
#include <QPushButton>
#include <QStatusBar>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <sstream>

#include "analysis/saranalysiswindow.h"
#include "analysis/sdanalysiswindow.h"
#include "e2e/e2etools.h"
#include "platform/qtserialport.h"
#include "shell/programstate.h"

// Faults on the line, end to end: what the user reads, what the run keeps, and that the user
// can go on afterwards. What download_test, sarrun_test and portfailure_test assert of the
// same faults is not asserted again.

namespace kelp::testing {
namespace {

using Texts = std::vector<std::string>;
constexpr int32_t kUntouched = -7;  // what a sigma-delta slot holds before the run

// The program's port: a link, as an adapter's name, so that a fresh board can take the place
// of a faulty one under it.
const std::string kPort =
    (fs::temp_directory_path() / ("ttyFM" + std::to_string(::getpid()))).string();
const std::string kLost = "The serial port " + kPort + " stopped working";

// KELP on a board behind kPort; its program folder (for the firmware images) is `dir`.
struct Bench {
    explicit Bench(const std::string& name) : dir(freshFolder(name)) {
        app = std::make_unique<shell::Application>(
            shell::ApplicationOptions{.programFolder = dir.string(),
                                      .extraPorts = {kPort},
                                      .listSystemPorts = false,
                                      .virtualBoard = false},
            &messages);
        child<QComboBox>(app->mainWindow(), "ComSelect")->setCurrentIndex(4);
    }
    ~Bench() {
        app.reset();
        board.reset();
        fs::remove_all(dir);
        fs::remove(kPort);
    }
    fs::path log() const { return dir / "board.log"; }
    // A board behind the port, its log started afresh.
    bool plug(const char* model, const QStringList& args = {}) {
        board.reset();
        board = std::make_unique<BoardProcess>(
            QStringList{"--model", model, "--log", QString::fromStdString(log().string())} + args);
        fs::remove(kPort);
        if (board->device().empty()) return false;
        fs::create_symlink(board->device(), kPort);
        return true;
    }
    QMainWindow* window() const { return app->evaluationWindow(); }
    bool sd() const { return window()->objectName() == "SD_KELP"; }
    QWidget* analysis() const {
        return sd() ? static_cast<QWidget*>(app->sdAnalysis()) : app->sarAnalysis();
    }
    // What the user reads after clicking the button.
    Texts click(QWidget* parent, const char* button) {
        messages.messages.clear();
        child<QPushButton>(parent, button)->click();
        return messages.texts();
    }
    void next(const char* model) {
        child<QComboBox>(app->mainWindow(), "VantorCombobox")->setCurrentText(model);
        child<QPushButton>(app->mainWindow(), "NextButton")->click();
        if (window() && sd()) awaitDivider();
    }
    // The board reads a divider command at the line's speed of that moment: a run that
    // changes the speed at once (as no user clicks) could make it garbage on a busy machine.
    void awaitDivider() const {
        const std::string chosen = std::to_string(app->state().sdLink.CurrentClockDivider);
        for (int waited = 0; waited < 3000; waited += 5) {
            const auto sent = loggedWithSpeed(log(), "DIVIDER ");
            if (!sent.empty() && sent.back().first == chosen) return;
            QThread::msleep(5);
        }
    }
    Texts run(int samples) {
        app->state().sd.PrimaryCodeBuffer.fill(kUntouched);
        child<QComboBox>(window(), "NumSamples")->setEditText(QString::number(samples));
        return click(window(), "RunButton");
    }
    // The codes the board sent since the last run's configuration, in order (sigma-delta:
    // the primary result).
    std::vector<long> logged() const {
        std::vector<long> out;
        for (const std::string& line : boardLog(log())) {
            if (line.rfind("CONFIG ", 0) == 0) out.clear();
            if (line.rfind("CODES ", 0) != 0) continue;
            std::istringstream in(line.substr(6));
            for (std::string w; in >> w && w != "-";) {
                out.push_back(std::stol(w, nullptr, 16));
                if (sd()) break;
            }
        }
        return out;
    }
    int count() const { return app->state().run.SampleCount; }
    long stored(int i) const {
        const auto at = static_cast<size_t>(i);
        return sd() ? app->state().sd.PrimaryCodeBuffer[at] : app->state().sar.SampleBuffer[at + 1];
    }
    // After a run: Run back, port closed, the analysis shown; its first `n` slots hold the
    // board's codes, and when they are all the run took, the figures are theirs.
    void expectKept(int n) {
        EXPECT_TRUE(child<QPushButton>(window(), "RunButton")->isVisible());
        EXPECT_FALSE(child<QPushButton>(window(), "StopButton")->isVisible());
        EXPECT_FALSE(app->link().port().isOpen());
        ASSERT_NE(analysis(), nullptr);
        EXPECT_TRUE(analysis()->isVisible());
        const std::vector<long> codes = logged();
        ASSERT_GE(codes.size(), static_cast<size_t>(n));
        for (int i = 0; i < n; ++i) ASSERT_EQ(stored(i), codes[static_cast<size_t>(i)]) << i;
        if (n != count()) return;
        const auto [lo, hi] = std::minmax_element(codes.begin(), codes.begin() + n);
        const auto hex = [](long v) { return QString::number(v, 16).toUpper().toStdString(); };
        EXPECT_EQ(texts(analysis(), "MinCodeTextbox|MaxCodeTextBox"), hex(*lo) + "|" + hex(*hi));
    }
    // The run takes every sample it asks for.
    void expectCleanRun(int samples) {
        EXPECT_EQ(run(samples), Texts{});
        EXPECT_EQ(count(), samples);
        expectKept(samples);
    }
    // File > Exit ends the program: every window goes, nothing more is said.
    void expectExit() {
        child<QAction>(window(), "FileExit")->trigger();
        EXPECT_TRUE(app->exiting());
        for (QWidget* w : std::initializer_list<QWidget*>{window(), analysis(), app->mainWindow()})
            EXPECT_FALSE(w->isVisible()) << w->objectName().toStdString();
        EXPECT_EQ(messages.texts(), Texts{});
    }

    fs::path dir;
    std::unique_ptr<BoardProcess> board;
    platform::RecordingMessageSink messages;
    std::unique_ptr<shell::Application> app;
};

struct DownloadCase {
    const char* model;
    const char* fault;  // nullptr: none
    int killMs;         // > 0: the board goes away this long into the download
    bool garbledImage;  // a record of SD_KELP.hex with a wrong digit
    Texts texts;        // empty: asserted in download_test
    const char* window;
};

// After a failed download a second Download on a sound board opens the family's window.
TEST(FaultMatrix, AfterAFailedDownloadTheNextOneWorks) {
    const std::string lost = "Error: Could not DOWNLOAD Code.\r\n" + kLost +
                             ": check the cable and the board, or choose the port again, then "
                             "try again.";
    const DownloadCase cases[] = {
        {"Zylo570", "no-reset-answer", 0, false, {}, "SAR_KELP"},
        {"Zylo570", "nak:erase", 0, false, {}, "SAR_KELP"},
        {"Zylo570", "nak:record:3", 0, false, {}, "SAR_KELP"},
        {"Zylo570", "nak:run", 0, false, {}, "SAR_KELP"},
        {"Zylo570", "extra-byte:record:2", 0, false, {}, "SAR_KELP"},
        {"Zylo570", "noise:record:7", 0, false, {}, "SAR_KELP"},
        {"Zylo570", nullptr, 600, false, {}, "SAR_KELP"},
        {"Zylo581", nullptr, 600, false, {lost}, "SD_KELP"},
        {"Zylo530", nullptr, 0, true, {"Invalid Hex File", "Error Invalid Hex File."}, "SD_KELP"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault ? c.fault : c.model);
        Bench b("download");
        fs::copy(kProgramDir / "ASM", b.dir / "ASM");
        const fs::path image = b.dir / "ASM" / "SD_KELP.hex";
        if (c.garbledImage) {
            std::string text = readFile(image);
            const size_t at = text.find(":10", 400) + 12;  // a data digit
            text[at] = text[at] == '0' ? '1' : '0';
            std::ofstream(image, std::ios::binary) << text;
        }
        QStringList args{"--start", "loader"};
        if (c.fault) args += QStringList{"--no-pacing", "--fault", c.fault};
        ASSERT_TRUE(b.plug(c.model, args));
        if (c.killMs) QTimer::singleShot(c.killMs, [&] { b.board.reset(); });
        const Texts said = b.click(b.app->mainWindow(), "DownloadButton");
        if (!c.texts.empty()) {
            EXPECT_EQ(said, c.texts);
        }
        ASSERT_EQ(b.window(), nullptr);
        if (c.garbledImage) {
            // Checked after the erase, refused before anything is written.
            EXPECT_EQ(boardLog(b.log()), (Texts{"RESET", "ERASE"}));
            fs::copy_file(kProgramDir / "ASM" / "SD_KELP.hex", image,
                          fs::copy_options::overwrite_existing);
        }

        ASSERT_TRUE(b.plug(c.model, {"--no-pacing", "--start", "loader"}));
        EXPECT_EQ(b.click(b.app->mainWindow(), "DownloadButton"), Texts{});
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
    int skip;   // slots after them not compared, but for `cut`
    long cut;   // the first skipped slot holds the board's code with only these bits, or 0
    // The slots after the skipped ones: the board's codes at their own slots (Same), later
    // frames in order, the one after the damaged frame lost with it (Later), or what they
    // held before (Untouched).
    Tail tail;
};

// A fault during a run: what the user reads and what the run keeps; then a run on a sound
// board takes every sample, and File > Exit ends the program.
TEST(FaultMatrix, AfterAFaultyRunTheNextOneWorks) {
    const RunCase cases[] = {
        {"Zylo570", "sar-noise:2", 0, 1000, 1000, 100, 100, 0, Tail::Same},
        {"Zylo570", "garble:2:17", 0, 1000, 1000, 117, 1, 0, Tail::Same},
        {"Zylo570", "long-packet:3", 0, 1000, 1000, 200, 100, 0, Tail::Same},
        {"Zylo570", "silent-after:5", 0, 1000, 500, -1, 0, 0, Tail::Same},
        {"Zylo580", "frame-noise:5", 0, 20, 20, 5, 0, 0, Tail::Later},
        {"Zylo560", "frame-noise:3", 0, 20, 20, 3, 0, 0, Tail::Later},
        {"Zylo560", "short-frame:5:4", 0, 20, 20, 4, 1, 0xFFFF00, Tail::Later},
        {"Zylo580", "short-frame:3:4", 0, 20, 20, 2, 1, 0xFFFF00, Tail::Later},
        {"Zylo560", "silent-after:5", 0, 8, 8, 5, 0, 0, Tail::Untouched},
        {"Zylo580", "silent-after:4", 0, 6, 6, 4, 0, 0, Tail::Untouched},
        {"Zylo570", nullptr, 400, 4000, 0, -1, 0, 0, Tail::Same},
        {"Zylo580", nullptr, 700, 40, 0, -1, 0, 0, Tail::Same},
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
        // What a SAR run says of these is asserted in sarrun_test and portfailure_test.
        const std::string lost = kLost + " after " + std::to_string(count) +
                                 " samples; they are kept for the analysis.\r\nCheck the cable "
                                 "and the board, or choose the port again in the Port menu, "
                                 "then press Run again.";
        if (b.sd()) {
            EXPECT_EQ(said, c.killMs ? Texts{lost} : Texts{});
        }
        const int whole = c.whole < 0 ? count : c.whole;
        b.expectKept(whole);
        const std::vector<long> codes = b.logged();
        if (c.cut) {
            EXPECT_EQ(b.stored(whole), codes.at(static_cast<size_t>(whole)) & c.cut);
        }
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
        if (b.sd()) choose(child<QComboBox>(b.window(), "CDBits"), 0);
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
        other.setPortName(kPort);
        ASSERT_EQ(other.open(), platform::OpenError::None);
        EXPECT_EQ(b.run(samples), Texts{"Com Port Already Open by another host\r\nAnother "
                                        "program holds " +
                                        kPort + ". Close it there, then try again."});
        EXPECT_EQ(b.messages.messages[0].title, "Warning");
        EXPECT_TRUE(loggedWithSpeed(b.log(), "CONFIG").empty());
        EXPECT_EQ(b.count(), 0);
        EXPECT_EQ(b.analysis(), nullptr);
        EXPECT_TRUE(child<QPushButton>(b.window(), "RunButton")->isVisible());
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
    auto* list = child<QComboBox>(b.window(), "CDBits");
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
