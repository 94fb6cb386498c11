// Images that are not what the loader expects, downloaded through the main window against a
// scripted chip: each ends with a clear message or the documented outcome, and the window is
// never left without its events for long, however large the file.

#include <gtest/gtest.h>
#include <unistd.h>

#include <QPushButton>
#include <QSignalSpy>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>

#include "link/link.h"
#include "loader/frames.h"
#include "platform/recordingmessagesink.h"
#include "shell/mainwindow.h"
#include "shell/programstate.h"
#include "support/fakes.h"
#include "support/widgets.h"

namespace kelp::loader {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Message = platform::RecordingMessageSink::Message;

// The scripted world's queue (which returns at once), timing the longest stretch between two
// visits: how long the window would have stayed frozen.
class StopwatchQueue final : public platform::EventQueue {
public:
    explicit StopwatchQueue(platform::EventQueue& inner) : inner_(inner) {}
    void waitForEvent() override { lap(), inner_.waitForEvent(); }
    void waitForEvent(int ms) override { lap(), inner_.waitForEvent(ms); }
    void processPending() override { lap(), inner_.processPending(); }
    bool closing() const override { return inner_.closing(); }
    void start() { longest = 0, last_ = Clock::now(); }
    void lap() {
        const auto now = Clock::now();
        longest = std::max(longest, std::chrono::duration<double>(now - last_).count());
        last_ = now;
    }
    double longest = 0;  // seconds

private:
    platform::EventQueue& inner_;
    Clock::time_point last_;
};

// `bytes` bytes of `line` over and over, or of random values (NULs among them) for no line.
std::string filler(const std::string& line, size_t bytes) {
    std::mt19937 bits(570);
    std::string s;
    while (s.size() < bytes) s += line.empty() ? std::string(1, static_cast<char>(bits())) : line;
    return s;
}

// Titles and texts as the user reads them, one message after the other.
std::string reading(const std::vector<Message>& messages) {
    std::string s;
    for (const Message& m : messages) s += "[" + m.title + "] " + m.text + "\n";
    return s;
}

TEST(BadImages, EachEndsClearlyAndTheWindowKeepsItsEvents) {
    const fs::path folder = fs::temp_directory_path() / ("kelp-bad-" + std::to_string(::getpid()));
    const std::string image = (folder / "ASM" / "SAR_KELP.hex").string();
    const std::string rec = ":0300000002003BC0", end = ":00000001FF";
    const Message invalid{"Invalid Hex File", "Warning"}, bad{"Error Invalid Hex File.", "Warning"};
    const Message tooBig{"Hex File too big", "Warning Hex File"};
    const std::string zeros(502, '0');
    const struct {
        const char* name;
        std::optional<std::string> content;  // none: no file at all
        const char* refuse;                  // the write the chip answers with 07, as "W2"
        std::vector<Message> shown;
        std::string commands;  // after the reset: C erase, W write, U run
    } cases[] = {
        // clang-format off
        {"empty file", "", "", {{"The firmware image is empty:\r\n" + image +
          "\r\n\r\nReinstall the image file.", "Warning"}, bad}, "C"},
        {"binary bytes after a run of NULs", std::string(16, '\0') + filler("", 1 << 20), "",
         {invalid, bad}, "C"},
        // The only line is the last: neither checked nor sent, as with every image.
        {"10 MB line without a line end", std::string(10 << 20, 'A'), "", {}, "CU"},
        {"10 MB line of letters, then the end record", std::string(10 << 20, 'A') + "\r\n" + end,
         "", {invalid, tooBig, invalid, bad}, "C"},
        {"50 MB of valid records",
         filler(":10000000000102030405060708090A0B0C0D0E0F78\r\n", 50 << 20) + end, "W2",
         {{"Error: Could not DOWNLOAD Code.", "Warning"}}, "CWW"},
        {"CR line ends", rec + "\r" + rec + "\r" + end + "\r", "", {}, "CWWU"},
        {"251 data bytes, then 252",
         ":FB000000" + zeros + "05\r\n:FC000000" + zeros + "0004\r\n" + end, "",
         {{"Error: Could not DOWNLOAD Code.\r\nLine 2 of the image holds more than 251 data "
           "bytes, more than one loader record carries. Split it into shorter records, then "
           "press Download again.", "Warning"}}, "CW"},
        {"no image in the ASM folder", std::nullopt, "", {{"The firmware image could not be "
          "read:\r\n" + image + "\r\n\r\nCheck that the ASM folder beside KELP holds the image "
          "and that it is readable.", "Warning"}, bad}, "C"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::create_directories(folder / "ASM");
        if (c.content) std::ofstream(image, std::ios::binary) << *c.content;
        testing::FakeWorld world;
        StopwatchQueue queue(world.events);
        link::Link link{world.port, world.timer, queue};
        std::string commands;
        int writes = 0;
        world.port.onWrite = [&](const std::string& block) {
            if (block == kResetSequence) return world.deliverAfter(3, "Zylo570 LDR21............");
            commands += block.at(3);
            const bool refused = block[3] == 'W' && "W" + std::to_string(++writes) == c.refuse;
            world.deliverAfter(3, std::string(1, refused ? 0x07 : 0x06));
        };
        shell::ProgramState state;
        platform::RecordingMessageSink messages;
        shell::MainWindow window(state, link, messages, folder.string(), {});
        QSignalSpy opened(&window, &shell::MainWindow::evaluationRequested);
        queue.start();
        testing::child<QPushButton>(&window, "DownloadButton")->click();
        queue.lap();
        fs::remove_all(folder);
        EXPECT_EQ(reading(messages.messages), reading(c.shown));
        EXPECT_EQ(commands, c.commands);
        EXPECT_EQ(opened.count(), c.shown.empty() ? 1 : 0);
        EXPECT_LT(queue.longest, 0.3);
    }
}

}  // namespace
}  // namespace kelp::loader
