#include "board/boardengine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "boardtesting.h"

namespace kelp::board {
namespace {

using testing::bytes;
using testing::configuration;
using testing::kResetSequence;
using testing::loaderFrame;
using testing::writeFrame;

BoardOptions loaderOptions(std::vector<std::string> faults = {}) {
    BoardOptions options;
    options.start = StartMode::Loader;
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

TEST(BoardEngine, IdentificationNamesModelAndVersion) {
    struct Case {
        const char* model;
        char major, minor;
    };
    for (const Case& c : {Case{"Zylo510", '1', '0'}, Case{"Zylo570", '2', '1'},
                          Case{"Zylo582", '3', '7'}, Case{"Zylo599", '9', '9'}}) {
        BoardOptions options;
        options.model = c.model;
        options.loaderMajor = c.major;
        options.loaderMinor = c.minor;
        BoardEngine engine(options);  // firmware running: a reset is still recognised
        const auto answers = engine.feed(kResetSequence);
        ASSERT_EQ(answers.size(), 1u) << c.model;
        const std::string& id = answers[0].bytes;
        ASSERT_EQ(id.size(), 25u);
        EXPECT_EQ(answers[0].pacedLength, 25u);
        EXPECT_EQ(answers[0].requestLength, 4u);
        EXPECT_EQ(id.substr(0, 7), c.model);
        EXPECT_EQ(id[11], c.major) << id;
        EXPECT_EQ(id[12], c.minor) << id;
        EXPECT_EQ(id.substr(23), "\r\n");
        for (std::size_t i = 0; i < 23; ++i) EXPECT_TRUE(std::isprint(id[i])) << i;
        EXPECT_EQ(engine.mode(), BoardMode::Loader);
    }
}

TEST(BoardEngine, FramesAreCheckedBeforeTheyAct) {
    struct Case {
        std::string frame;
        std::string answer;
        const char* log;
    };
    const std::string ff16(16, '\xFF');
    const Case cases[] = {
        {bytes({0x07, 0x0E, 0x01, 0x43, 0xBC}), "\x06", "ERASE"},
        {bytes({0x07, 0x0E, 0x01, 0x43, 0xBD}), "\x07", "BAD 07 0E 01 43 BD"},
        {bytes({0x07, 0x0E, 0x07, 0x57, 0x00, 0x00, 0x00, 0x02, 0x00, 0x3B, 0x65}), "\x06",
         "WRITE 0000 02 00 3B"},
        {bytes({0x07, 0x0E, 0x14, 0x57, 0x00, 0x1F, 0xF0}) + ff16 + "\x96", "\x06",
         "WRITE 1FF0 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF"},
        {writeFrame(0x1FF1, ff16), "\x07", nullptr},    // one byte past the memory
        {writeFrame(0x2000, "\x01"), "\x07", nullptr},  // beyond 8 KB
        {loaderFrame('W', bytes({0x01, 0x00, 0x00, 0x55})), "\x07", nullptr},  // page 1
        {loaderFrame('W', bytes({0x00, 0x10})), "\x07", nullptr},              // address cut short
        {loaderFrame('C', "x"), "\x07", nullptr},                      // erase takes no payload
        {loaderFrame('X'), "\x07", "BAD 07 0E 01 58 A7"},              // unknown command
        {bytes({0x07, 0x0E, 0x00, 0x00}), "\x07", "BAD 07 0E 00 00"},  // no command at all
        {loaderFrame('U', bytes({0, 0})), "\x07", nullptr},            // run needs its address
    };
    for (const Case& c : cases) {
        BoardEngine engine(loaderOptions());
        EXPECT_EQ(answerBytes(engine, c.frame), c.answer);
        const auto log = engine.takeLog();
        ASSERT_EQ(log.size(), 1u);
        if (c.log) {
            EXPECT_EQ(log[0], c.log);
        }
        EXPECT_EQ(log[0].starts_with("BAD "), c.answer == "\x07") << log[0];
    }
}

TEST(BoardEngine, WritesLandInMemoryAndEraseClearsIt) {
    BoardEngine engine(loaderOptions());
    EXPECT_EQ(engine.memoryImage(), std::string(8192, '\xFF'));
    EXPECT_EQ(answerBytes(engine, writeFrame(0x0000, bytes({0x02, 0x00, 0x40}))), "\x06");
    EXPECT_EQ(answerBytes(engine, writeFrame(0x1FFC, "ABCD")), "\x06");
    std::string expected(8192, '\xFF');
    expected.replace(0, 3, bytes({0x02, 0x00, 0x40}));
    expected.replace(0x1FFC, 4, "ABCD");
    EXPECT_EQ(engine.memoryImage(), expected);

    EXPECT_EQ(answerBytes(engine, loaderFrame('C')), "\x06");
    EXPECT_EQ(engine.memoryImage(), std::string(8192, '\xFF'));
}

TEST(BoardEngine, RunStartsTheFirmwareAndCountsForTheMemoryImage) {
    BoardEngine engine(loaderOptions());
    EXPECT_EQ(answerBytes(engine, bytes({0x07, 0x0E, 0x04, 0x55, 0x00, 0x00, 0x00, 0xA7})), "\x06");
    EXPECT_EQ(engine.mode(), BoardMode::Firmware);
    EXPECT_EQ(engine.runCount(), 1u);
    // The loader is gone: a loader frame now means nothing.
    EXPECT_EQ(answerBytes(engine, bytes({0x07, 0x0E, 0x04, 0x55, 0x00, 0x00, 0x00, 0xA7})), "-");
    EXPECT_EQ(engine.takeLog().back(), "BAD 07 0E 04 55 00 00 00 A7");
    EXPECT_EQ(engine.runCount(), 1u);
}

TEST(BoardEngine, LoaderFaultsShapeTheAnswers) {
    const std::string ack = "\x06", nak = "\x07";
    const std::string erase = loaderFrame('C');
    const std::string run = loaderFrame('U', bytes({0, 0, 0}));
    const std::string w = writeFrame(0x0100, "abcd");
    struct Case {
        std::vector<std::string> faults;
        std::vector<std::string> requests;
        std::vector<std::string> answers;  // "-": no answer
    };
    const std::string id = BoardEngine::identification("Zylo570", '2', '1');
    const Case cases[] = {
        {{"no-reset-answer"}, {kResetSequence, erase}, {"-", ack}},
        {{"extra-byte:reset"}, {kResetSequence}, {id + '\0'}},
        {{"nak:erase"}, {erase, w}, {nak, ack}},
        {{"silent:erase"}, {erase, erase}, {"-", "-"}},
        {{"nak:record:2"}, {w, w, w}, {ack, nak, ack}},
        {{"silent:record:3"}, {w, w, w, w}, {ack, ack, "-", ack}},
        {{"extra-byte:record:1"}, {w, w}, {ack + '\0', ack}},
        {{"nak:run"}, {run, run}, {nak, nak}},
        {{"silent:run"}, {run}, {"-"}},
        {{"extra-byte:erase", "nak:erase"}, {erase}, {nak + '\0'}},
        // Write requests are counted again from each reset.
        {{"nak:record:1"}, {w, kResetSequence, w}, {nak, id, nak}},
    };
    for (const Case& c : cases) {
        BoardEngine engine(loaderOptions(c.faults));
        for (std::size_t i = 0; i < c.requests.size(); ++i) {
            EXPECT_EQ(answerBytes(engine, c.requests[i]), c.answers[i])
                << c.faults[0] << ", request " << i;
        }
    }
}

TEST(BoardEngine, RefusedStepsLeaveTheChipAsItWas) {
    BoardEngine engine(loaderOptions({"nak:record:1", "silent:erase", "nak:run"}));
    engine.feed(writeFrame(0x0000, "xyz"));
    engine.feed(writeFrame(0x0010, "abc"));
    EXPECT_EQ(engine.memory()[0x0000], 0xFF);
    EXPECT_EQ(engine.memory()[0x0010], 'a');
    engine.feed(loaderFrame('C'));
    EXPECT_EQ(engine.memory()[0x0010], 'a');
    engine.feed(loaderFrame('U', bytes({0, 0, 0})));
    EXPECT_EQ(engine.mode(), BoardMode::Loader);
    EXPECT_EQ(engine.runCount(), 1u);  // the run command was still seen
}

TEST(BoardEngine, ExtraAndNoiseBytesAreMarkedForPacing) {
    BoardEngine engine(loaderOptions({"extra-byte:erase", "noise:record:1"}));
    auto answers = engine.feed(loaderFrame('C'));
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0].bytes.size(), 2u);
    EXPECT_EQ(answers[0].pacedLength, 1u);  // the extra byte rides with the acknowledge
    EXPECT_EQ(answers[0].requestLength, 5u);

