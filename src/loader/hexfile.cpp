#include "loader/hexfile.h"

#include <algorithm>

#include "link/hexreading.h"

namespace kelp::loader {

namespace {

// Long enough of reading without a look at the window's events, short enough to go unnoticed.
constexpr auto kPauseEvery = std::chrono::milliseconds(20);
constexpr size_t kChunk = 64 * 1024;

// Characters counted from 1; whatever lies beyond the line reads as nothing.
std::string field(const std::string& line, size_t first, size_t length) {
    if (first < 1 || first > line.size()) return {};
    return line.substr(first - 1, length);
}

int byteAt(const std::string& line, size_t first) { return link::hexField(field(line, first, 2)); }

void checkLine(const std::string& line, int16_t hexSizeLimit, HexCheck& result) {
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

CheckMessage unreadable(const std::string& path) {
    return {"The firmware image could not be read:\r\n" + path +
                "\r\n\r\nCheck that the ASM folder beside KELP holds the image and that it is "
                "readable.",
            "Warning"};
}

}  // namespace

LineReader::LineReader(const std::string& path, KeepGoing keepGoing)
    : in_(path, std::ios::binary),
      keepGoing_(std::move(keepGoing)),
      lastPause_(std::chrono::steady_clock::now()),
      buffer_(kChunk) {}

bool LineReader::fill() {
    if (!in_) return false;
    in_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    pos_ = 0;
    end_ = static_cast<size_t>(in_.gcount());
    return end_ > 0;
}

bool LineReader::pause() {
    if (keepGoing_ && std::chrono::steady_clock::now() - lastPause_ >= kPauseEvery) {
        stopped_ = !keepGoing_();
        lastPause_ = std::chrono::steady_clock::now();
    }
    return !stopped_;
}

bool LineReader::next(std::string& line) {
    line.clear();
    if (stopped_ || !isOpen() || !pause()) return false;
    bool any = false;
    for (;;) {
        // A line may be megabytes long: pausing between chunks too.
        if (pos_ == end_ && (!pause() || !fill())) return any && !failed() && !stopped_;
        if (afterCR_) {
            afterCR_ = false;
            if (buffer_[pos_] == '\n') {
                ++pos_;
                continue;
            }
        }
        const char* from = buffer_.data() + pos_;
        const char* to = buffer_.data() + end_;
        const char* stop = std::find_if(from, to, [](char c) { return c == '\r' || c == '\n'; });
        line.append(from, stop);
        any = true;
        pos_ = static_cast<size_t>(stop - buffer_.data());
        if (stop == to) continue;
        ++pos_;
        afterCR_ = *stop == '\r';
        return true;
    }
}

std::optional<std::vector<std::string>> readTextLines(const std::string& path) {
    LineReader reader(path);
    if (!reader.isOpen()) return std::nullopt;
    std::vector<std::string> lines;
    std::string line;
    while (reader.next(line)) lines.push_back(line);
    if (reader.failed()) return std::nullopt;
    return lines;
}

HexCheck CheckHexFile(const std::string& path, int16_t hexSizeLimit, const KeepGoing& keepGoing) {
    HexCheck result;
    LineReader reader(path, keepGoing);
    std::string line, following;
    const bool any = reader.next(line);
    if (!reader.isOpen() || reader.failed()) {
        result.ok = false;
        result.messages.push_back(unreadable(path));
        return result;
    }
    if (!any) {
        result.ok = false;
        if (reader.stopped()) return result;
        result.messages.push_back(
            {"The firmware image is empty:\r\n" + path + "\r\n\r\nReinstall the image file.",
             "Warning"});
        return result;
    }
    // The end-of-file test comes before the line in hand: the last line is never checked.
    while (reader.next(following)) {
        if (result.ok && line != kEndRecord) checkLine(line, hexSizeLimit, result);
        line.swap(following);
    }
    if (reader.failed()) result = {false, {unreadable(path)}};
    if (reader.stopped()) result.ok = false;
    return result;
}

RecordText extractRecord(const std::string& line) {
    RecordText r;
    r.address = field(line, 4, 4);
    if (line.size() > 11) r.data = line.substr(9, line.size() - 11);
    return r;
}

}  // namespace kelp::loader
