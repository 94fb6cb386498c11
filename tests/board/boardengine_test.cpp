#include "board/boardengine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "boardtesting.h"

namespace kelp::board {
namespace {

using testing::bytes;
using testing::configuration;
using testing::kResetSequence;
using testing::loaderFrame;
using testing::writeFrame;

const std::string kAck = "\x06", kNak = "\x07";
const std::string kId = BoardEngine::identification("Zylo570", '2', '1');
const std::string kErase = loaderFrame('C');
const std::string kRun = loaderFrame('U', bytes({0, 0, 0}));

BoardOptions withFaults(const std::vector<std::string>& faults,
                        StartMode start = StartMode::Loader) {
    BoardOptions options;
    options.start = start;
    for (const std::string& text : faults) {
        std::string error;
        options.faults.push_back(parseFault(text, error).value());
    }
    return options;
}

// Bytes of every answer, or "-" for a request left unanswered.
std::string answerBytes(BoardEngine& engine, const std::string& request) {
    const auto answers = engine.feed(request);
    if (answers.empty()) return "-";
    std::string all;
    for (const Answer& a : answers) all += a.bytes;
    return all;
}

// Requests fed one after the other to a board with the given faults, the answers they must get
// ("-": none), and the log lines they must leave (not checked when empty).
struct Script {
    std::vector<std::string> faults, requests, answers, log = {};
    StartMode start = StartMode::Loader;
    std::string model = "Zylo570";
};

void play(const Script& s, int row) {
    BoardOptions options = withFaults(s.faults, s.start);
    options.model = s.model;
    BoardEngine engine(options);
    ASSERT_EQ(s.requests.size(), s.answers.size()) << row;
    for (std::size_t i = 0; i < s.requests.size(); ++i) {
        EXPECT_EQ(answerBytes(engine, s.requests[i]), s.answers[i])
            << "row " << row << ", request " << i;
    }
    if (!s.log.empty()) {
        EXPECT_EQ(engine.takeLog(), s.log) << row;
    }
}

std::vector<int> packetCodes(const std::string& packet) {
    std::vector<int> codes;
    for (std::size_t at = 0; at + 5 <= packet.size(); at += 5) {
        codes.push_back(std::stoi(packet.substr(at + 1, 4), nullptr, 16));
    }
    return codes;
}

std::string requestPacket(BoardEngine& engine) {
    const auto answers = engine.feed("R");
    return answers.size() == 1 ? answers[0].bytes : std::string();
}

TEST(BoardEngine, ResetAnswersWithModelAndLoaderVersion) {
    BoardOptions options;  // firmware running: a reset is still recognised
    options.model = "Zylo582";
    options.loaderMajor = '3';
    options.loaderMinor = '7';
    BoardEngine engine(options);
    const auto answers = engine.feed(kResetSequence);
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].bytes, "Zylo582 ver37 Virtual  \r\n");
    EXPECT_EQ(answers[0].pacedLength, 25u);
    EXPECT_EQ(answers[0].requestLength, 4u);
    EXPECT_EQ(engine.mode(), BoardMode::Loader);
}

TEST(BoardEngine, FramesAreCheckedBeforeTheyAct) {
    const std::string ff16(16, '\xFF');
    // clang-format off
    const Script scripts[] = {
        {{}, {bytes({0x07, 0x0E, 0x01, 0x43, 0xBC})}, {kAck}, {"ERASE @9600"}},
        {{}, {bytes({0x07, 0x0E, 0x01, 0x43, 0xBD})}, {kNak}, {"BAD 07 0E 01 43 BD @9600"}},
        {{}, {bytes({0x07, 0x0E, 0x07, 0x57, 0x00, 0x00, 0x00, 0x02, 0x00, 0x3B, 0x65})}, {kAck},
         {"WRITE 0000 02 00 3B @9600"}},
        {{}, {bytes({0x07, 0x0E, 0x14, 0x57, 0x00, 0x1F, 0xF0}) + ff16 + "\x96"}, {kAck},
         {"WRITE 1FF0 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF @9600"}},
        // One byte past the memory, page 1, address cut short, erase with a payload, run
        // without its address, an unknown command, no command at all.
        {{}, {writeFrame(0x1FFF, "ab")}, {kNak}, {"BAD 07 0E 06 57 00 1F FF 61 62 C2 @9600"}},
        {{}, {loaderFrame('W', bytes({1, 0, 0, 0x55}))}, {kNak},
         {"BAD 07 0E 05 57 01 00 00 55 4E @9600"}},
        {{}, {loaderFrame('W', bytes({0, 0x10}))}, {kNak}, {"BAD 07 0E 03 57 00 10 96 @9600"}},
        {{}, {loaderFrame('C', "x")}, {kNak}, {"BAD 07 0E 02 43 78 43 @9600"}},
        {{}, {loaderFrame('U', bytes({0, 0}))}, {kNak}, {"BAD 07 0E 03 55 00 00 A8 @9600"}},
        {{}, {loaderFrame('X')}, {kNak}, {"BAD 07 0E 01 58 A7 @9600"}},
        {{}, {bytes({0x07, 0x0E, 0x00, 0x00})}, {kNak}, {"BAD 07 0E 00 00 @9600"}},
    };
    // clang-format on
    for (int row = 0; row < static_cast<int>(std::size(scripts)); ++row) play(scripts[row], row);
}

