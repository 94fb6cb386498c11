#include "shell/mainwindow.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <filesystem>
#include <fstream>

#include "loader/frames.h"
#include "platform/recordingmessagesink.h"
#include "shell/programstate.h"
#include "support/fakes.h"

namespace kelp::shell {
namespace {

namespace fs = std::filesystem;

const std::string kResetFailure =
    "Error: Could not RESET the device\r\r\nPlease ensure that...\r\r\n"
    "1. The power supply is connected\r\n2. All connections are correct\r\n"
    "3. A program is not already running\r\n4. The correct value for the crystal is selected\r\n"
    "5. PSEN is inserted\r\r\nSee downloading instructions under 'Help-->Index'";

// A chip's loader on the simulated line: identification, then 06 for each frame unless told.
struct ScriptedChip {
    std::string model = "Zylo570";
    char major = '2', minor = '1';
    bool answerReset = true;
    char eraseAnswer = 0x06;
    int refuseRecord = 0;  // counted from 1; 0 = none
    char runAnswer = 0x06;
    int records = 0;
    std::vector<char> commands;

    std::string answer(const std::string& block) {
        if (block == loader::kResetSequence) {
            if (!answerReset) return {};
            std::string id = model + " LDR" + major + minor + "  board\r\n";
            id.resize(25, '.');
            return id;
        }
        if (block.size() < 4) return {};
        commands.push_back(block[3]);
        switch (block[3]) {
            case 'C':
                return std::string(1, eraseAnswer);
            case 'U':
                return std::string(1, runAnswer);
            case 'W':
                return std::string(1, ++records == refuseRecord ? char(0x07) : char(0x06));
            default:
                return std::string(1, 0x07);
        }
    }
};

class MainWindowTest : public ::testing::Test {
protected:
    MainWindowTest() {
        folder = fs::temp_directory_path() / ("kelp-main-" + std::to_string(::getpid()));
        fs::create_directories(folder / "ASM");
        writeImage("SAR_KELP.hex", goodImage(12));
        writeImage("SD_KELP.hex", goodImage(4));
        writeImage("58X_SDkelp.hex", goodImage(4));
        world.port.onWrite = [this](const std::string& block) {
            const std::string a = chip.answer(block);
            if (!a.empty()) world.deliverAfter(3, a);
        };
        window = std::make_unique<MainWindow>(
            state, devices, messages, folder.string(),
            std::vector<PortEntry>{{"/dev/ttyUSB0", "/dev/ttyUSB0", false},
                                   {"Virtual board", {}, true}});
        world.timer.onTick = [this] { window->Timer1_Timer(); };
    }
    ~MainWindowTest() override { fs::remove_all(folder); }

    static std::string goodImage(int records) {
        std::string s;
        for (int i = 0; i < records; ++i) s += ":0300000002003BC0\r\n";
        return s + ":00000001FF\r\n";
    }
    void writeImage(const std::string& name, const std::string& content) {
        std::ofstream(folder / "ASM" / name, std::ios::binary) << content;
    }

