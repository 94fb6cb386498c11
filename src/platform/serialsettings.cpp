#include "platform/serialsettings.h"

#include <cctype>
#include <sstream>
#include <vector>

namespace kelp::platform {

std::optional<LineSettings> parseLineSettings(const std::string& text) {
    std::vector<std::string> parts;
    std::stringstream in(text);
    std::string part;
    while (std::getline(in, part, ',')) parts.push_back(part);
    if (parts.size() != 4) return std::nullopt;
    auto number = [](const std::string& s) -> std::optional<int> {
        if (s.empty() || s.size() > 7) return std::nullopt;
        for (char c : s)
            if (!std::isdigit(static_cast<unsigned char>(c))) return std::nullopt;
        return std::stoi(s);
    };
    LineSettings ls;
    auto baud = number(parts[0]);
    auto data = number(parts[2]);
    auto stop = number(parts[3]);
    if (!baud || !data || !stop || parts[1].size() != 1) return std::nullopt;
    char p = static_cast<char>(std::toupper(static_cast<unsigned char>(parts[1][0])));
    if (std::string("NEOMS").find(p) == std::string::npos) return std::nullopt;
    if (*baud <= 0 || *data < 5 || *data > 8 || (*stop != 1 && *stop != 2)) return std::nullopt;
    ls.baud = *baud;
    ls.parity = p;
    ls.dataBits = *data;
    ls.stopBits = *stop;
    return ls;
}

}  // namespace kelp::platform