TEST(BoardEngine, WritesLandAndEraseClearsUnlessRefused) {
    const std::string writes = writeFrame(0x0000, "xyz") + writeFrame(0x1FFC, "ABCD");
    BoardEngine plain(withFaults({}));
    BoardEngine refusing(withFaults({"nak:record:1", "silent:erase", "nak:run"}));
    plain.feed(writes);
    refusing.feed(writes + kErase + kRun);
    std::string expected(8192, '\xFF');
    expected.replace(0x1FFC, 4, "ABCD");
    // A refused step leaves the chip as it was: no first record, no erase, no firmware.
    EXPECT_EQ(refusing.memoryImage(), expected);
    EXPECT_EQ(refusing.mode(), BoardMode::Loader);
    EXPECT_EQ(refusing.runCount(), 1u);  // the run command was still seen
    expected.replace(0, 3, "xyz");
    EXPECT_EQ(plain.memoryImage(), expected);
    plain.feed(kErase);
    EXPECT_EQ(plain.memoryImage(), std::string(8192, '\xFF'));
}

TEST(BoardEngine, LoaderFaultsShapeTheAnswers) {
    const std::string w = writeFrame(0x0100, "abcd");
    const Script scripts[] = {
        {{"no-reset-answer"}, {kResetSequence, kErase}, {"-", kAck}},
        {{"extra-byte:reset"}, {kResetSequence}, {kId + '\0'}},
        {{"nak:erase"}, {kErase, w}, {kNak, kAck}},
        {{"silent:erase"}, {kErase, kErase}, {"-", "-"}},
        {{"nak:record:2"}, {w, w, w}, {kAck, kNak, kAck}},
        {{"silent:record:3"}, {w, w, w, w}, {kAck, kAck, "-", kAck}},
        {{"extra-byte:record:1"}, {w, w}, {kAck + '\0', kAck}},
        {{"nak:run"}, {kRun, kRun}, {kNak, kNak}},
        {{"silent:run"}, {kRun}, {"-"}},
        {{"extra-byte:erase", "nak:erase"}, {kErase}, {kNak + '\0'}},
        // Write requests are counted again from each reset.
        {{"nak:record:1"}, {w, kResetSequence, w}, {kNak, kId, kNak}},
    };
    for (int row = 0; row < static_cast<int>(std::size(scripts)); ++row) play(scripts[row], row);
}

TEST(BoardEngine, ExtraAndNoiseBytesAreMarkedForPacing) {
    std::vector<std::string> faults = {"extra-byte:erase"};
    for (int k = 1; k <= 100; ++k) faults.push_back("noise:record:" + std::to_string(k));
    BoardEngine engine(withFaults(faults));
    const auto extra = engine.feed(kErase);
    ASSERT_EQ(extra.size(), 1u);
    EXPECT_EQ(extra[0].pacedLength, 1u);  // the extra byte rides with the acknowledge
    EXPECT_EQ(extra[0].requestLength, 5u);
    // Three bytes no host could take for an answer, then the acknowledge; all of them paced.
    for (int k = 1; k <= 100; ++k) {
        const auto noisy = engine.feed(writeFrame(0, "a"));
        ASSERT_EQ(noisy.size(), 1u);
        EXPECT_EQ(noisy[0].bytes.find_first_of("\r\x06"), 3u) << k;
        EXPECT_EQ(noisy[0].bytes.substr(3), kAck) << k;
        EXPECT_EQ(noisy[0].pacedLength, 4u);
    }
}

