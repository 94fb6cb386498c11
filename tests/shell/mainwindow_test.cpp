#include "shell/mainwindow.h"

#include <gtest/gtest.h>

#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <filesystem>
#include <fstream>

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

// A chip's loader: its identification, then 06 for every frame but the one it refuses.
struct ScriptedChip {
    std::string model = "Zylo570";
    std::string refuse;    // "reset", or the step answered 07: "C", "W3" (third record), "U"
    std::string commands;  // after the reset: C erase, W write, U run
    int records = 0;

    std::string answer(const std::string& block) {
        if (block == loader::kResetSequence)
            return refuse == "reset" ? "" : model + " LDR21" + std::string(12, '.');
        commands += block.at(3);
        const std::string step = block[3] + (block[3] == 'W' ? std::to_string(++records) : "");
        return std::string(1, step == refuse ? 0x07 : 0x06);
    }
};

struct MainWindowTest : ::testing::Test {
    MainWindowTest() {
        fs::create_directories(folder / "ASM");
        world.port.onWrite = [this](const std::string& block) {
            const std::string a = chip.answer(block);
            if (!a.empty()) world.deliverAfter(3, a);
        };
    }
    ~MainWindowTest() override { fs::remove_all(folder); }
    void writeImages() {
        for (const auto& [name, records] :
             {std::pair{"SAR_KELP.hex", 12}, {"58X_SDkelp.hex", 4}, {"SD_KELP.hex", 8}}) {
            std::ofstream image(folder / "ASM" / name, std::ios::binary);
            for (int i = 0; i < records; ++i) image << ":0300000002003BC0\r\n";
            image << ":00000001FF\r\n";
        }
    }
    QComboBox* list(const char* name) { return child<QComboBox>(window.get(), name); }
    QPushButton* button(const char* name) { return child<QPushButton>(window.get(), name); }

    fs::path folder = fs::temp_directory_path() / ("kelp-main-" + std::to_string(::getpid()));
    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    ScriptedChip chip;
    ProgramState state;
    platform::RecordingMessageSink messages;
    std::unique_ptr<MainWindow> window = std::make_unique<MainWindow>(
        state, link, messages, folder.string(),
        std::vector<PortEntry>{{"/dev/ttyUSB0", "/dev/ttyUSB0", false}});
};

TEST_F(MainWindowTest, PortChoicesSurviveListingThePortsAgain) {
    EXPECT_EQ(world.port.portName(), "/dev/ttyS0");
    // Position 0 keeps the last choice.
    for (const auto& [position, device] : {std::pair{2, "/dev/ttyS1"},
                                           {3, "/dev/ttyS2"},
                                           {0, "/dev/ttyS2"},
                                           {1, "/dev/ttyS0"},
                                           {4, "/dev/ttyUSB0"}}) {
        list("ComSelect")->setCurrentIndex(position);
        EXPECT_EQ(world.port.portName(), device) << position;
    }
    // The chosen adapter is gone and another one came: both listed, the choice unchanged.
    window->updatePorts({{"/dev/ttyUSB1", "/dev/ttyUSB1", false}});
    QStringList listed;
    for (int i = 4; i < list("ComSelect")->count(); ++i) listed << list("ComSelect")->itemText(i);
    EXPECT_EQ(listed, (QStringList{"/dev/ttyUSB1", "/dev/ttyUSB0"}));
    EXPECT_EQ(list("ComSelect")->currentText(), "/dev/ttyUSB0");
    EXPECT_EQ(world.port.portName(), "/dev/ttyUSB0");
    list("ComSelect")->setCurrentIndex(4);
    EXPECT_EQ(world.port.portName(), "/dev/ttyUSB1");
}

TEST(MainWindowPorts, ADeviceBehindCom1To3IsListedOnce) {
    platform::RecordingMessageSink messages;
    Application app({"/nowhere", {"/dev/ttyS1", "/dev/ttyUSB7", "/dev/ttyUSB7"}, true, false},
                    &messages);
    auto* ports = child<QComboBox>(app.mainWindow(), "ComSelect");
    QStringList listed;  // beyond the four fixed entries; the system's own ports among them
    for (int i = 4; i < ports->count(); ++i) listed << ports->itemText(i);
    EXPECT_EQ(listed.count("/dev/ttyUSB7"), 1);
    for (int n = 1; n <= 3; ++n)
        EXPECT_FALSE(listed.contains(QString::fromStdString(MainWindow::comDevice(n)))) << n;
}

TEST_F(MainWindowTest, NextRules) {
    QSignalSpy opened(window.get(), &MainWindow::evaluationRequested);
    window->show();
    button("NextButton")->click();
    EXPECT_EQ(messages.texts(), std::vector<std::string>{"Error: Please select a COM port."});
    EXPECT_TRUE(window->isVisible());

    list("ComSelect")->setCurrentIndex(1);
    button("NextButton")->click();  // no model chosen
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(opened.count(), 0);

    const std::pair<const char*, DeviceFamily> models[] = {{"Zylo580", DeviceFamily::SigmaDelta},
                                                           {"Zylo530", DeviceFamily::SigmaDelta},
                                                           {"Zylo572", DeviceFamily::SAR}};
    for (const auto& [model, family] : models) {
        list("VantorCombobox")->setCurrentText(model);
        button("NextButton")->click();
        EXPECT_EQ(opened.takeLast().at(0).value<DeviceFamily>(), family) << model;
        EXPECT_EQ(state.loader.ModelName, model);
        EXPECT_TRUE(state.Is58XGroup) << model;  // set by Zylo580, then never cleared
    }
    EXPECT_TRUE(world.port.writes.empty());
}

