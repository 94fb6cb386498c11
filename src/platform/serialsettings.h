#pragma once

#include <optional>
#include <string>

namespace kelp::platform {

struct LineSettings {
    int baud = 9600;
    char parity = 'N';  // N, E, O, M, S
    int dataBits = 8;
    int stopBits = 1;
};

// Parses "9600,N,8,1"; nullopt when the text is not of that form.
std::optional<LineSettings> parseLineSettings(const std::string& text);

}  // namespace kelp::platform