    answers = engine.feed(writeFrame(0, "a"));
    ASSERT_EQ(answers.size(), 1u);
    const std::string& noisy = answers[0].bytes;
    ASSERT_EQ(noisy.size(), 4u);
    EXPECT_EQ(answers[0].pacedLength, 4u);
    EXPECT_EQ(noisy.back(), '\x06');
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(noisy[i], '\x06');
        EXPECT_NE(noisy[i], '\r');
    }
}

TEST(BoardEngine, ResetIsRecognisedAnywhere) {
    const std::string id = BoardEngine::identification("Zylo570", '2', '1');
    // Half a write frame, then the user presses reset.
    BoardEngine loader(loaderOptions());
    EXPECT_EQ(answerBytes(loader, writeFrame(0, "abcdef").substr(0, 6) + kResetSequence), id);
    EXPECT_EQ(loader.takeLog(), (std::vector<std::string>{"BAD 07 0E 0A 57 00 00", "RESET"}));
    EXPECT_EQ(answerBytes(loader, loaderFrame('C')), "\x06");

    // In the middle of a configuration message.
    BoardEngine sar{BoardOptions{}};
    EXPECT_EQ(answerBytes(sar, configuration({0x90, 3}).substr(0, 10) + kResetSequence), id);
    EXPECT_EQ(sar.mode(), BoardMode::Loader);

    // A packet asked for just before the reset never leaves the chip.
    BoardEngine requested{BoardOptions{}};
    EXPECT_EQ(answerBytes(requested, "R" + kResetSequence), id);

    // Sigma-delta firmware swallows everything but the reset.
    BoardOptions sd;
    sd.model = "Zylo530";
    BoardEngine sigmaDelta(sd);
    EXPECT_EQ(answerBytes(sigmaDelta, "C\x12\x34RRR" + kResetSequence),
              BoardEngine::identification("Zylo530", '2', '1'));
    EXPECT_EQ(sigmaDelta.takeLog(), std::vector<std::string>{"RESET"});
}