TEST(BoardEngine, RunResetAndStrayBytesChangeWhatTheChipUnderstands) {
    const std::string halfWrite = writeFrame(0, "abcdef").substr(0, 6) + kResetSequence;
    const std::string halfConfig = configuration({0x90, 3}).substr(0, 10) + kResetSequence;
    // A half reset and a frame start that go nowhere.
    const std::string stray = bytes({0x55, 0x21, 0x5A, 0x0E, 0x07, 0x0D});
    const auto firmware = StartMode::Firmware;
    // clang-format off
    const Script scripts[] = {
        // The loader is gone after a run: a loader frame now means nothing.
        {{}, {kRun, kRun}, {kAck, "-"}, {"RUN @9600", "BAD 07 0E 04 55 00 00 00 A7 @57600"}},
        {{}, {halfWrite, kErase}, {kId, kAck},
         {"BAD 07 0E 0A 57 00 00 @9600", "RESET @9600", "ERASE @9600"}},
        {{}, {halfConfig, kErase}, {kId, kAck}, {}, firmware},
        // A packet asked for just before the reset never leaves the chip.
        {{}, {"R" + kResetSequence}, {kId}, {}, firmware},
        // A reset inside a half-received sigma-delta configuration.
        {{}, {"C\x12\x34RRR" + kResetSequence}, {BoardEngine::identification("Zylo530", '2', '1')},
         {"BAD 43 12 34 52 52 52 @57600", "RESET @57600"}, firmware, "Zylo530"},
        {{}, {stray + kErase}, {kAck}, {"BAD 55 21 5A 0E 07 0D @9600", "ERASE @9600"}},
    };
    // clang-format on
    for (int row = 0; row < static_cast<int>(std::size(scripts)); ++row) play(scripts[row], row);
}

TEST(BoardEngine, ByteByByteGivesTheSameAnswers) {
    const std::string stream = kResetSequence + kErase + writeFrame(0x40, "0123456789") + kRun +
                               configuration({0x90}) + "RS";
    BoardEngine whole{BoardOptions{}};
    BoardEngine split{BoardOptions{}};
    const auto expected = whole.feed(stream);
    std::vector<Answer> got;
    for (char c : stream) {
        for (Answer& a : split.feed(std::string(1, c))) got.push_back(std::move(a));
    }
    ASSERT_EQ(expected.size(), 5u);  // identification, three acknowledges, one packet
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t i = 0; i < got.size(); ++i) EXPECT_EQ(got[i].bytes, expected[i].bytes) << i;
    EXPECT_EQ(whole.takeLog(), split.takeLog());
    EXPECT_EQ(split.requestCount(), 7u);
}

TEST(BoardEngine, NewModelAnswersFromTheNextReset) {
    BoardEngine engine(withFaults({}));
    engine.setModel("Zylo551");
    EXPECT_EQ(engine.model(), "Zylo570");
    EXPECT_EQ(answerBytes(engine, kResetSequence).substr(0, 7), "Zylo551");
}

TEST(BoardEngine, PacketAndLogCarryTheSameTwelveBitCodes) {
    BoardEngine engine{BoardOptions{}};
    engine.feed(configuration({0x90, 4}));
    const std::string packet = requestPacket(engine);
    engine.feed("S");
    const auto log = engine.takeLog();
    ASSERT_EQ(log.size(), 4u);
    std::string config = "CONFIG 43 90 04";
    for (int i = 0; i < 23; ++i) config += " 00";
    EXPECT_EQ(log[0], config + " @57600");
    EXPECT_EQ(log[1], "REQUEST @57600");
    EXPECT_EQ(log[3], "STOP @57600");
    // The log gives each code in three digits; the packet sends CR and four digits per record.
    ASSERT_EQ(log[2].size(), 5 + 100 * 4u);
    EXPECT_TRUE(log[2].starts_with("CODES")) << log[2];
    std::string fromLog;
    for (std::size_t at = 5; at < log[2].size(); at += 4) {
        EXPECT_EQ(log[2][at], ' ') << at;
        fromLog += "\r0" + log[2].substr(at + 1, 3);
    }
    EXPECT_EQ(packet, fromLog);
    EXPECT_EQ(packet.find_first_not_of("\r0123456789ABCDEF"), std::string::npos);
}

