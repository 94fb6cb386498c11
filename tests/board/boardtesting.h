#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace kelp::board::testing {

inline const std::string kResetSequence("\x21\x5A\x00\xA6", 4);

inline std::string bytes(std::initializer_list<int> values) {
    std::string out;
    for (int v : values) out += static_cast<char>(v);
    return out;
}

// A loader frame built the way a host builds it: 07 0E N command payload checksum.
inline std::string loaderFrame(char command, const std::string& payload = {}) {
    const int n = static_cast<int>(payload.size()) + 1;
    int sum = n + static_cast<uint8_t>(command);
    for (char c : payload) sum += static_cast<uint8_t>(c);
    return bytes({0x07, 0x0E, n}) + command + payload + static_cast<char>((256 - sum % 256) % 256);
}

inline std::string writeFrame(int address, const std::string& data) {
    return loaderFrame('W', bytes({0x00, address >> 8, address & 0xFF}) + data);
}

// A SAR configuration message: C, then the given bytes from offset 1 on, zeros after them.
inline std::string configuration(std::initializer_list<int> fromOffset1) {
    std::string message = "C" + bytes(fromOffset1);
    message.resize(26, '\0');
    return message;
}

// A sigma-delta configuration message: C, then the given bytes from offset 1 on, zeros after
// them, 27 bytes in all.
inline std::string sdConfiguration(std::initializer_list<int> fromOffset1) {
    std::string message = "C" + bytes(fromOffset1);
    message.resize(27, '\0');
    return message;
}

}  // namespace kelp::board::testing
