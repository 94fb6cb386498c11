#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelp::loader {

// The lines of a text file: CR LF, CR or LF end a line; a final line ending does not start
// another line. nullopt when the file cannot be read.
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
HexCheck CheckHexFile(const std::string& path, int16_t hexSizeLimit);

// What the transfer takes from a line: characters 4-7 (address) and 10 up to the last two.
struct RecordText {
    std::string address;
    std::string data;
};
RecordText extractRecord(const std::string& line);

}  // namespace kelp::loader