TEST(BoardEngine, LevelFollowsChannelAndDacData) {
    struct Case {
        std::string config;
        double level;
    };
    const Case cases[] = {
        {configuration({0x90, 0}), 0x100},
        {configuration({0x90, 7}), 0xF00},
        {configuration({0x90, 8}), 0x5A0},
        {configuration({0x90, 9, 0, 0x0D, 0x0A, 0xBC}), 0xABC},               // DAC0 on
        {configuration({0x90, 9, 0, 0x04, 0x0A, 0xBC}), 0},                   // DAC0 off
        {configuration({0x90, 10, 0, 0x56, 0x0A, 0xBC, 0x03, 0x21}), 0x321},  // DAC1 on
        {configuration({0x90, 10, 0, 0x56, 0, 0, 0xF8, 0x00}), 0x800},        // 12 bits of F800
        {configuration({0x90, 11}), 0},
        {configuration({0x90, 12}), 0xFFF},
        {configuration({0x90, 13}), 0x800},  // no such input
    };
    for (const Case& c : cases) {
        BoardEngine engine{BoardOptions{}};
        engine.feed(c.config);
        const auto codes = packetCodes(requestPacket(engine));
        ASSERT_EQ(codes.size(), 100u);
        const auto [low, high] = std::minmax_element(codes.begin(), codes.end());
        // Clamped ends lose half their noise, so the mean sits within a code of the level.
        EXPECT_NEAR(std::accumulate(codes.begin(), codes.end(), 0.0) / 100, c.level, 1.0)
            << int(c.config[2]);
        EXPECT_GE(*low, std::max(0.0, c.level - 8));
        EXPECT_LE(*high, std::min(4095.0, c.level + 8));
        EXPECT_GT(*high, *low) << "noise expected around " << c.level;
    }
}

TEST(BoardEngine, SeedLevelAndSigmaCanBeChosen) {
    const auto packet = [](uint64_t seed, double sigma) {
        BoardOptions options;
        options.seed = seed;
        options.level = 0x7F0;
        options.sigma = sigma;
        BoardEngine engine(options);
        engine.feed(configuration({0x90, 12}));
        return requestPacket(engine);
    };
    EXPECT_NE(packet(7, 1.2), packet(8, 1.2));
    EXPECT_EQ(packetCodes(packet(7, 0)), std::vector<int>(100, 0x7F0));
}

TEST(BoardEngine, SarFaultsShapeThePacketsButKeepTheCodes) {
    BoardEngine plain{BoardOptions{}};
    BoardEngine engine(
        withFaults({"garble:2:0", "garble:2:99", "long-packet:3", "sar-noise:4", "silent-after:4"},
                   StartMode::Firmware));
    plain.feed(configuration({0x90, 3}));
    engine.feed(configuration({0x90, 3}));
    std::vector<std::string> expected;
    std::vector<Answer> got;
    for (int p = 1; p <= 4; ++p) {
        expected.push_back(requestPacket(plain));
        const auto answers = engine.feed("R");
        ASSERT_EQ(answers.size(), 1u) << p;
        got.push_back(answers[0]);
    }
    EXPECT_TRUE(engine.feed("R").empty()) << "silent after four packets";
    // The log holds the codes of a fault-free board, and the unanswered request.
    auto log = plain.takeLog();
    log.push_back("REQUEST @57600");
    EXPECT_EQ(engine.takeLog(), log);

    EXPECT_EQ(got[0].bytes, expected[0]);
    std::string garbled = got[1].bytes;  // first and last record lose their carriage return
    ASSERT_EQ(garbled.size(), 500u);
    EXPECT_NE(garbled[0], '\r');
    EXPECT_NE(garbled[495], '\r');
    garbled[0] = garbled[495] = '\r';
    EXPECT_EQ(garbled, expected[1]);
    EXPECT_EQ(got[2].bytes.substr(0, 500), expected[2]);
    EXPECT_EQ(got[2].bytes.size(), 501u);
    EXPECT_EQ(got[2].pacedLength, 500u);
    EXPECT_EQ(got[3].bytes.substr(3), expected[3]);
    EXPECT_EQ(got[3].pacedLength, 503u);
    EXPECT_EQ(got[3].bytes.find_first_of("\r\x06"), 3u);

    // A new run counts its packets afresh.
    engine.feed(configuration({0x90, 3}));
    EXPECT_EQ(engine.feed("R").size(), 1u);
}