TEST_F(MainWindowTest, EveryDownloadOutcome) {
    using enum platform::OpenError;
    const std::string busy = "Com Port Already Open by another host";
    const std::string bad = "Error Invalid Hex File.", all = "CWWWWWWWWWWWWU";
    const std::string held =
        busy + "\r\nAnother program holds /dev/ttyS0. Close it there, then try again.";
    const std::string gone = busy +
                             "\r\n/dev/ttyS0 is not there: plug the adapter in again, or choose "
                             "the port it has now, then try again.";
    const std::string denied = busy +
                               "\r\nYou may not use /dev/ttyS0: add your user to the dialout "
                               "group (sudo usermod -aG dialout $USER) and log in again.";
    const std::string reset =
        "Error: Could not RESET the device\r\r\nPlease ensure that...\r\r\n1. The power supply is "
        "connected\r\n2. All connections are correct\r\n3. A program is not already running\r\n4. "
        "The correct value for the crystal is selected\r\n5. PSEN is inserted\r\r\nSee "
        "downloading instructions under 'Help-->Index'";
    const std::string missing = "The firmware image could not be read:\r\n" + folder.string() +
                                "/ASM/SAR_KELP.hex\r\n\r\nCheck that the ASM folder beside KELP "
                                "holds the image and that it is readable.";
    const std::string unknown =
        "The board answered as Zylo599, a model KELP has no firmware for.\r\nCheck the board and "
        "its crystal setting, then press Download again.";
    const struct {
        const char *model, *refuse;
        platform::OpenError open;
        const char* image;               // SAR_KELP.hex, nullptr for a good one, "" for none
        std::vector<std::string> texts;  // none: the family's window opens
        std::string commands;
    } cases[] = {
        {"Zylo570", "", None, nullptr, {}, all},
        {"Zylo580", "", None, nullptr, {}, "CWWWWU"},
        {"Zylo530", "", None, nullptr, {}, "CWWWWWWWWU"},
        {"Zylo570", "", Busy, nullptr, {held}, ""},
        {"Zylo570", "", NotFound, nullptr, {gone}, ""},
        {"Zylo570", "", PermissionDenied, nullptr, {denied}, ""},
        {"Zylo570", "reset", None, nullptr, {reset}, ""},
        {"Zylo570", "C", None, nullptr, {"Error: Could not ERASE code."}, "C"},
        {"Zylo570", "", None, ":0300000002003BC1\r\n:00000001FF", {"Invalid Hex File", bad}, "C"},
        {"Zylo570", "", None, "", {missing, bad}, "C"},
        {"Zylo599", "", None, nullptr, {unknown, bad}, "C"},
        {"Zylo570", "W3", None, nullptr, {"Error: Could not DOWNLOAD Code."}, "CWWW"},
        {"Zylo570", "U", None, nullptr, {"Error: Could not RUN Code."}, all},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.texts.empty() ? c.model : c.texts[0]);
        chip = ScriptedChip{c.model, c.refuse, "", 0};
        world.port.openResult = c.open;
        writeImages();
        if (c.image && *c.image) std::ofstream(folder / "ASM" / "SAR_KELP.hex") << c.image;
        if (c.image && !*c.image) fs::remove(folder / "ASM" / "SAR_KELP.hex");
        messages.messages.clear();
        child<QLineEdit>(window.get(), "VantorText")->clear();
        state.Is58XGroup = false;
        QSignalSpy opened(window.get(), &MainWindow::evaluationRequested);
        button("DownloadButton")->click();
        EXPECT_EQ(messages.texts(), c.texts);
        for (const auto& m : messages.messages) EXPECT_EQ(m.title, "Warning");
        EXPECT_EQ(chip.commands, c.commands);
        EXPECT_EQ(child<QLineEdit>(window.get(), "VantorText")->text().toStdString(),
                  c.commands.empty() ? "" : chip.model + " version 2.1");
        EXPECT_EQ(state.Is58XGroup, chip.model == "Zylo580");
        EXPECT_FALSE(world.port.isOpen());
        EXPECT_TRUE(button("DownloadButton")->isEnabled() && button("NextButton")->isEnabled());
        EXPECT_TRUE(child<QProgressBar>(window.get(), "ProgressBar")->isHidden());
        ASSERT_EQ(opened.count(), c.texts.empty() ? 1 : 0);
        if (c.texts.empty()) {
            EXPECT_EQ(opened.at(0).at(0).value<DeviceFamily>(),
                      chip.model == "Zylo570" ? DeviceFamily::SAR : DeviceFamily::SigmaDelta);
        }
    }
    EXPECT_EQ(platform::lineSettingsText(world.port.lineSettings()), "9600,N,8,1");
}

}  // namespace
}  // namespace kelp::shell
