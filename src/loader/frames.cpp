#include "loader/frames.h"

#include "link/hexreading.h"
#include "loader/hexfile.h"

namespace kelp::loader {

uint8_t loaderChecksum(const std::string& countCommandPayload) {
    unsigned sum = 0;
    for (unsigned char c : countCommandPayload) sum += c;
    return static_cast<uint8_t>((256 - sum % 256) % 256);
}

std::string buildLoaderPacket(char command, const std::string& payload) {
    std::string body;
    body += static_cast<char>(payload.size() + 1);
    body += command;
    body += payload;
    return std::string("\x07\x0E", 2) + body + static_cast<char>(loaderChecksum(body));
}

std::string eraseFrame() { return buildLoaderPacket('C', {}); }

std::string runFrame() { return buildLoaderPacket('U', std::string(3, '\0')); }

std::optional<std::string> writeFrameFromLine(const std::string& line) {
    const RecordText r = extractRecord(line);
    const std::string t = r.address + r.data;
    const size_t bytes = t.size() / 2;
    if (bytes + 2 > 255) return std::nullopt;
    std::string payload(1, '\0');
    for (size_t i = 0; i < bytes; ++i)
        payload += static_cast<char>(link::hexField(std::string_view(t).substr(2 * i, 2)));
    return buildLoaderPacket('W', payload);
}

}  // namespace kelp::loader
