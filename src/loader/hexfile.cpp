#include "loader/hexfile.h"

#include <fstream>
#include <iterator>

#include "link/hexreading.h"

namespace kelp::loader {

namespace {

// Characters counted from 1; whatever lies beyond the line reads as nothing.
std::string field(const std::string& line, size_t first, size_t length) {
    if (first < 1 || first > line.size()) return {};
    return line.substr(first - 1, length);
}

int byteAt(const std::string& line, size_t first) { return link::hexField(field(line, first, 2)); }

}  // namespace

std::optional<std::vector<std::string>> readTextLines(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) return std::nullopt;
    std::vector<std::string> lines;
    size_t i = 0;
    while (i < text.size()) {
        size_t end = text.find_first_of("\r\n", i);
        if (end == std::string::npos) {
            lines.push_back(text.substr(i));
            break;
        }
        lines.push_back(text.substr(i, end - i));
        i = end + 1;
        if (text[end] == '\r' && i < text.size() && text[i] == '\n') ++i;
    }
    return lines;
}

HexCheck CheckHexFile(const std::string& path, int16_t hexSizeLimit) {
    HexCheck result;
    const auto lines = readTextLines(path);
    if (!lines) {
        result.ok = false;
        result.messages.push_back({"The firmware image could not be read:\r\n" + path +
                                       "\r\n\r\nCheck that the ASM folder beside KELP holds "
                                       "the image and that it is readable.",
                                   "Warning"});
        return result;
    }
    if (lines->empty()) {
        result.ok = false;
        result.messages.push_back(
            {"The firmware image is empty:\r\n" + path + "\r\n\r\nReinstall the image file.",
             "Warning"});
        return result;
    }
    // The end-of-file test comes before the line in hand: the last line is never checked.
    for (size_t n = 0; n + 1 < lines->size(); ++n) {
        const std::string& line = (*lines)[n];
        if (!result.ok || line == kEndRecord) continue;
        if (line.empty() || line[0] != ':') {
            result.messages.push_back({"Invalid Hex File", "Warning"});
            result.ok = false;
        }
        const int count = byteAt(line, 2);
        const int high = byteAt(line, 4);
        const int low = byteAt(line, 6);
        if (high * 256 + low + count > hexSizeLimit) {
            result.messages.push_back({"Hex File too big", "Warning Hex File"});
            result.ok = false;
        }
        unsigned sum = static_cast<unsigned>(count + high + low + byteAt(line, 8));
        for (int k = 0; k < count; ++k) sum += static_cast<unsigned>(byteAt(line, 10 + 2 * k));
        sum += static_cast<unsigned>(byteAt(line, 10 + 2 * count));
        if (sum % 256 != 0) {
            result.messages.push_back({"Invalid Hex File", "Warning"});
            result.ok = false;
        }
    }
    return result;
}

RecordText extractRecord(const std::string& line) {
    RecordText r;
    r.address = field(line, 4, 4);
    if (line.size() > 11) r.data = line.substr(9, line.size() - 11);
    return r;
}

}  // namespace kelp::loader