    fs::path folder;
    testing::FakeWorld world;
    ScriptedChip chip;
    ProgramState state;
    SharedDevices devices{world.port, world.timer, world.events};
    platform::RecordingMessageSink messages;
    std::unique_ptr<MainWindow> window;
};

TEST_F(MainWindowTest, StartState) {
    QStringList ports;
    for (int i = 0; i < window->ComSelect->count(); ++i) ports << window->ComSelect->itemText(i);
    EXPECT_EQ(ports, QStringList({"Select COM Port ", "COM 1", "COM 2", "COM 3", "/dev/ttyUSB0",
                                  "Virtual board"}));
    EXPECT_EQ(window->ComSelect->currentIndex(), 0);
    EXPECT_EQ(window->VantorCombobox->count(), 14);
    EXPECT_EQ(window->VantorCombobox->itemText(0), "Zylo510");
    EXPECT_EQ(window->VantorCombobox->itemText(13), "Zylo582");
    EXPECT_EQ(window->vantorText(), "Vantor Select");
    EXPECT_TRUE(window->DownloadButton->isEnabled());
    EXPECT_TRUE(window->NextButton->isEnabled());
    EXPECT_TRUE(window->ProgressBar->isHidden());
    EXPECT_EQ(window->windowTitle(), "KELP");
    EXPECT_EQ(world.port.portName(), "/dev/ttyS0");
    EXPECT_FALSE(world.port.isOpen());
    for (QWidget* w : std::initializer_list<QWidget*>{window->ComSelect, window->VantorCombobox,
                                                      window->VantorText, window->DownloadButton,
                                                      window->NextButton, window->ProgressBar})
        EXPECT_FALSE(w->accessibleName().isEmpty()) << w->objectName().toStdString();
}

TEST_F(MainWindowTest, PortChoices) {
    struct Step {
        int position;
        const char* device;
    };
    const Step steps[] = {{2, "/dev/ttyS1"},
                          {3, "/dev/ttyS2"},
                          {0, "/dev/ttyS2"},
                          {4, "/dev/ttyUSB0"},
                          {1, "/dev/ttyS0"}};
    for (const auto& s : steps) {
        window->ComSelect->setCurrentIndex(s.position);
        EXPECT_EQ(world.port.portName(), s.device) << s.position;
    }
}

TEST_F(MainWindowTest, VirtualBoardEntryAsksForTheBoard) {
    QSignalSpy spy(window.get(), &MainWindow::virtualBoardRequested);
    window->setVirtualBoardDevice("/dev/pts/99");
    window->ComSelect->setCurrentIndex(5);
    EXPECT_EQ(world.port.portName(), "/dev/pts/99");
    EXPECT_EQ(spy.count(), 0);  // already running
}

TEST_F(MainWindowTest, NextRules) {
    QSignalSpy spy(window.get(), &MainWindow::evaluationRequested);
    window->show();
    window->NextButton->click();
    EXPECT_EQ(messages.texts(), std::vector<std::string>{"Error: Please select a COM port."});
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(spy.count(), 0);

    messages.messages.clear();
    window->ComSelect->setCurrentIndex(1);
    window->NextButton->click();  // model still "Vantor Select"
    EXPECT_TRUE(messages.messages.empty());
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(spy.count(), 0);

    window->VantorCombobox->setCurrentText("Zylo580");
    window->NextButton->click();
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).value<DeviceFamily>(), DeviceFamily::SigmaDelta);
    EXPECT_EQ(state.ModelName, "Zylo580");
    EXPECT_TRUE(state.Is58XGroup);
    EXPECT_FALSE(world.port.isOpen());
    EXPECT_TRUE(world.port.writes.empty());

    window->VantorCombobox->setCurrentText("Zylo530");
    window->NextButton->click();
    EXPECT_TRUE(state.Is58XGroup);  // nothing clears it

    window->VantorCombobox->setCurrentText("Zylo572");
    window->NextButton->click();
    EXPECT_EQ(spy.at(2).at(0).value<DeviceFamily>(), DeviceFamily::SAR);
}

TEST_F(MainWindowTest, DownloadSucceeds) {
    QSignalSpy spy(window.get(), &MainWindow::evaluationRequested);
    window->DownloadButton->click();
    EXPECT_TRUE(messages.messages.empty()) << messages.texts().front();
    EXPECT_EQ(window->VantorText->text(), "Zylo570 version 2.1");
    EXPECT_EQ(state.ModelName, "Zylo570");
    EXPECT_EQ(chip.records, 12);
    EXPECT_EQ(chip.commands.front(), 'C');
    EXPECT_EQ(chip.commands.back(), 'U');
    EXPECT_EQ(world.port.settings(), "9600,N,8,1");
    EXPECT_FALSE(world.port.isOpen());
    EXPECT_TRUE(window->DownloadButton->isEnabled());
    EXPECT_TRUE(window->ProgressBar->isHidden());
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).value<DeviceFamily>(), DeviceFamily::SAR);
}

TEST_F(MainWindowTest, DownloadOf58XModelSetsTheGroup) {
    chip.model = "Zylo580";
    QSignalSpy spy(window.get(), &MainWindow::evaluationRequested);
    window->DownloadButton->click();
    EXPECT_TRUE(window->VantorText->text().startsWith("Zylo580 version"));
    EXPECT_TRUE(state.Is58XGroup);
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.at(0).at(0).value<DeviceFamily>(), DeviceFamily::SigmaDelta);
}