TEST(BoardEngine, StrayBytesAreLoggedAndSkipped) {
    BoardEngine engine(loaderOptions());
    // A half reset and a frame start that goes nowhere, then a good frame.
    EXPECT_EQ(answerBytes(engine, bytes({0x55, 0x21, 0x5A, 0x0E, 0x07, 0x0D}) + loaderFrame('C')),
              "\x06");
    EXPECT_EQ(engine.takeLog(), (std::vector<std::string>{"BAD 55 21 5A 0E 07 0D", "ERASE"}));
}

TEST(BoardEngine, ByteByByteGivesTheSameAnswers) {
    const std::string stream = kResetSequence + loaderFrame('C') + writeFrame(0x40, "0123456789") +
                               loaderFrame('U', bytes({0, 0, 0})) + configuration({0x90}) + "RS";
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
    BoardEngine engine(loaderOptions());
    engine.setModel("Zylo551");
    EXPECT_EQ(engine.model(), "Zylo570");
    EXPECT_EQ(answerBytes(engine, kResetSequence).substr(0, 7), "Zylo551");
}

TEST(BoardEngine, PacketHoldsHundredRecordsOfTwelveBitCodes) {
    BoardEngine engine{BoardOptions{}};
    engine.feed(configuration({0x90, 4}));
    const std::string packet = requestPacket(engine);
    ASSERT_EQ(packet.size(), 500u);
    for (std::size_t j = 0; j < 100; ++j) {
        EXPECT_EQ(packet[5 * j], '\r') << j;
        const std::string digits = packet.substr(5 * j + 1, 4);
        EXPECT_EQ(digits.find_first_not_of("0123456789ABCDEF"), std::string::npos) << digits;
    }
    const auto codes = packetCodes(packet);
    for (int code : codes) EXPECT_LE(code, 0xFFF);

    const auto log = engine.takeLog();
    ASSERT_EQ(log.size(), 3u);
    std::string config = "CONFIG 43 90 04";
    for (int i = 0; i < 23; ++i) config += " 00";
    EXPECT_EQ(log[0], config);
    EXPECT_EQ(log[1], "REQUEST");
    std::string expected = "CODES";
    for (int code : codes) {
        char text[8];
        std::snprintf(text, sizeof text, " %03X", code);
        expected += text;
    }
    EXPECT_EQ(log[2], expected);
    engine.feed("S");
    EXPECT_EQ(engine.takeLog(), std::vector<std::string>{"STOP"});
}

