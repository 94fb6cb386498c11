#include "platform/serialsettings.h"

#include <cctype>
#include <stdexcept>
#include <vector>

namespace kelp::platform {

namespace {

constexpr std::string_view kParityLetters = "NEOMS";

std::optional<int> number(std::string_view s) {
    if (s.empty() || s.size() > 7) return std::nullopt;
    int value = 0;
    for (char c : s) {
        if (!std::isdigit(static_cast<unsigned char>(c))) return std::nullopt;
        value = value * 10 + (c - '0');
    }
    return value;
}

}  // namespace

std::optional<LineSettings> parseLineSettings(std::string_view text) {
    std::vector<std::string_view> parts;
    for (size_t start = 0;;) {
        const size_t comma = text.find(',', start);
        parts.push_back(text.substr(start, comma - start));
        if (comma == std::string_view::npos) break;
        start = comma + 1;
    }
    if (parts.size() != 4 || parts[1].size() != 1) return std::nullopt;
    const auto baud = number(parts[0]);
    const auto data = number(parts[2]);
    const auto stop = number(parts[3]);
    const char p = static_cast<char>(std::toupper(static_cast<unsigned char>(parts[1][0])));
    const size_t parity = kParityLetters.find(p);
    if (!baud || !data || !stop || parity == std::string_view::npos) return std::nullopt;
    if (*baud <= 0 || *data < 5 || *data > 8 || (*stop != 1 && *stop != 2)) return std::nullopt;
    return LineSettings{*baud, static_cast<Parity>(parity), *data, *stop};
}

LineSettings requireLineSettings(std::string_view text) {
    if (auto settings = parseLineSettings(text)) return *settings;
    throw std::invalid_argument("malformed line settings \"" + std::string(text) + "\"");
}

std::string lineSettingsText(const LineSettings& s) {
    return std::to_string(s.baud) + "," + kParityLetters[static_cast<size_t>(s.parity)] + "," +
           std::to_string(s.dataBits) + "," + std::to_string(s.stopBits);
}

}  // namespace kelp::platform