struct FailureCase {
    const char* name;
    std::function<void(ScriptedChip&, testing::FakeWorld&)> arrange;
    std::vector<std::string> texts;
    bool textSet;
};

TEST_F(MainWindowTest, EveryFailureHasItsMessageAndLeavesThePortClosed) {
    const FailureCase cases[] = {
        {"port busy",
         [](ScriptedChip&, testing::FakeWorld& w) {
             w.port.openResult = platform::OpenError::Busy;
         },
         {"Com Port Already Open by another host"},
         false},
        {"no reset answer",
         [](ScriptedChip& c, testing::FakeWorld&) { c.answerReset = false; },
         {kResetFailure},
         false},
        {"erase refused",
         [](ScriptedChip& c, testing::FakeWorld&) { c.eraseAnswer = 0x07; },
         {"Error: Could not ERASE code."},
         true},
        {"record refused",
         [](ScriptedChip& c, testing::FakeWorld&) { c.refuseRecord = 3; },
         {"Error: Could not DOWNLOAD Code."},
         true},
        {"run refused",
         [](ScriptedChip& c, testing::FakeWorld&) { c.runAnswer = 0x15; },
         {"Error: Could not RUN Code."},
         true},
    };
    for (const auto& c : cases) {
        chip = ScriptedChip{};
        world.port.openResult = platform::OpenError::None;
        messages.messages.clear();
        window->VantorText->clear();
        QSignalSpy spy(window.get(), &MainWindow::evaluationRequested);
        c.arrange(chip, world);
        window->DownloadButton->click();
        EXPECT_EQ(messages.texts(), c.texts) << c.name;
        for (const auto& m : messages.messages) EXPECT_EQ(m.title, "Warning") << c.name;
        EXPECT_EQ(!window->VantorText->text().isEmpty(), c.textSet) << c.name;
        EXPECT_FALSE(world.port.isOpen()) << c.name;
        EXPECT_TRUE(window->DownloadButton->isEnabled()) << c.name;
        EXPECT_TRUE(window->NextButton->isEnabled()) << c.name;
        EXPECT_EQ(spy.count(), 0) << c.name;
    }
}

TEST_F(MainWindowTest, RefusedRecordSendsNoFurtherFrames) {
    chip.refuseRecord = 3;
    window->DownloadButton->click();
    EXPECT_EQ(chip.records, 3);
    EXPECT_EQ(std::count(chip.commands.begin(), chip.commands.end(), 'U'), 0);
}

TEST_F(MainWindowTest, PermissionProblemMentionsTheDialoutGroup) {
    world.port.openResult = platform::OpenError::PermissionDenied;
    window->DownloadButton->click();
    ASSERT_EQ(messages.messages.size(), 1u);
    EXPECT_EQ(messages.messages[0].text.rfind("Com Port Already Open by another host\r\n", 0), 0u);
    EXPECT_NE(messages.messages[0].text.find("dialout"), std::string::npos);
}

TEST_F(MainWindowTest, BadImageShowsTheCheckMessagesThenItsOwn) {
    writeImage("SAR_KELP.hex", ":0300000002003BC1\r\n:00000001FF\r\n");
    window->DownloadButton->click();
    EXPECT_EQ(messages.texts(),
              (std::vector<std::string>{"Invalid Hex File", "Error Invalid Hex File."}));
    EXPECT_EQ(chip.records, 0);
    EXPECT_FALSE(world.port.isOpen());
}

TEST_F(MainWindowTest, MissingImageAndUnknownModel) {
    fs::remove(folder / "ASM" / "SAR_KELP.hex");
    window->DownloadButton->click();
    ASSERT_EQ(messages.messages.size(), 2u);
    EXPECT_NE(messages.messages[0].text.find("SAR_KELP.hex"), std::string::npos);
    EXPECT_EQ(messages.messages[1].text, "Error Invalid Hex File.");

    messages.messages.clear();
    chip = ScriptedChip{};
    chip.model = "Zylo599";
    window->DownloadButton->click();
    ASSERT_EQ(messages.messages.size(), 1u);
    EXPECT_NE(messages.messages[0].text.find("Zylo599"), std::string::npos);
    EXPECT_TRUE(chip.commands.empty());  // nothing erased
    EXPECT_FALSE(world.port.isOpen());
}

}  // namespace
}  // namespace kelp::shell
