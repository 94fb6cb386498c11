#include "shell/mainwindow.h"

#include <gtest/gtest.h>

#include <QProgressBar>
#include <QPushButton>
#include <QSerialPortInfo>
#include <QSignalSpy>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>

#include "link/link.h"
#include "loader/frames.h"
#include "platform/recordingmessagesink.h"
#include "platform/serialsettings.h"
#include "shell/application.h"
#include "shell/programstate.h"
#include "support/fakes.h"
#include "support/widgets.h"

namespace kelp::shell {
namespace {

namespace fs = std::filesystem;
using testing::child;

// A chip's loader on the simulated line: identification, then 06 for each frame unless told.
struct ScriptedChip {
    std::string model = "Zylo570";
    bool answerReset = true;
    char eraseAnswer = 0x06;
    int refuseRecord = 0;  // counted from 1; 0 = none
    char runAnswer = 0x06;
    int records = 0;
    std::string commands;  // after the reset: C erase, W write, U run

    std::string answer(const std::string& block) {
        if (block == loader::kResetSequence) {
            if (!answerReset) return {};
            std::string id = model + " LDR21  board\r\n";
            id.resize(25, '.');
            return id;
        }
        if (block.size() < 4) return {};
        commands += block[3];
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

struct MainWindowTest : ::testing::Test {
    MainWindowTest() {
        fs::create_directories(folder / "ASM");
        writeImages();
        world.port.onWrite = [this](const std::string& block) {
            const std::string a = chip.answer(block);
            if (!a.empty()) world.deliverAfter(3, a);
        };
    }
    ~MainWindowTest() override { fs::remove_all(folder); }

    void writeImages() {
        for (const auto& [name, records] : {std::pair{"SAR_KELP.hex", 12}, {"58X_SDkelp.hex", 4}}) {
            std::string s;
            for (int i = 0; i < records; ++i) s += ":0300000002003BC0\r\n";
            writeImage(name, s + ":00000001FF\r\n");
        }
    }
    void writeImage(const std::string& name, const std::string& content) {
        std::ofstream(folder / "ASM" / name, std::ios::binary) << content;
    }
    QComboBox* list(const char* name) { return child<QComboBox>(window.get(), name); }
    QPushButton* button(const char* name) { return child<QPushButton>(window.get(), name); }

    fs::path folder = fs::temp_directory_path() / ("kelp-main-" + std::to_string(::getpid()));
    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    ScriptedChip chip;
    ProgramState state;
    platform::RecordingMessageSink messages;
    std::unique_ptr<MainWindow> window =
        std::make_unique<MainWindow>(state, link, messages, folder.string(),
                                     std::vector<PortEntry>{{"/dev/ttyUSB0", "/dev/ttyUSB0", false},
                                                            {"Virtual board", {}, true}});
};

TEST_F(MainWindowTest, PortChoices) {
    EXPECT_EQ(list("ComSelect")->currentIndex(), 0);
    EXPECT_EQ(list("ComSelect")->itemText(0), "Select COM Port ");
    EXPECT_EQ(world.port.portName(), "/dev/ttyS0");
    const std::pair<int, const char*> steps[] = {{2, "/dev/ttyS1"},
                                                 {3, "/dev/ttyS2"},
                                                 {0, "/dev/ttyS2"},
                                                 {4, "/dev/ttyUSB0"},
                                                 {1, "/dev/ttyS0"}};
    for (const auto& [position, device] : steps) {
        list("ComSelect")->setCurrentIndex(position);
        EXPECT_EQ(world.port.portName(), device) << position;
    }

    // The virtual board is asked for once; then its device is the port.
    QSignalSpy asked(window.get(), &MainWindow::virtualBoardRequested);
    list("ComSelect")->setCurrentIndex(5);
    EXPECT_EQ(asked.count(), 1);
    window->setVirtualBoardDevice("/dev/pts/99");
    list("ComSelect")->setCurrentIndex(1);
    list("ComSelect")->setCurrentIndex(5);
    EXPECT_EQ(world.port.portName(), "/dev/pts/99");
    EXPECT_EQ(asked.count(), 1);
    EXPECT_FALSE(world.port.isOpen());
}

TEST(MainWindowPorts, ASystemPortBehindCom1To3IsListedOnce) {
    bool reported = false;
    for (const QSerialPortInfo& p : QSerialPortInfo::availablePorts())
        for (int n = 1; n <= 3; ++n)
            reported = reported || p.systemLocation().toStdString() == MainWindow::comDevice(n);
    if (!reported) GTEST_SKIP() << "the system reports none of the devices of COM 1 to COM 3";
    platform::RecordingMessageSink messages;
    Application app({"/nowhere", {}, true, false, false}, &messages);
    auto* ports = child<QComboBox>(app.mainWindow(), "ComSelect");
    for (int i = 4; i < ports->count(); ++i)
        for (int n = 1; n <= 3; ++n)
            EXPECT_NE(ports->itemText(i).toStdString(), MainWindow::comDevice(n)) << i;
}

TEST_F(MainWindowTest, NextRules) {
    QSignalSpy spy(window.get(), &MainWindow::evaluationRequested);
    EXPECT_EQ(window->vantorText(), "Vantor Select");
    window->show();
    button("NextButton")->click();
    EXPECT_EQ(messages.texts(), std::vector<std::string>{"Error: Please select a COM port."});
    EXPECT_TRUE(window->isVisible());

    messages.messages.clear();
    list("ComSelect")->setCurrentIndex(1);
    button("NextButton")->click();  // model still "Vantor Select"
    EXPECT_TRUE(messages.messages.empty());
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(spy.count(), 0);

    const std::pair<const char*, DeviceFamily> models[] = {{"Zylo580", DeviceFamily::SigmaDelta},
                                                           {"Zylo530", DeviceFamily::SigmaDelta},
                                                           {"Zylo572", DeviceFamily::SAR}};
    for (const auto& [model, family] : models) {
        list("VantorCombobox")->setCurrentText(model);
        button("NextButton")->click();
        EXPECT_EQ(spy.takeLast().at(0).value<DeviceFamily>(), family) << model;
        EXPECT_EQ(state.loader.ModelName, model);
        EXPECT_TRUE(state.Is58XGroup) << model;  // set by Zylo580, then never cleared
    }
    EXPECT_FALSE(world.port.isOpen());
    EXPECT_TRUE(world.port.writes.empty());
}

const std::string kResetFailure =
    "Error: Could not RESET the device\r\r\nPlease ensure that...\r\r\n"
    "1. The power supply is connected\r\n2. All connections are correct\r\n"
    "3. A program is not already running\r\n4. The correct value for the crystal is selected\r\n"
    "5. PSEN is inserted\r\r\nSee downloading instructions under 'Help-->Index'";
constexpr const char* kBusy = "Com Port Already Open by another host";
constexpr const char* kBadImage = "Error Invalid Hex File.";

struct DownloadCase {
    const char* name;
    std::function<void(MainWindowTest&)> arrange;
    std::vector<std::string> texts;
    const char* commands;
    const char* identified;  // VantorText afterwards
    std::optional<DeviceFamily> opened;
};

TEST_F(MainWindowTest, EveryDownloadOutcome) {
    using T = MainWindowTest;
    const std::string missing = "The firmware image could not be read:\r\n" + folder.string() +
                                "/ASM/SAR_KELP.hex\r\n\r\nCheck that the ASM folder beside KELP "
                                "holds the image and that it is readable.";
    const std::string all = "CWWWWWWWWWWWWU";
    const char* const v21 = "Zylo570 version 2.1";
    // clang-format off
    const DownloadCase cases[] = {
        {"success", [](T&) {}, {}, all.c_str(), v21, DeviceFamily::SAR},
        {"58X", [](T& t) { t.chip.model = "Zylo580"; }, {}, "CWWWWU", "Zylo580 version 2.1",
         DeviceFamily::SigmaDelta},
        {"busy", [](T& t) { t.world.port.openResult = platform::OpenError::Busy; }, {kBusy},
         "", "", {}},
        {"not permitted",
         [](T& t) { t.world.port.openResult = platform::OpenError::PermissionDenied; },
         {std::string(kBusy) + "\r\nYou may not use /dev/ttyS0: add your user to the dialout "
          "group (sudo usermod -aG dialout $USER) and log in again."}, "", "", {}},
        {"no reset answer", [](T& t) { t.chip.answerReset = false; }, {kResetFailure}, "", "", {}},
        {"erase refused", [](T& t) { t.chip.eraseAnswer = 0x07; },
         {"Error: Could not ERASE code."}, "C", v21, {}},
        {"bad image",
         [](T& t) { t.writeImage("SAR_KELP.hex", ":0300000002003BC1\r\n:00000001FF\r\n"); },
         {"Invalid Hex File", kBadImage}, "C", v21, {}},
        {"missing image", [](T& t) { fs::remove(t.folder / "ASM" / "SAR_KELP.hex"); },
         {missing, kBadImage}, "C", v21, {}},
        {"unknown model", [](T& t) { t.chip.model = "Zylo599"; },
         {"The board answered as Zylo599, a model KELP has no firmware for.\r\nCheck the board "
          "and its crystal setting, then press Download again.", kBadImage},
         "C", "Zylo599 version 2.1", {}},
        {"record refused", [](T& t) { t.chip.refuseRecord = 3; },
         {"Error: Could not DOWNLOAD Code."}, "CWWW", v21, {}},
        {"run refused", [](T& t) { t.chip.runAnswer = 0x15; }, {"Error: Could not RUN Code."},
         all.c_str(), v21, {}},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        chip = ScriptedChip{};
        world.port.openResult = platform::OpenError::None;
        writeImages();
        messages.messages.clear();
        child<QLineEdit>(window.get(), "VantorText")->clear();
        state.Is58XGroup = false;
        QSignalSpy opened(window.get(), &MainWindow::evaluationRequested);
        c.arrange(*this);
        button("DownloadButton")->click();
        EXPECT_EQ(messages.texts(), c.texts);
        for (const auto& m : messages.messages) EXPECT_EQ(m.title, "Warning");
        EXPECT_EQ(chip.commands, c.commands);
        EXPECT_EQ(child<QLineEdit>(window.get(), "VantorText")->text(), c.identified);
        EXPECT_EQ(state.Is58XGroup, chip.model == "Zylo580");
        EXPECT_FALSE(world.port.isOpen());
        EXPECT_TRUE(button("DownloadButton")->isEnabled() && button("NextButton")->isEnabled());
        EXPECT_TRUE(child<QProgressBar>(window.get(), "ProgressBar")->isHidden());
        ASSERT_EQ(opened.count(), c.opened ? 1 : 0);
        if (c.opened) {
            EXPECT_EQ(opened.at(0).at(0).value<DeviceFamily>(), *c.opened);
        }
    }
    EXPECT_EQ(platform::lineSettingsText(world.port.lineSettings()), "9600,N,8,1");
}

}  // namespace
}  // namespace kelp::shell
