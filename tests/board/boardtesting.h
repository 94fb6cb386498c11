#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "board/boardoptions.h"

namespace kelp::board::testing {

inline const std::string kResetSequence("\x21\x5A\x00\xA6", 4);

inline std::string bytes(std::initializer_list<int> values) {
    std::string out;
    for (int v : values) out += static_cast<char>(v);
    return out;
}

// A loader frame built the way a host builds it: 07 0E N command payload checksum.
inline std::string loaderFrame(char command, const std::string& payload = {}) {
    int sum = static_cast<int>(payload.size()) + 1 + static_cast<uint8_t>(command);
    for (char c : payload) sum += static_cast<uint8_t>(c);
    return bytes({0x07, 0x0E, static_cast<int>(payload.size()) + 1}) + command + payload +
           static_cast<char>(-sum);
}

inline std::string writeFrame(int address, const std::string& data) {
    return loaderFrame('W', bytes({0x00, address >> 8, address & 0xFF}) + data);
}

// C, the given bytes from offset 1 on, zeros up to 26 bytes (SAR) or 27 (sigma-delta).
inline std::string configuration(std::initializer_list<int> fromOffset1, std::size_t size = 26) {
    std::string message = "C" + bytes(fromOffset1);
    message.resize(size, '\0');
    return message;
}

inline BoardOptions withFaults(const std::vector<std::string>& faults,
                               StartMode start = StartMode::Firmware,
                               const std::string& model = "Zylo570") {
    BoardOptions options;
    options.model = model, options.start = start;
    std::string error;
    for (const std::string& text : faults) options.faults.push_back(*parseFault(text, error));
    return options;
}

}  // namespace kelp::board::testing
