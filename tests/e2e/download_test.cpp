#include <gtest/gtest.h>

#include <QLineEdit>
#include <QMainWindow>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include "e2e/e2etools.h"

namespace kelp::testing {
namespace {

constexpr const char* kBusy = "Com Port Already Open by another host";

struct ImageCase {
    const char* model;
    const char* image;
    const char* window;
    bool paced;
};

TEST(EndToEndDownload, EachImageLandsInTheBoardMemory) {
    const ImageCase cases[] = {
        {"Zylo570", "SAR_KELP.hex", "SAR_KELP", true},
        {"Zylo530", "SD_KELP.hex", "SD_KELP", false},
        {"Zylo581", "58X_SDkelp.hex", "SD_KELP", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        const fs::path dir = freshFolder(c.model);
        QStringList args{"--model",      c.model,
                         "--memory-out", QString::fromStdString((dir / "memory.bin").string()),
                         "--log",        QString::fromStdString((dir / "board.log").string()),
                         "--start",      "loader"};
        if (!c.paced) args << "--no-pacing";
        BoardProcess board(args);
        ASSERT_FALSE(board.device().empty()) << board.errorOutput();
        KelpOnBoard kelp(board.device());
        kelp.control<QPushButton>("DownloadButton")->click();

        EXPECT_EQ(kelp.messages.texts(), std::vector<std::string>{});
        EXPECT_FALSE(kelp.port().isOpen());
        ASSERT_NE(kelp.app->evaluationWindow(), nullptr);
        EXPECT_EQ(kelp.app->evaluationWindow()->objectName(), c.window);
        EXPECT_TRUE(kelp.app->mainWindow()->isHidden());
        EXPECT_EQ(kelp.control<QLineEdit>("VantorText")->text(), QString(c.model) + " version 2.1");
        EXPECT_EQ(kelp.app->state().loader.ModelName, c.model);
        EXPECT_TRUE(readFile(dir / "memory.bin") == expectedMemory(kProgramDir / "ASM" / c.image));

        // The board saw: reset, erase, one write per data record, run.
        std::string steps;
        size_t writes = 0;
        for (const std::string& l : boardLog(dir / "board.log")) {
            if (l.rfind("WRITE ", 0) == 0) {
                ++writes;
                continue;
            }
            steps += l + " ";
            if (l == "RUN") break;
        }
        EXPECT_EQ(steps, "RESET ERASE RUN ");
        // Every loader request arrived at the loader's speed.
        for (const char* tag : {"RESET", "ERASE", "WRITE", "RUN"})
            for (const auto& [line, baud] : loggedWithSpeed(dir / "board.log", tag))
                ASSERT_EQ(baud, 9600) << tag << line;
        EXPECT_EQ(writes, readLines(kProgramDir / "ASM" / c.image).size() - 1);
        fs::remove_all(dir);
    }
}

struct FaultCase {
    const char* model;
    const char* fault;  // nullptr: none
    std::vector<std::string> texts;
};

TEST(EndToEndDownload, EachFaultGivesItsMessages) {
    const std::string reset = shell::MainWindow::kResetFailure;
    const char* const erase = "Error: Could not ERASE code.";
    const char* const record = "Error: Could not DOWNLOAD Code.";
    const char* const run = "Error: Could not RUN Code.";
    const FaultCase cases[] = {
        {"Zylo570", "no-reset-answer", {reset}},
        {"Zylo570", "extra-byte:reset", {reset}},
        {"Zylo570", "noise:reset", {reset}},
        {"Zylo570", "nak:erase", {erase}},
        {"Zylo570", "silent:erase", {erase}},
        {"Zylo570", "extra-byte:erase", {erase}},
        {"Zylo570", "nak:record:3", {record}},
        {"Zylo570", "silent:record:1", {record}},
        {"Zylo570", "noise:record:7", {record}},
        {"Zylo570", "extra-byte:record:2", {record}},
        {"Zylo570", "nak:run", {run}},
        {"Zylo570", "silent:run", {run}},
        // A chip of a model without firmware: erased, then refused.
        {"Zylo599",
         nullptr,
         {"The board answered as Zylo599, a model KELP has no firmware for.\r\n"
          "Check the board and its crystal setting, then press Download again.",
          "Error Invalid Hex File."}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fault ? c.fault : c.model);
        const fs::path dir = freshFolder("fault");
        const QString log = QString::fromStdString((dir / "board.log").string());
        QStringList args{"--model", c.model, "--no-pacing", "--start", "loader", "--log", log};
        if (c.fault) args << "--fault" << c.fault;
        BoardProcess board(args);
        ASSERT_FALSE(board.device().empty()) << board.errorOutput();
        KelpOnBoard kelp(board.device());
        kelp.control<QPushButton>("DownloadButton")->click();
        EXPECT_EQ(kelp.messages.texts(), c.texts);
        for (const auto& m : kelp.messages.messages) EXPECT_EQ(m.title, "Warning");
        EXPECT_FALSE(kelp.port().isOpen());
        EXPECT_TRUE(kelp.control<QPushButton>("DownloadButton")->isEnabled());
        EXPECT_TRUE(kelp.control<QPushButton>("NextButton")->isEnabled());
        EXPECT_TRUE(kelp.control<QProgressBar>("ProgressBar")->isHidden());
        EXPECT_EQ(kelp.app->evaluationWindow(), nullptr);
        if (!c.fault) {
            EXPECT_EQ(boardLog(dir / "board.log"), (std::vector<std::string>{"RESET", "ERASE"}));
        }
        fs::remove_all(dir);
    }
}

TEST(EndToEndDownload, ABusyOrMissingPortIsReported) {
    BoardProcess board({"--model", "Zylo510", "--no-pacing", "--start", "loader"});
    ASSERT_FALSE(board.device().empty());
    KelpOnBoard first(board.device());
    ASSERT_EQ(first.port().open(), platform::OpenError::None);
    KelpOnBoard second(board.device());
    second.control<QPushButton>("DownloadButton")->click();
    EXPECT_EQ(second.messages.texts(),
              std::vector<std::string>{std::string(kBusy) + "\r\nAnother program holds " +
                                       board.device() + ". Close it there, then try again."});
    first.port().close();
    second.messages.messages.clear();
    second.control<QPushButton>("DownloadButton")->click();
    EXPECT_EQ(second.messages.texts(), std::vector<std::string>{});

    KelpOnBoard missing("/dev/pts/kelp-none");
    missing.control<QPushButton>("DownloadButton")->click();
    EXPECT_EQ(missing.messages.texts(),
              std::vector<std::string>{std::string(kBusy) +
                                       "\r\n/dev/pts/kelp-none is not there: plug the adapter in "
                                       "again, or choose the port it has now, then try again."});
    EXPECT_TRUE(missing.control<QPushButton>("DownloadButton")->isEnabled());
}

TEST(EndToEndDownload, APortThatVanishesMidDownload) {
    auto board =
        std::make_unique<BoardProcess>(QStringList{"--model", "Zylo570", "--start", "loader"});
    ASSERT_FALSE(board->device().empty());
    const std::string device = board->device();
    KelpOnBoard kelp(device);
    QTimer::singleShot(600, [&] { board.reset(); });
    kelp.control<QPushButton>("DownloadButton")->click();
    EXPECT_EQ(
        kelp.messages.texts(),
        std::vector<std::string>{"Error: Could not DOWNLOAD Code.\r\nThe serial port " + device +
                                 " stopped working: check the cable and the board, or "
                                 "choose the port again, then try again."});
    EXPECT_FALSE(kelp.port().isOpen());
    EXPECT_TRUE(kelp.control<QPushButton>("DownloadButton")->isEnabled());
    EXPECT_EQ(kelp.app->evaluationWindow(), nullptr);
}

}  // namespace
}  // namespace kelp::testing
