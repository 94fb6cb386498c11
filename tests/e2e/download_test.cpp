#include <gtest/gtest.h>

#include <QLineEdit>
#include <QMainWindow>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include "e2e/e2etools.h"
#include "platform/serialport.h"

namespace kelp::testing {
namespace {

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
        const fs::path dir = freshFolder(c.model);
        QStringList args{"--model",      c.model,
                         "--memory-out", QString::fromStdString((dir / "memory.bin").string()),
                         "--log",        QString::fromStdString((dir / "board.log").string()),
                         "--start",      "loader"};
        if (!c.paced) args << "--no-pacing";
        BoardProcess board(args);
        ASSERT_FALSE(board.device().empty()) << board.errorOutput();
        KelpOnBoard kelp(board.device());
        auto* main = kelp.app->mainWindow();
        main->DownloadButton->click();

        EXPECT_TRUE(kelp.messages.messages.empty())
            << c.model << ": " << kelp.messages.texts().front();
        EXPECT_FALSE(kelp.app->devices().MSComm1.isOpen()) << c.model;
        ASSERT_NE(kelp.app->evaluationWindow(), nullptr) << c.model;
        EXPECT_EQ(kelp.app->evaluationWindow()->objectName(), c.window) << c.model;
        EXPECT_TRUE(main->isHidden()) << c.model;
        EXPECT_TRUE(main->VantorText->text().startsWith(QString(c.model) + " version 2.1"))
            << c.model;
        EXPECT_EQ(kelp.app->state().ModelName, c.model);

        const std::string memory = readFile(dir / "memory.bin");
        EXPECT_EQ(memory.size(), 8192u) << c.model;
        EXPECT_TRUE(memory == expectedMemory(kProgramDir / "ASM" / c.image)) << c.model;

        // The board saw: reset, erase, one write per data record, run.
        const auto log = readLines(dir / "board.log");
        const auto records =
            static_cast<size_t>(std::count_if(log.begin(), log.end(), [](const std::string& l) {
                return l.rfind("WRITE ", 0) == 0;
            }));
        const auto imageLines = readLines(kProgramDir / "ASM" / c.image);
        EXPECT_EQ(records, imageLines.size() - 1) << c.model;
        ASSERT_GE(log.size(), 3u);
        EXPECT_EQ(log.front(), "RESET");
        EXPECT_EQ(log[1], "ERASE");
        EXPECT_EQ(log.back(), "RUN");
        fs::remove_all(dir);
    }
}

struct FaultCase {
    const char* fault;
    const char* message;  // the start of the first message
};

TEST(EndToEndDownload, EachFaultGivesItsMessage) {
    const FaultCase cases[] = {
        {"no-reset-answer", "Error: Could not RESET the device\r\r\n"},
        {"extra-byte:reset", "Error: Could not RESET the device\r\r\n"},
        {"noise:reset", "Error: Could not RESET the device\r\r\n"},
        {"nak:erase", "Error: Could not ERASE code."},
        {"silent:erase", "Error: Could not ERASE code."},
        {"extra-byte:erase", "Error: Could not ERASE code."},
        {"nak:record:3", "Error: Could not DOWNLOAD Code."},
        {"silent:record:1", "Error: Could not DOWNLOAD Code."},
        {"noise:record:7", "Error: Could not DOWNLOAD Code."},
        {"extra-byte:record:2", "Error: Could not DOWNLOAD Code."},
        {"nak:run", "Error: Could not RUN Code."},
        {"silent:run", "Error: Could not RUN Code."},
    };
    for (const auto& c : cases) {
        BoardProcess board(
            {"--model", "Zylo570", "--no-pacing", "--start", "loader", "--fault", c.fault});
        ASSERT_FALSE(board.device().empty()) << board.errorOutput();
        KelpOnBoard kelp(board.device());
        auto* main = kelp.app->mainWindow();
        main->DownloadButton->click();
        ASSERT_EQ(kelp.messages.messages.size(), 1u) << c.fault;
        EXPECT_EQ(kelp.messages.messages[0].text.rfind(c.message, 0), 0u)
            << c.fault << ": " << kelp.messages.messages[0].text;
        EXPECT_EQ(kelp.messages.messages[0].title, "Warning");
        EXPECT_FALSE(kelp.app->devices().MSComm1.isOpen()) << c.fault;
        EXPECT_TRUE(main->DownloadButton->isEnabled()) << c.fault;
        EXPECT_TRUE(main->NextButton->isEnabled()) << c.fault;
        EXPECT_TRUE(main->ProgressBar->isHidden()) << c.fault;
        EXPECT_EQ(kelp.app->evaluationWindow(), nullptr) << c.fault;
    }
}

