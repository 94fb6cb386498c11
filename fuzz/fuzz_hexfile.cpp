// The firmware image check, the record extraction and the loader's write frames.
//
// Input: a first byte 0 builds a well-formed image from the bytes that follow (records of any
// type and length, right checksums); anything else is the image file itself.

#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "fuzzing.h"
#include "loader/frames.h"
#include "loader/hexfile.h"

namespace {

using kelp::loader::CheckHexFile;
using kelp::loader::CheckMessage;
using kelp::loader::extractRecord;
using kelp::loader::HexCheck;
using kelp::loader::kEndRecord;
using kelp::loader::readTextLines;
using kelp::loader::writeFrameFromLine;

constexpr int16_t kLimit = 8192;  // what the download uses
const CheckMessage kInvalid{"Invalid Hex File", "Warning"};
const CheckMessage kTooBig{"Hex File too big", "Warning Hex File"};

// The image file the check reads: unlinked at once and reached through its descriptor, so that
// nothing is left behind however the fuzzer ends. Memory-backed when the system has it: the
// check reads a file many times a run.
class ImageFile {
public:
    ImageFile() {
        std::string name = access("/dev/shm", W_OK) == 0 ? "/dev/shm/kelp-fuzz-hex-XXXXXX"
                                                         : "/tmp/kelp-fuzz-hex-XXXXXX";
        fd_ = mkstemp(name.data());
        FUZZ_CHECK(fd_ >= 0);
        unlink(name.c_str());
        path_ = "/proc/self/fd/" + std::to_string(fd_);
    }
    const std::string& path() const { return path_; }
    void write(const std::string& content) const {
        FUZZ_CHECK(ftruncate(fd_, 0) == 0);
        FUZZ_CHECK(pwrite(fd_, content.data(), content.size(), 0) ==
                   static_cast<ssize_t>(content.size()));
    }

private:
    int fd_ = -1;
    std::string path_;
};

const ImageFile& image() {
    static const ImageFile file;
    return file;
}

const std::string& imagePath() { return image().path(); }

void writeImage(const std::string& content) { image().write(content); }

HexCheck check(const std::string& content, int16_t limit = kLimit) {
    writeImage(content);
    return CheckHexFile(imagePath(), limit);
}

std::string join(const std::vector<std::string>& lines, const std::string& ending) {
    std::string out;
    for (const std::string& line : lines) out += line + ending;
    return out;
}

int digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// A line of exactly ':' count address type data checksum, all hexadecimal digits.
struct Record {
    int count = 0, address = 0, type = 0, checksum = 0;
    std::vector<int> data;
};

bool wellFormed(const std::string& line, Record& r) {
    if (line.size() < 11 || line[0] != ':' || line.size() % 2 == 0) return false;
    std::vector<int> bytes;
    for (size_t i = 1; i < line.size(); i += 2) {
        const int hi = digit(line[i]), lo = digit(line[i + 1]);
        if (hi < 0 || lo < 0) return false;
        bytes.push_back(hi * 16 + lo);
    }
    r.count = bytes[0];
    if (line.size() != 11 + 2 * static_cast<size_t>(r.count)) return false;
    r.address = bytes[1] * 256 + bytes[2];
    r.type = bytes[3];
    r.data.assign(bytes.begin() + 4, bytes.end() - 1);
    r.checksum = bytes.back();
    return true;
}

std::string hex2(int value) {
    char buf[3];
    std::snprintf(buf, sizeof buf, "%02X", value & 0xFF);
    return buf;
}

std::string recordLine(const Record& r) {
    int sum = r.count + (r.address >> 8) + (r.address & 0xFF) + r.type;
    std::string line = ":" + hex2(r.count) + hex2(r.address >> 8) + hex2(r.address) + hex2(r.type);
    for (int b : r.data) {
        line += hex2(b);
        sum += b;
    }
    return line + hex2(-sum);
}

// The frame of any line: 07 0E N 'W' 00 bytes checksum, N counting command and payload,
// one byte per two characters of address and data.
void checkFrameShape(const std::string& line) {
    const auto record = extractRecord(line);
    // Characters 4-7 and 10 up to the last two, never beyond the line.
    FUZZ_CHECK(record.address == (line.size() > 3 ? line.substr(3, 4) : std::string()));
    FUZZ_CHECK(record.data == (line.size() > 11 ? line.substr(9, line.size() - 11) : ""));
    const size_t bytes = (record.address.size() + record.data.size()) / 2;
    const auto frame = writeFrameFromLine(line);
    FUZZ_CHECK(frame.has_value() == (bytes <= 253));
    if (!frame) return;
    FUZZ_CHECK(frame->size() == 6 + bytes);
    FUZZ_CHECK(static_cast<uint8_t>((*frame)[0]) == 0x07 &&
               static_cast<uint8_t>((*frame)[1]) == 0x0E);
    FUZZ_CHECK(static_cast<uint8_t>((*frame)[2]) == frame->size() - 4);
    FUZZ_CHECK((*frame)[3] == 'W' && (*frame)[4] == '\0');
    unsigned sum = 0;
    for (size_t i = 2; i < frame->size(); ++i) sum += static_cast<uint8_t>((*frame)[i]);
    FUZZ_CHECK(sum % 256 == 0);
}

// A well-formed record's frame carries its address and data bytes, and fits when the length
// byte can count them (at most 251 data bytes).
void checkRecordFrame(const std::string& line, const Record& r) {
    const auto frame = writeFrameFromLine(line);
    FUZZ_CHECK(frame.has_value() == (r.count <= 251));
    if (!frame) return;
    FUZZ_CHECK(frame->size() == static_cast<size_t>(r.count) + 8);
    FUZZ_CHECK(static_cast<uint8_t>((*frame)[5]) == r.address >> 8);
    FUZZ_CHECK(static_cast<uint8_t>((*frame)[6]) == (r.address & 0xFF));
    for (int k = 0; k < r.count; ++k)
        FUZZ_CHECK(static_cast<uint8_t>((*frame)[7 + k]) == r.data[static_cast<size_t>(k)]);
}

void fuzzWellFormed(FuzzedDataProvider& in) {
    std::vector<std::string> lines;
    std::vector<Record> records;
    const int n = in.ConsumeIntegralInRange(0, 12);
    for (int i = 0; i < n; ++i) {
        Record r;
        r.count = in.ConsumeIntegral<uint8_t>();
        if (in.ConsumeBool()) r.count %= 17;  // mostly images of the usual shape
        r.address = in.ConsumeIntegral<uint16_t>();
        if (in.ConsumeBool()) r.address %= 0x2100;
        r.type = in.ConsumeIntegral<uint8_t>();
        for (int k = 0; k < r.count; ++k) r.data.push_back(in.ConsumeIntegral<uint8_t>());
        std::string line = recordLine(r);
        if (in.ConsumeBool())
            for (char& c : line) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        records.push_back(r);
        lines.push_back(line);
    }
    const std::string last = in.ConsumeBool() ? kEndRecord : in.ConsumeRandomLengthString(20);
    if (last.find_first_of("\r\n") != std::string::npos) return;
    lines.push_back(last);
    const std::string ending = in.ConsumeBool() ? "\r\n" : in.ConsumeBool() ? "\n" : "\r";
    const HexCheck result = check(join(lines, ending));

    // The type is never looked at: only the extent of each record decides.
    bool fits = true;
    for (const Record& r : records) fits = fits && r.address + r.count <= kLimit;
    FUZZ_CHECK(result.ok == fits);
    FUZZ_CHECK(result.messages.empty() == fits);
    if (!fits) FUZZ_CHECK(result.messages == std::vector<CheckMessage>{kTooBig});
    for (size_t i = 0; i < records.size(); ++i) checkRecordFrame(lines[i], records[i]);
}

void fuzzFile(const std::string& content) {
    const std::vector<std::string> lines = [&] {
        writeImage(content);
        return readTextLines(imagePath()).value();
    }();
    // Lines hold no line ending, lose no other character, and read back from any ending.
    std::string kept, joined;
    for (char c : content)
        if (c != '\r' && c != '\n') kept += c;
    for (const std::string& line : lines) {
        FUZZ_CHECK(line.find_first_of("\r\n") == std::string::npos);
        joined += line;
    }
    FUZZ_CHECK(joined == kept);
    writeImage(join(lines, "\r\n"));
    FUZZ_CHECK(readTextLines(imagePath()).value() == lines);

    const HexCheck result = check(content);
    if (lines.empty()) {
        FUZZ_CHECK(!result.ok && result.messages.size() == 1);
        FUZZ_CHECK(result.messages[0].text.starts_with("The firmware image is empty:"));
        return;
    }
    FUZZ_CHECK(result.ok == result.messages.empty());
    FUZZ_CHECK(result.messages.size() <= 3);
    for (const CheckMessage& m : result.messages) FUZZ_CHECK(m == kInvalid || m == kTooBig);
    // A larger limit refuses nothing more.
    if (result.ok) FUZZ_CHECK(check(content, INT16_MAX).ok);

    // The last line is never examined, and the line endings do not matter.
    std::vector<std::string> other = lines;
    other.back() = "not a record";
    const HexCheck relined = check(join(other, "\r\n"));
    FUZZ_CHECK(relined.ok == result.ok && relined.messages == result.messages);

    const size_t examined = lines.size() - 1;
    const auto prefix = [&](size_t m, const std::string& filler) {
        std::vector<std::string> p(lines.begin(), lines.begin() + static_cast<long>(m));
        p.resize(examined, filler);
        p.push_back("tail");
        return check(join(p, "\n"));
    };
    if (!result.ok) {
        // The first bad line alone decides: find it, then spoil every line after it.
        size_t lo = 0, hi = examined;  // prefix(lo) passes, prefix(hi) fails
        while (hi - lo > 1) {
            const size_t mid = (lo + hi) / 2;
            (prefix(mid, kEndRecord).ok ? lo : hi) = mid;
        }
        FUZZ_CHECK(prefix(hi - 1, kEndRecord).ok);
        FUZZ_CHECK(prefix(hi, kEndRecord).messages == result.messages);
        FUZZ_CHECK(prefix(hi, "X").messages == result.messages);
    }

    std::vector<std::string> retyped = lines;
    for (size_t i = 0; i < lines.size(); ++i) {
        checkFrameShape(lines[i]);
        Record r;
        if (i == examined || !wellFormed(lines[i], r)) continue;
        if (result.ok && lines[i] != kEndRecord) {
            FUZZ_CHECK(r.address + r.count <= kLimit);
            checkRecordFrame(lines[i], r);
        }
        // Another type with the checksum that makes up for it.
        const int delta = 1 + static_cast<int>(content.size() % 255);
        r.type = (r.type + delta) & 0xFF;
        retyped[i] = recordLine(r);
    }
    if (result.ok) FUZZ_CHECK(check(join(retyped, "\n")).ok);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 0 && data[0] == 0) {
        FuzzedDataProvider in(data + 1, size - 1);
        fuzzWellFormed(in);
    } else {
        fuzzFile(std::string(reinterpret_cast<const char*>(data), size));
    }
    return 0;
}
