// The virtual board's protocol engine: two boards get the same bytes at the same times and
// speeds, one a read at a time, the other a byte at a time, and must agree.
//
// Input: the model, start mode, seed and faults, then reads (a time step, a line speed and
// pieces: loader frames, firmware commands, resets or raw bytes) and idle steps.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "board/boardengine.h"
#include "board/boardoptions.h"
#include "fuzzing.h"

namespace {

using namespace kelp::board;

constexpr const char* kModels[] = {"Zylo510", "Zylo520", "Zylo550", "Zylo551", "Zylo570",
                                   "Zylo571", "Zylo572", "Zylo530", "Zylo540", "Zylo560",
                                   "Zylo561", "Zylo580", "Zylo581", "Zylo582", "Zylo599"};
constexpr const char* kFaults[] = {
    "no-reset-answer", "nak:erase",      "silent:record:2", "extra-byte:reset",
    "noise:record:1",  "nak:run",        "garble:1:0",      "long-packet:2",
    "sar-noise:1",     "silent-after:2", "frame-noise:1",   "short-frame:2:5",
};
constexpr long kSpeeds[] = {0, 9600, 57600, 19200};
const std::string kReset("\x21\x5A\x00\xA6", 4);

std::string loaderFrame(char command, const std::string& payload) {
    std::string body(1, static_cast<char>(payload.size() + 1));
    body += command;
    body += payload;
    unsigned sum = 0;
    for (char c : body) sum += static_cast<uint8_t>(c);
    return std::string("\x07\x0E", 2) + body + static_cast<char>(-sum);
}

// A piece of what a host sends, or garbage.
std::string piece(FuzzedDataProvider& in) {
    switch (in.ConsumeIntegralInRange(0, 9)) {
        case 0:
            return kReset;
        case 1:
            return loaderFrame('C', "");
        case 2: {
            std::string payload(1, '\0');
            payload += in.ConsumeBytesAsString(2);
            payload += in.ConsumeRandomLengthString(20);
            return loaderFrame('W', payload);
        }
        case 3:
            return loaderFrame('U', std::string(3, '\0'));
        case 4:
            return "C" + in.ConsumeBytesAsString(in.ConsumeBool() ? 25 : 26);
        case 5:
            return in.ConsumeBool() ? "R" : "S";
        case 6:
            return "D" + std::string(1, static_cast<char>('0' + in.ConsumeIntegralInRange(0, 4)));
        case 7:
            // A reset split by, or ending, other bytes.
            return kReset.substr(0, in.ConsumeIntegralInRange<size_t>(0, 4));
        default:
            return in.ConsumeRandomLengthString(16);
    }
}

// Garbage is logged per read: runs of BAD lines at one speed count as one.
std::vector<std::string> mergedLog(std::vector<std::string> lines) {
    std::vector<std::string> out;
    for (std::string& line : lines) {
        const bool bad = line.starts_with("BAD");
        if (bad && !out.empty() && out.back().starts_with("BAD")) {
            const size_t at = line.rfind(" @");
            const size_t prevAt = out.back().rfind(" @");
            if (line.substr(at) == out.back().substr(prevAt)) {
                out.back().insert(prevAt, line.substr(3, at - 3));
                continue;
            }
        }
        out.push_back(std::move(line));
    }
    return out;
}

std::vector<ReceivedRequest> mergedRequests(const std::vector<ReceivedRequest>& requests) {
    std::vector<ReceivedRequest> out;
    for (const ReceivedRequest& r : requests) {
        if (r.kind == RequestKind::Bad && !out.empty() && out.back() == r) continue;
        out.push_back(r);
    }
    return out;
}

bool sameAnswers(const std::vector<Answer>& a, const std::vector<Answer>& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i].bytes != b[i].bytes || a[i].pacedLength != b[i].pacedLength ||
            a[i].requestLength != b[i].requestLength || a[i].packet != b[i].packet ||
            a[i].frame != b[i].frame || a[i].readyAt != b[i].readyAt || a[i].baud != b[i].baud)
            return false;
    }
    return true;
}

// Every request leaves a log line ending in its speed, and the request list says the same.
void checkLogAndRequests(const std::vector<std::string>& log,
                         const std::vector<ReceivedRequest>& requests) {
    size_t r = 0;
    for (const std::string& line : log) {
        if (line.starts_with("CODES")) continue;
        FUZZ_CHECK(r < requests.size());
        const ReceivedRequest& request = requests[r++];
        const std::string_view kind = requestKindName(request.kind);
        FUZZ_CHECK(line.starts_with(kind));
        FUZZ_CHECK(line.ends_with(" @" + std::to_string(request.baud)));
        FUZZ_CHECK(request.baud > 0);
    }
    FUZZ_CHECK(r == requests.size());
}