TEST(EndToEndDownload, ABusyPortIsReported) {
    BoardProcess board({"--model", "Zylo510", "--no-pacing", "--start", "loader"});
    ASSERT_FALSE(board.device().empty());
    KelpOnBoard first(board.device());
    ASSERT_EQ(first.app->devices().MSComm1.open(), platform::OpenError::None);
    KelpOnBoard second(board.device());
    second.app->mainWindow()->DownloadButton->click();
    EXPECT_EQ(second.messages.texts(),
              std::vector<std::string>{"Com Port Already Open by another host"});
    first.app->devices().MSComm1.close();
    second.messages.messages.clear();
    second.app->mainWindow()->DownloadButton->click();
    EXPECT_TRUE(second.messages.messages.empty());
}

TEST(EndToEndDownload, AMissingDeviceIsReported) {
    KelpOnBoard kelp("/dev/pts/kelp-none");
    kelp.app->mainWindow()->DownloadButton->click();
    EXPECT_EQ(kelp.messages.texts(),
              std::vector<std::string>{"Com Port Already Open by another host"});
    EXPECT_TRUE(kelp.app->mainWindow()->DownloadButton->isEnabled());
}

TEST(EndToEndDownload, APortThatVanishesMidDownload) {
    auto board =
        std::make_unique<BoardProcess>(QStringList{"--model", "Zylo570", "--start", "loader"});
    ASSERT_FALSE(board->device().empty());
    KelpOnBoard kelp(board->device());
    QTimer::singleShot(600, [&] { board.reset(); });
    kelp.app->mainWindow()->DownloadButton->click();
    ASSERT_GE(kelp.messages.messages.size(), 1u);
    EXPECT_EQ(kelp.messages.messages[0].text, "Error: Could not DOWNLOAD Code.");
    ASSERT_EQ(kelp.messages.messages.size(), 2u);
    EXPECT_NE(kelp.messages.messages[1].text.find("stopped working"), std::string::npos);
    EXPECT_FALSE(kelp.app->devices().MSComm1.isOpen());
    EXPECT_TRUE(kelp.app->mainWindow()->DownloadButton->isEnabled());
    EXPECT_EQ(kelp.app->evaluationWindow(), nullptr);
}

TEST(EndToEndDownload, BuiltInVirtualBoardFollowsTheChosenModel) {
    KelpOnBoard kelp("/dev/null-kelp", true);
    auto* main = kelp.app->mainWindow();
    main->VantorCombobox->setCurrentText("Zylo551");
    main->ComSelect->setCurrentIndex(5);  // "Virtual board"
    ASSERT_FALSE(kelp.app->virtualBoardDevice().empty());
    EXPECT_EQ(kelp.app->devices().MSComm1.portName(), kelp.app->virtualBoardDevice());
    main->DownloadButton->click();
    EXPECT_TRUE(kelp.messages.messages.empty()) << kelp.messages.texts().front();
    EXPECT_TRUE(main->VantorText->text().startsWith("Zylo551 version"));
    ASSERT_NE(kelp.app->evaluationWindow(), nullptr);
    EXPECT_EQ(kelp.app->evaluationWindow()->objectName(), "SAR_KELP");
}

}  // namespace
}  // namespace kelp::testing
