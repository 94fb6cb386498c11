#include "board/boardengine.h"

#include <gtest/gtest.h>

#include <tuple>

#include "boardtesting.h"

namespace kelp::board {
namespace {

using namespace testing;

const std::string kAck = "\x06", kNak = "\x07";
const std::string kId = BoardEngine::identification("Zylo570", '2', '1');
const std::string kErase = loaderFrame('C'), kRun = loaderFrame('U', bytes({0, 0, 0}));
constexpr auto kLoader = StartMode::Loader, kFirmware = StartMode::Firmware;

std::string answerBytes(const std::vector<Answer>& answers) {
    std::string all;
    for (const Answer& a : answers) all += a.bytes;
    return all;
}

// Requests fed one after the other, the answers they must get ("-": none), and the log lines
// they must leave (not checked when empty).
struct Script {
    std::vector<std::string> faults, requests, answers, log = {};
    StartMode start = kLoader;
    std::string model = "Zylo570";
};

// Each fault's effect on the host is the end-to-end tests' to see; here which request it hits.
TEST(BoardEngine, LoaderAnswersAndItsFaults) {
    const std::string w = writeFrame(0x0100, "abcd");
    const std::string halfWrite = writeFrame(0, "abcdef").substr(0, 6) + kResetSequence;
    const std::string stray = bytes({0x55, 0x21, 0x5A, 0x0E, 0x07, 0x0D});  // start nothing
    // clang-format off
    const Script scripts[] = {
        {{}, {kResetSequence}, {"Zylo570 ver21 Virtual  \r\n"}, {"RESET @57600"}, kFirmware},
        {{}, {bytes({0x07, 0x0E, 0x01, 0x43, 0xBC}), bytes({0x07, 0x0E, 0x01, 0x43, 0xBD})},
         {kAck, kNak}, {"ERASE @9600", "BAD 07 0E 01 43 BD @9600"}},
        {{}, {bytes({0x07, 0x0E, 0x07, 0x57, 0x00, 0x00, 0x00, 0x02, 0x00, 0x3B, 0x65})}, {kAck},
         {"WRITE 0000 02 00 3B @9600"}},
        // The last 16 bytes; one byte past the memory, page 1, address cut short, erase with a
        // payload, run without its address, an unknown command, no command at all.
        {{}, {writeFrame(0x1FF0, std::string(16, 'x')), writeFrame(0x1FFF, "ab"),
              loaderFrame('W', bytes({1, 0, 0, 0x55})), loaderFrame('W', bytes({0, 0x10})),
              loaderFrame('C', "x"), loaderFrame('U', bytes({0, 0})), loaderFrame('X'),
              bytes({0x07, 0x0E, 0x00, 0x00})},
         {kAck, kNak, kNak, kNak, kNak, kNak, kNak, kNak}},
        {{"nak:record:2", "silent:record:3"}, {w, w, w, w}, {kAck, kNak, "-", kAck}},
        // Write requests are counted again from each reset.
        {{"nak:record:1", "no-reset-answer"}, {w, kResetSequence, w}, {kNak, "-", kNak}},
        // A reset anywhere: what was half received is garbage, a packet asked for never leaves.
        {{}, {halfWrite, kErase}, {kId, kAck},
         {"BAD 07 0E 0A 57 00 00 @9600", "RESET @9600", "ERASE @9600"}},
        {{}, {"R" + kResetSequence}, {kId}, {}, kFirmware},
        {{}, {"C\x12\x34RRR" + kResetSequence}, {BoardEngine::identification("Zylo530", '2', '1')},
         {"BAD 43 12 34 52 52 52 @57600", "RESET @57600"}, kFirmware, "Zylo530"},
        {{}, {stray + kErase}, {kAck}, {"BAD 55 21 5A 0E 07 0D @9600", "ERASE @9600"}},
    };
    // clang-format on
    for (const Script& s : scripts) {
        BoardEngine engine(withFaults(s.faults, s.start, s.model));
        ASSERT_EQ(s.requests.size(), s.answers.size());
        for (std::size_t i = 0; i < s.requests.size(); ++i) {
            const std::string got = answerBytes(engine.feed(s.requests[i]));
            EXPECT_EQ(got.empty() ? "-" : got, s.answers[i]) << s.requests[0] << ", " << i;
        }
        const auto log = engine.takeLog();
        EXPECT_EQ(s.log.empty() ? log : s.log, log);
    }
}

TEST(BoardEngine, WritesLandAndEraseClearsUnlessRefused) {
    const std::string writes = writeFrame(0x0000, "xyz") + writeFrame(0x1FFC, "ABCD");
    BoardEngine plain(withFaults({}, kLoader));
    BoardEngine refusing(withFaults({"nak:record:1", "silent:erase", "nak:run"}, kLoader));
    plain.feed(writes);
    refusing.feed(writes + kErase + kRun);
    // A refused step leaves the chip as it was: no first record, no erase, no firmware.
    std::string expected = std::string(0x1FFC, '\xFF') + "ABCD";
    EXPECT_EQ(refusing.memoryImage(), expected);
    EXPECT_EQ(refusing.mode(), BoardMode::Loader);
    EXPECT_EQ(refusing.runCount(), 1u);  // the run command was still seen
    EXPECT_EQ(plain.memoryImage(), expected.replace(0, 3, "xyz"));
    plain.feed(kErase);
    EXPECT_EQ(plain.memoryImage(), std::string(8192, '\xFF'));
}

TEST(BoardEngine, ExtraAndNoiseBytesAreMarkedForPacing) {
    std::vector<std::string> faults = {"extra-byte:erase"};
    for (int k = 1; k <= 1000; ++k) faults.push_back("noise:record:" + std::to_string(k));
    BoardEngine engine(withFaults(faults, kLoader));
    EXPECT_EQ(engine.feed(kErase).at(0).pacedLength, 1u);  // the extra byte rides with the ack
    // Three bytes no host could take for an answer, then the acknowledge; all of them paced.
    for (int k = 1; k <= 1000; ++k) {
        const Answer noisy = engine.feed(writeFrame(0, "a")).at(0);
        EXPECT_EQ(noisy.bytes.find_first_of("\r\x06"), 3u) << k;
        EXPECT_EQ(noisy.bytes.substr(3) + std::to_string(noisy.pacedLength), kAck + "4") << k;
    }
}

TEST(BoardEngine, ByteByByteGivesTheSameAnswers) {
    const std::string stream = kResetSequence + kErase + writeFrame(0x40, "0123456789") + kRun +
                               configuration({0x90}) + "RS";
    BoardEngine whole{BoardOptions{}}, split{BoardOptions{}};
    const std::string expected = answerBytes(whole.feed(stream));
    std::string got;
    for (char c : stream) got += answerBytes(split.feed(std::string(1, c)));
    EXPECT_EQ(expected.size(), 25u + 3 + 500);  // identification, three acknowledges, a packet
    EXPECT_EQ(got, expected);
    EXPECT_EQ(whole.takeLog(), split.takeLog());
}

// Garbage is logged per read; a byte at a time, the same bytes come out at the same speeds in
// the same order, only over more lines.
TEST(BoardEngine, GarbageKeepsItsBytesWhateverTheReads) {
    // The log without its CODES lines, a run of BAD lines at one speed as one line.
    const auto merged = [](const std::vector<std::string>& log) {
        std::vector<std::string> out;
        for (const std::string& line : log) {
            if (line.starts_with("CODES")) continue;
            const std::size_t at = line.rfind(" @");
            if (line.starts_with("BAD") && !out.empty() && out.back().starts_with("BAD") &&
                out.back().ends_with(line.substr(at))) {
                out.back().insert(out.back().rfind(" @"), line.substr(3, at - 3));
            } else {
                out.push_back(line);
            }
        }
        return out;
    };
    const struct {
        std::vector<std::pair<std::string, long>> reads;
        std::vector<std::string> log;
    } cases[] = {
        {{{"xyR", 57600}}, {"BAD 78 79 @57600", "REQUEST @57600"}},
        // The start of a reset at another speed is held until it can no longer be one.
        {{{kResetSequence.substr(0, 2), 19200}, {"R", 57600}},
         {"BAD 21 5A @19200", "REQUEST @57600"}},
        {{{kResetSequence.substr(0, 3) + "R", 19200}}, {"BAD 21 5A 00 52 @19200"}},
        {{{"x", 9600}, {"y", 19200}, {"S", 57600}},
         {"BAD 78 @9600", "BAD 79 @19200", "STOP @57600"}},
    };
    for (const auto& c : cases) {
        BoardEngine whole{BoardOptions{}}, split{BoardOptions{}};
        for (const auto& [bytes, baud] : c.reads) {
            whole.feed(bytes, 0, baud);
            for (char b : bytes) split.feed(std::string(1, b), 0, baud);
        }
        EXPECT_EQ(merged(whole.takeLog()), c.log);
        EXPECT_EQ(merged(split.takeLog()), c.log);
    }
}

TEST(BoardEngine, PacketAndLogCarryTheSameCodes) {
    BoardOptions options;
    options.level = 0x7F0, options.sigma = 0;
    BoardEngine exact(options);
    std::string packet, codes, zeros;
    for (int k = 0; k < 100; ++k) packet += "\r07F0", codes += " 7F0";
    for (int k = 0; k < 23; ++k) zeros += " 00";
    EXPECT_EQ(answerBytes(exact.feed(configuration({0x90, 4}) + "RS")), packet);
    EXPECT_EQ(exact.takeLog(),
              (std::vector<std::string>{"CONFIG 43 90 04" + zeros + " @57600", "REQUEST @57600",
                                        "CODES" + codes, "STOP @57600"}));
}

TEST(BoardEngine, SarFaultsShapeThePacketsButKeepTheCodes) {
    BoardEngine plain{BoardOptions{}};
    BoardEngine engine(
        withFaults({"garble:2:0", "long-packet:3", "sar-noise:4", "silent-after:4"}));
    const auto expected = plain.feed(configuration({0x90, 3}) + "RRRR");
    const auto got = engine.feed(configuration({0x90, 3}) + "RRRRR");
    ASSERT_EQ(got.size(), 4u);  // silent after four packets
    // The log holds the codes of a fault-free board, and the unanswered request.
    auto log = plain.takeLog();
    log.push_back("REQUEST @57600");
    EXPECT_EQ(engine.takeLog(), log);
    EXPECT_TRUE(got[1].bytes[0] != '\r' && got[1].bytes.substr(1) == expected[1].bytes.substr(1));
    EXPECT_EQ(got[0].bytes + got[2].bytes + got[3].bytes.substr(3),
              expected[0].bytes + expected[2].bytes + '\n' + expected[3].bytes);
    // The byte too many is not paced, the noise in front is.
    EXPECT_EQ(std::tuple(got[2].pacedLength, got[3].pacedLength), std::tuple(500u, 503u));
    // A new run counts its packets afresh.
    engine.feed(configuration({0x90, 3}));
    EXPECT_EQ(engine.feed("R").size(), 1u);
}

// Bytes sent at a line speed, and how many answer bytes they must get at once; then the
// requests as the request list and the log give them, KIND@BAUD each.
struct SpeedScript {
    std::string model;
    StartMode start;
    std::vector<std::tuple<std::string, long, std::size_t>> sent;
    std::string requests;
};

TEST(BoardEngine, RequestsAreHeardOnlyAtTheSpeedTheChipListensAt) {
    const std::string w = writeFrame(0x0100, "abcd"), config = configuration({0x90, 3});
    const std::string sdConfig = configuration({0x07, 0x4F, 0x0F, 0x30, 0x45}, 27);
    // clang-format off
    const SpeedScript scripts[] = {
        // The loader at 9600, the SAR firmware at 57600; the reset is the board's button and is
        // heard at any speed, even split over two reads.
        {"Zylo570", kLoader,
         {{kResetSequence, 57600, 25}, {kErase, 57600, 0}, {kErase, 9600, 1}, {w, 9600, 1},
          {kRun, 9600, 1}, {config, 9600, 0}, {config, 57600, 0}, {"R", 57600, 500},
          {"S", 9600, 0}, {kResetSequence.substr(0, 2), 9600, 0},
          {kResetSequence.substr(2), 9600, 25}},
         "RESET@57600 BAD@57600 ERASE@9600 WRITE@9600 RUN@9600 BAD@9600 CONFIG@57600 "
         "REQUEST@57600 BAD@9600 RESET@9600 "},
        // Divider 3 moves the sigma-delta firmware to 9600 after the command; divider 0 back.
        {"Zylo580", kFirmware,
         {{"D3", 9600, 0}, {"D3", 57600, 0}, {"R", 57600, 0}, {sdConfig, 9600, 0}, {"R", 9600, 0},
          {"S", 9600, 0}, {"D0", 9600, 0}, {"S", 57600, 0}, {"D7", 57600, 0}},
         "BAD@9600 DIVIDER@57600 BAD@57600 CONFIG@9600 REQUEST@9600 STOP@9600 DIVIDER@9600 "
         "STOP@57600 BAD@57600 "},
        // A reset at another speed: the frame half received before it is lost.
        {"Zylo570", kLoader, {{kErase.substr(0, 3), 9600, 0}, {"x" + kResetSequence, 57600, 25}},
         "BAD@57600 BAD@9600 RESET@57600 "},
        // The loader starts the firmware of the model's family; the SAR firmware knows no
        // divider, and no firmware knows Zylo531.
        {"Zylo560", kLoader, {{kRun, 9600, 1}, {"D3", 57600, 0}, {"R", 9600, 0}},
         "RUN@9600 DIVIDER@57600 REQUEST@9600 "},
        {"Zylo551", kFirmware, {{"D3", 57600, 0}, {"R", 57600, 500}}, "BAD@57600 REQUEST@57600 "},
        {"Zylo531", kFirmware, {{"R", 57600, 0}}, "BAD@57600 "},
    };
    // clang-format on
    for (const SpeedScript& s : scripts) {
        BoardEngine engine(withFaults({}, s.start, s.model));
        for (const auto& [bytes, baud, answered] : s.sent)
            EXPECT_EQ(answerBytes(engine.feed(bytes, 0, baud)).size(), answered) << s.model;
        std::string requests, logged;
        for (const ReceivedRequest& r : engine.takeRequests())
            requests += std::string(requestKindName(r.kind)) + "@" + std::to_string(r.baud) + " ";
        for (const std::string& line : engine.takeLog()) {
            if (line.starts_with("CODES")) continue;
            logged += line.substr(0, line.find(' ')) + line.substr(line.rfind(' ') + 1) + " ";
        }
        EXPECT_EQ(requests + "|" + logged, s.requests + "|" + s.requests) << s.model;
    }
}

}  // namespace
}  // namespace kelp::board
