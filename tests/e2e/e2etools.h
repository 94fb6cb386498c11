#pragma once

// Shared pieces of the end-to-end tests: the board's log read without any of the program's code,
// an independent HEX reader, and KELP set up against kelp-board on a pseudo-terminal.

#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QMainWindow>
#include <QPushButton>
#include <QThread>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/saranalysiswindow.h"
#include "analysis/sdanalysiswindow.h"
#include "link/link.h"
#include "platform/recordingmessagesink.h"
#include "platform/serialport.h"
#include "shell/application.h"
#include "shell/mainwindow.h"
#include "shell/programstate.h"
#include "support/boardprocess.h"
#include "support/widgets.h"

namespace kelp::testing {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

inline const fs::path kProgramDir{KELP_PROGRAM_DIR};

inline fs::path freshFolder(const std::string& name) {
    fs::path p =
        fs::temp_directory_path() / ("kelp-e2e-" + std::to_string(::getpid()) + "-" + name);
    fs::remove_all(p);
    fs::create_directories(p);
    return p;
}

inline std::string readFile(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

inline std::vector<std::string> readLines(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string l; std::getline(in, l);) {
        if (!l.empty() && l.back() == '\r') l.pop_back();
        lines.push_back(l);
    }
    return lines;
}

inline std::string hexText(long v) { return QString::number(v, 16).toUpper().toStdString(); }

// Hexadecimal words of a log line ("-" for a converter that was off: -1).
inline std::vector<long> hexWords(const std::string& text) {
    std::vector<long> out;
    std::istringstream in(text);
    for (std::string w; in >> w;) out.push_back(w == "-" ? -1 : std::stol(w, nullptr, 16));
    return out;
}

// Each line of the board's log that starts with `tag`, as (rest of the line, speed it
// arrived at). Lines of answers carry no speed: 0.
inline std::vector<std::pair<std::string, int>> loggedWithSpeed(const fs::path& p,
                                                                const std::string& tag) {
    std::vector<std::pair<std::string, int>> out;
    for (std::string l : readLines(p)) {
        if (l.rfind(tag, 0) != 0) continue;
        int baud = 0;
        const size_t at = l.rfind(" @");
        if (at != std::string::npos && at + 2 < l.size() &&
            l.find_first_not_of("0123456789", at + 2) == std::string::npos) {
            baud = std::stoi(l.substr(at + 2));
            l.erase(at);
        }
        out.emplace_back(l.substr(tag.size()), baud);
    }
    return out;
}

// The board's log, each line without the speed the board may note at its end (" @57600").
inline Texts boardLog(const fs::path& p) {
    Texts lines;
    for (const auto& [line, baud] : loggedWithSpeed(p, "")) lines.push_back(line);
    return lines;
}

// The codes the board sent since the last configuration, in order: every word of the SAR
// packets, or one column of the sigma-delta frames (0 primary, 1 auxiliary).
inline std::vector<long> loggedCodes(const fs::path& log, int column = -1) {
    std::vector<long> out;
    for (const std::string& line : boardLog(log)) {
        if (line.rfind("CONFIG ", 0) == 0) out.clear();
        if (line.rfind("CODES ", 0) != 0) continue;
        const std::vector<long> words = hexWords(line.substr(6));
        if (column < 0)
            out.insert(out.end(), words.begin(), words.end());
        else if (words.at(static_cast<size_t>(column)) >= 0)
            out.push_back(words[column]);
    }
    return out;
}

// The 8 KB memory an image should leave, read without any of the program's own code.
inline std::string expectedMemory(const fs::path& hex) {
    std::string memory(8192, static_cast<char>(0xFF));
    for (const std::string& line : readLines(hex)) {
        if (line.size() < 11 || line[0] != ':' || line.substr(7, 2) != "00") continue;
        const int count = std::stoi(line.substr(1, 2), nullptr, 16);
        const int address = std::stoi(line.substr(3, 4), nullptr, 16);
        for (int i = 0; i < count; ++i)
            memory[static_cast<size_t>(address + i)] = static_cast<char>(
                std::stoi(line.substr(9 + 2 * static_cast<size_t>(i), 2), nullptr, 16));
    }
    return memory;
}

constexpr int32_t kUntouched = -7;  // what a sample slot holds before the run

// KELP on a board behind an adapter's name (a link to the board's pseudo-terminal), so that a
// fresh board can take the place of a faulty one under it. Two such names are listed, at
// positions 4 and 5 of ComSelect; the first is chosen. The program folder is a fresh one.
struct Bench {
    explicit Bench(const std::string& name, bool virtualBoard = false)
        : dir(freshFolder(name)),
          ports{(dir / "ttyUSB0").string(), (dir / "ttyUSB1").string()},
          app(std::make_unique<shell::Application>(
              shell::ApplicationOptions{.programFolder = dir.string(),
                                        .extraPorts = ports,
                                        .listSystemPorts = false,
                                        .virtualBoard = virtualBoard,
                                        .virtualBoardPacing = false},
              &messages)) {
        child<QComboBox>(app->mainWindow(), "ComSelect")->setCurrentIndex(4);
    }
    ~Bench() {
        app.reset();
        board.reset();
        fs::remove_all(dir);
    }
    fs::path log() const { return dir / "board.log"; }
    // The firmware images, in a copy of the program's own ASM folder.
    fs::path withImages() const {
        fs::copy(kProgramDir / "ASM", dir / "ASM");
        return dir / "ASM";
    }
    // A board behind the adapter's name `port` (0 or 1), its log started afresh.
    bool plug(const char* model, const QStringList& args = {}, int port = 0) {
        board.reset();
        board = std::make_unique<BoardProcess>(
            QStringList{"--model", model, "--log", QString::fromStdString(log().string())} + args);
        for (const std::string& p : ports) fs::remove(p);
        if (board->device().empty()) return false;
        fs::create_symlink(board->device(), ports[static_cast<size_t>(port)]);
        return true;
    }
    QMainWindow* window() const { return app->evaluationWindow(); }
    bool sd() const { return window()->objectName() == "SD_KELP"; }
    QWidget* analysis() const {
        return sd() ? static_cast<QWidget*>(app->sdAnalysis()) : app->sarAnalysis();
    }
    template <class W>
    W* control(const char* name) const {
        return child<W>(window() ? static_cast<QWidget*>(window()) : app->mainWindow(), name);
    }
    const shell::ProgramState& state() const { return app->state(); }
    // What the user reads after clicking the button.
    Texts click(QWidget* parent, const char* button) {
        messages.messages.clear();
        child<QPushButton>(parent, button)->click();
        return messages.texts();
    }
    Texts download() { return click(app->mainWindow(), "DownloadButton"); }
    void next(const char* model) {
        child<QComboBox>(app->mainWindow(), "VantorCombobox")->setCurrentText(model);
        child<QPushButton>(app->mainWindow(), "NextButton")->click();
        if (window() && sd()) awaitDivider();
    }
    // The board reads a divider command at the line's speed of that moment: a run that
    // changes the speed at once (as no user clicks) could make it garbage on a busy machine.
    void awaitDivider() const {
        const std::string chosen = std::to_string(state().sdLink.CurrentClockDivider);
        for (int waited = 0; waited < 3000; waited += 5) {
            const auto sent = loggedWithSpeed(log(), "DIVIDER ");
            if (!sent.empty() && sent.back().first == chosen) return;
            QThread::msleep(5);
        }
    }
    Texts run(int samples) {
        app->state().sd.PrimaryCodeBuffer.fill(kUntouched);
        app->state().sar.SampleBuffer.fill(kUntouched);
        control<QComboBox>("NumSamples")->setEditText(QString::number(samples));
        return click(window(), "RunButton");
    }
    // The codes the board sent since the run's configuration (sigma-delta: the primary ones).
    std::vector<long> logged() const { return loggedCodes(log(), sd() ? 0 : -1); }
    int count() const { return state().run.SampleCount; }
    long stored(int i) const {
        const auto at = static_cast<size_t>(i);
        return sd() ? state().sd.PrimaryCodeBuffer[at] : state().sar.SampleBuffer[at + 1];
    }
    // After a run: Run back, port closed, the analysis shown; its first `n` slots hold the
    // board's codes, and when they are all the run took, the figures are theirs.
    void expectKept(int n) {
        EXPECT_TRUE(control<QPushButton>("RunButton")->isVisible());
        EXPECT_FALSE(control<QPushButton>("StopButton")->isVisible());
        EXPECT_FALSE(app->link().port().isOpen());
        ASSERT_NE(analysis(), nullptr);
        EXPECT_TRUE(analysis()->isVisible());
        const std::vector<long> codes = logged();
        ASSERT_GE(codes.size(), static_cast<size_t>(n));
        for (int i = 0; i < n; ++i) ASSERT_EQ(stored(i), codes[static_cast<size_t>(i)]) << i;
        if (n != count()) return;
        const auto [lo, hi] = std::minmax_element(codes.begin(), codes.begin() + n);
        EXPECT_EQ(texts(analysis(), "MinCodeTextbox|MaxCodeTextBox"),
                  hexText(*lo) + "|" + hexText(*hi));
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
    std::vector<std::string> ports;
    std::unique_ptr<BoardProcess> board;
    platform::RecordingMessageSink messages;
    std::unique_ptr<shell::Application> app;
};

}  // namespace kelp::testing