// Bytes sent at a given line speed, and how many answer bytes they must get at once.
struct Sent {
    std::string bytes;
    long baud;
    std::size_t answered;
};

struct SpeedScript {
    std::string model;
    StartMode start;
    std::vector<Sent> sent;
    std::vector<ReceivedRequest> requests;
};

TEST(BoardEngine, RequestsAreHeardOnlyAtTheSpeedTheChipListensAt) {
    using enum RequestKind;
    const std::string w = writeFrame(0x0100, "abcd");
    const std::string config = configuration({0x90, 3});
    const std::string sdConfig = testing::sdConfiguration({0x07, 0x4F, 0x0F, 0x30, 0x45});
    // clang-format off
    const SpeedScript scripts[] = {
        // The loader at 9600, the SAR firmware at 57600; the reset is the board's button and is
        // heard at any speed, even split over two reads.
        {"Zylo570", StartMode::Loader,
         {{kResetSequence, 57600, 25}, {kErase, 57600, 0}, {kErase, 9600, 1}, {w, 9600, 1},
          {kRun, 9600, 1}, {config, 9600, 0}, {config, 57600, 0}, {"R", 57600, 500},
          {"S", 9600, 0}, {kResetSequence.substr(0, 2), 9600, 0},
          {kResetSequence.substr(2), 9600, 25}},
         {{Reset, 57600}, {Bad, 57600}, {Erase, 9600}, {Write, 9600}, {Run, 9600}, {Bad, 9600},
          {Config, 57600}, {Request, 57600}, {Bad, 9600}, {Reset, 9600}}},
        // Divider 3 moves the sigma-delta firmware to 9600 after the command; divider 0 back.
        {"Zylo580", StartMode::Firmware,
         {{"D3", 9600, 0}, {"D3", 57600, 0}, {"R", 57600, 0}, {sdConfig, 9600, 0}, {"R", 9600, 0},
          {"S", 9600, 0}, {"D0", 9600, 0}, {"S", 57600, 0}, {"D7", 57600, 0}},
         {{Bad, 9600}, {Divider, 57600}, {Bad, 57600}, {Config, 9600}, {Request, 9600},
          {Stop, 9600}, {Divider, 9600}, {Stop, 57600}, {Bad, 57600}}},
        // A reset at another speed: the frame half received before it is lost.
        {"Zylo570", StartMode::Loader,
         {{kErase.substr(0, 3), 9600, 0}, {"x" + kResetSequence, 57600, 25}},
         {{Bad, 57600}, {Bad, 9600}, {Reset, 57600}}},
        // The loader starts the firmware of the model's family.
        {"Zylo560", StartMode::Loader, {{kRun, 9600, 1}, {"D3", 57600, 0}, {"R", 9600, 0}},
         {{Run, 9600}, {Divider, 57600}, {Request, 9600}}},
        // The SAR firmware knows no divider: its speed stays.
        {"Zylo551", StartMode::Firmware, {{"D3", 57600, 0}, {"R", 57600, 500}},
         {{Bad, 57600}, {Request, 57600}}},
        // No firmware knows this model: nothing is understood.
        {"Zylo531", StartMode::Firmware, {{"R", 57600, 0}}, {{Bad, 57600}}},
    };
    // clang-format on
    for (const SpeedScript& s : scripts) {
        BoardOptions options;
        options.model = s.model;
        options.start = s.start;
        BoardEngine engine(options);
        for (std::size_t i = 0; i < s.sent.size(); ++i) {
            std::size_t answered = 0;
            for (const Answer& a : engine.feed(s.sent[i].bytes, 0, s.sent[i].baud)) {
                answered += a.bytes.size();
            }
            EXPECT_EQ(answered, s.sent[i].answered) << s.model << ", step " << i;
        }
        const auto requests = engine.takeRequests();
        EXPECT_EQ(requests, s.requests) << s.model;
        // Each request's log line names its kind and ends in its speed.
        std::vector<std::string> lines;
        for (const std::string& line : engine.takeLog()) {
            if (!line.starts_with("CODES")) lines.push_back(line);
        }
        ASSERT_EQ(lines.size(), requests.size()) << s.model;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            EXPECT_TRUE(lines[i].starts_with(requestKindName(requests[i].kind))) << lines[i];
            EXPECT_TRUE(lines[i].ends_with(" @" + std::to_string(requests[i].baud))) << lines[i];
        }
    }
}

}  // namespace
}  // namespace kelp::board