TEST(BoardEngine, SameSeedSameCodes) {
    const auto packets = [](uint64_t seed) {
        BoardOptions options;
        options.seed = seed;
        BoardEngine engine(options);
        engine.feed(configuration({0x90, 2}));
        return requestPacket(engine) + requestPacket(engine);
    };
    EXPECT_EQ(packets(7), packets(7));
    EXPECT_NE(packets(7), packets(8));
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
    };
    for (const Case& c : cases) {
        BoardEngine engine{BoardOptions{}};
        engine.feed(c.config);
        const auto codes = packetCodes(requestPacket(engine));
        ASSERT_EQ(codes.size(), 100u);
        double sum = 0;
        int low = 4096, high = -1;
        for (int code : codes) {
            sum += code;
            low = std::min(low, code);
            high = std::max(high, code);
        }
        // Clamped ends lose half their noise, so the mean sits within a code of the level.
        EXPECT_NEAR(sum / 100, c.level, 1.0) << int(c.config[2]);
        EXPECT_GE(low, std::max(0.0, c.level - 8));
        EXPECT_LE(high, std::min(4095.0, c.level + 8));
        EXPECT_GT(high, low) << "noise expected around " << c.level;
    }
}

TEST(BoardEngine, LevelAndSigmaCanBeForced) {
    BoardOptions options;
    options.level = 0x7F0;
    options.sigma = 0;
    BoardEngine engine(options);
    engine.feed(configuration({0x90, 12}));
    for (int code : packetCodes(requestPacket(engine))) EXPECT_EQ(code, 0x7F0);
}

TEST(BoardEngine, SarFaultsShapeThePackets) {
    BoardOptions options;
    for (const char* text :
         {"garble:2:5", "garble:2:0", "long-packet:3", "sar-noise:4", "silent-after:4"}) {
        std::string error;
        options.faults.push_back(*parseFault(text, error));
    }
    BoardEngine engine(options);
    engine.feed(configuration({0x90, 3}));
    std::vector<Answer> packets;
    for (int p = 1; p <= 5; ++p) {
        auto answers = engine.feed("R");
        if (p == 5) {
            EXPECT_TRUE(answers.empty()) << "silent after four packets";
            break;
        }
        ASSERT_EQ(answers.size(), 1u);
        packets.push_back(answers[0]);
    }
    const auto log = engine.takeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), "REQUEST"), 5);
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& l) { return l.starts_with("CODES "); }),
              4);

    EXPECT_EQ(std::count(packets[0].bytes.begin(), packets[0].bytes.end(), '\r'), 100);
    const std::string& garbled = packets[1].bytes;
    EXPECT_EQ(garbled.size(), 500u);
    EXPECT_NE(garbled[0], '\r');
    EXPECT_NE(garbled[25], '\r');
    EXPECT_EQ(std::count(garbled.begin(), garbled.end(), '\r'), 98);

    EXPECT_EQ(packets[2].bytes.size(), 501u);
    EXPECT_EQ(packets[2].pacedLength, 500u);
    EXPECT_EQ(packets[3].bytes.size(), 503u);
    EXPECT_EQ(packets[3].pacedLength, 503u);
    EXPECT_EQ(packets[3].bytes[3], '\r');
    EXPECT_NE(packets[3].bytes.substr(0, 3).find_first_of("\r\x06"), 0u);

    // A new run counts its packets afresh.
    engine.feed(configuration({0x90, 3}));
    EXPECT_EQ(engine.feed("R").size(), 1u);
}

TEST(BoardEngine, GarbledRecordKeepsItsCodeInTheLog) {
    BoardOptions plain, garbled;
    std::string error;
    garbled.faults.push_back(*parseFault("garble:1:99", error));
    BoardEngine a(plain), b(garbled);
    const std::string good = requestPacket(a);
    const std::string bad = requestPacket(b);
    EXPECT_EQ(good.substr(0, 495), bad.substr(0, 495));
    EXPECT_NE(bad[495], '\r');
    EXPECT_EQ(good.substr(496), bad.substr(496));
    EXPECT_EQ(a.takeLog(), b.takeLog());
}

}  // namespace
}  // namespace kelp::board