void checkSameState(const BoardEngine& a, const BoardEngine& b) {
    FUZZ_CHECK(a.mode() == b.mode() && a.model() == b.model());
    FUZZ_CHECK(a.listeningBaud() == b.listeningBaud());
    FUZZ_CHECK(a.memory() == b.memory() && a.configuration() == b.configuration());
    FUZZ_CHECK(a.requestCount() == b.requestCount() && a.runCount() == b.runCount() &&
               a.resetCount() == b.resetCount());
    FUZZ_CHECK(a.nextDue() == b.nextDue());
    FUZZ_CHECK(a.listeningBaud() == 9600 || a.listeningBaud() == 57600);
}

// The textual form of a fault reads back as the same fault.
void checkFaultText(const std::string& text) {
    std::string error;
    const auto fault = parseFault(text, error);
    FUZZ_CHECK(fault.has_value() == error.empty());
    if (fault) FUZZ_CHECK(parseFault(faultText(*fault), error) == fault);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    BoardOptions options;
    options.model = kModels[in.ConsumeIntegralInRange<size_t>(0, std::size(kModels) - 1)];
    options.start = in.ConsumeBool() ? StartMode::Loader : StartMode::Firmware;
    options.seed = in.ConsumeIntegral<uint8_t>();
    const uint16_t faults = in.ConsumeIntegral<uint16_t>();
    for (size_t i = 0; i < std::size(kFaults); ++i) {
        std::string error;
        if (faults >> i & 1) options.faults.push_back(parseFault(kFaults[i], error).value());
    }
    checkFaultText(in.ConsumeRandomLengthString(24));

    BoardEngine whole(options), split(options);
    Nanos now = 0;
    while (in.remaining_bytes() > 0) {
        now += in.ConsumeIntegralInRange<Nanos>(0, 3'000'000'000);
        std::vector<Answer> expected, got;
        if (in.ConsumeIntegralInRange(0, 7) == 0) {
            // Time passes without a byte: a stream's frames fall due.
            expected = whole.advance(now);
            got = split.advance(now);
        } else {
            const long baud = kSpeeds[in.ConsumeIntegralInRange(0, 3)];
            std::string bytes;
            for (int n = in.ConsumeIntegralInRange(1, 4); n > 0; --n) bytes += piece(in);
            expected = whole.feed(bytes, now, baud);
            if (bytes.empty()) got = split.feed(bytes, now, baud);  // a read still tells the time
            for (char c : bytes) {
                const uint64_t resets = split.resetCount();
                std::vector<Answer> answers = split.feed(std::string_view(&c, 1), now, baud);
                // A reset silences what the read before it had not sent yet, as at once.
                if (split.resetCount() != resets) got.clear();
                for (Answer& a : answers) got.push_back(std::move(a));
            }
        }
        FUZZ_CHECK(sameAnswers(expected, got));
        for (const Answer& a : expected) {
            FUZZ_CHECK(a.pacedLength <= a.bytes.size() && a.readyAt <= now);
            FUZZ_CHECK(a.baud > 0);
        }
        const auto log = whole.takeLog();
        const auto requests = whole.takeRequests();
        const auto splitLog = split.takeLog();
        const auto splitRequests = split.takeRequests();
        checkLogAndRequests(log, requests);
        checkLogAndRequests(splitLog, splitRequests);
        FUZZ_CHECK(mergedLog(log) == mergedLog(splitLog));
        FUZZ_CHECK(mergedRequests(requests) == mergedRequests(splitRequests));
        checkSameState(whole, split);
    }

    // The reset is the board's button: at any speed, once whatever was half received is
    // complete or garbage, it resets and the chip identifies itself at that speed.
    const long baud = kSpeeds[size % std::size(kSpeeds)];
    whole.feed(std::string(300, 'x'), now, baud);
    const uint64_t resets = whole.resetCount();
    const std::vector<Answer> answers = whole.feed(kReset, now, baud);
    FUZZ_CHECK(whole.resetCount() == resets + 1 && whole.mode() == BoardMode::Loader);
    const bool silent = faults & 1;  // no-reset-answer
    FUZZ_CHECK(answers.size() == (silent ? 0u : 1u));
    if (!silent) {
        FUZZ_CHECK(answers[0].bytes.starts_with(
            BoardEngine::identification(options.model, options.loaderMajor, options.loaderMinor)));
        if (baud != 0) FUZZ_CHECK(answers[0].baud == baud);
    }
    return 0;
}
