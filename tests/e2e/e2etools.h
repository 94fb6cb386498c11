#pragma once

// Shared pieces of the end-to-end tests: temporary folders, an independent HEX reader, and
// the program set up against a board on a pseudo-terminal.

#include <QComboBox>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "link/link.h"
#include "platform/recordingmessagesink.h"
#include "platform/serialport.h"
#include "shell/application.h"
#include "shell/mainwindow.h"
#include "support/boardprocess.h"
#include "support/widgets.h"

namespace kelp::testing {

namespace fs = std::filesystem;

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

// The board's log, each line without the speed the board may note at its end (" @57600").
inline std::vector<std::string> boardLog(const fs::path& p) {
    std::vector<std::string> lines = readLines(p);
    for (std::string& l : lines) {
        const size_t at = l.rfind(" @");
        if (at != std::string::npos && at + 2 < l.size() &&
            l.find_first_not_of("0123456789", at + 2) == std::string::npos)
            l.erase(at);
    }
    return lines;
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
        if (at != std::string::npos) {
            baud = std::stoi(l.substr(at + 2));
            l.erase(at);
        }
        out.emplace_back(l.substr(tag.size()), baud);
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

inline const fs::path kProgramDir{KELP_PROGRAM_DIR};

// KELP with one extra port entry: the board's device, at position 4 of ComSelect.
struct KelpOnBoard {
    explicit KelpOnBoard(const std::string& device, bool virtualBoard = false) {
        shell::ApplicationOptions o;
        o.programFolder = kProgramDir.string();
        o.extraPorts = {device};
        o.listSystemPorts = false;
        o.virtualBoard = virtualBoard;
        o.virtualBoardPacing = false;
        app = std::make_unique<shell::Application>(o, &messages);
        control<QComboBox>("ComSelect")->setCurrentIndex(4);
    }
    // A control of the main window.
    template <class W>
    W* control(const char* name) const {
        return child<W>(app->mainWindow(), name);
    }
    platform::SerialPort& port() const { return app->link().port(); }

    platform::RecordingMessageSink messages;
    std::unique_ptr<shell::Application> app;
};

}  // namespace kelp::testing
