#pragma once

#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelp::loader {

// Called now and then while a file is read, so that a window can handle its events; false
// stops the reading as if the file ended there (the program is closing).
using KeepGoing = std::function<bool()>;

// A text file one line at a time, however large: CR LF, CR or LF end a line; a final line
// ending does not start another line.
class LineReader {
public:
    explicit LineReader(const std::string& path, KeepGoing keepGoing = {});
    bool isOpen() const { return in_.is_open(); }
    // The next line; false at the end of the file, on a read error or when stopped.
    bool next(std::string& line);
    bool failed() const { return in_.bad(); }
    bool stopped() const { return stopped_; }

private:
    bool pause();
    bool fill();

    std::ifstream in_;
    KeepGoing keepGoing_;
    std::chrono::steady_clock::time_point lastPause_;
    std::vector<char> buffer_;
    size_t pos_ = 0;
    size_t end_ = 0;
    bool afterCR_ = false;  // an LF that comes next belongs to the CR before it
    bool stopped_ = false;
};

// The lines of a text file; nullopt when the file cannot be read.
std::optional<std::vector<std::string>> readTextLines(const std::string& path);

inline const std::string kEndRecord = ":00000001FF";

struct CheckMessage {
    std::string text;
    std::string title;
    bool operator==(const CheckMessage&) const = default;
};

struct HexCheck {
    bool ok = true;
    std::vector<CheckMessage> messages;  // to be shown in this order
};

// Checks an image before anything is sent. The last line of the file is never examined
// (the transfer never sends it either); after the first bad line no other line is looked at.
// The file is read line by line to its end, calling `keepGoing` between lines.
HexCheck CheckHexFile(const std::string& path, int16_t hexSizeLimit,
                      const KeepGoing& keepGoing = {});

// What the transfer takes from a line: characters 4-7 (address) and 10 up to the last two.
struct RecordText {
    std::string address;
    std::string data;
};
RecordText extractRecord(const std::string& line);

}  // namespace kelp::loader
