#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelp::platform {

enum class Parity { None, Even, Odd, Mark, Space };

// Line settings of the serial port, typed. The program keeps its settings as texts such as
// "9600,N,8,1" and turns them into this once, where they are applied.
struct LineSettings {
    int baud = 9600;
    Parity parity = Parity::None;
    int dataBits = 8;
    int stopBits = 1;

    bool operator==(const LineSettings&) const = default;
};

// Parses "9600,N,8,1"; nullopt when the text is not of that form.
std::optional<LineSettings> parseLineSettings(std::string_view text);

// As parseLineSettings, for texts the program itself holds: a malformed one is a fault of the
// program, never a reason to fall back to some speed, so it throws std::invalid_argument.
LineSettings requireLineSettings(std::string_view text);

// "57600,N,8,1".
std::string lineSettingsText(const LineSettings& settings);

}  // namespace kelp::platform
