#include "board/boardoptions.h"

#include <gtest/gtest.h>

#include <functional>

#include "board/commandline.h"

namespace kelp::board {
namespace {

TEST(BoardOptions, ModelNamesAreZylo5AndTwoDigits) {
    for (const char* good : {"Zylo510", "Zylo582", "Zylo599", "Zylo500"}) {
        EXPECT_TRUE(isModelName(good)) << good;
    }
    for (const char* bad :
         {"", "zylo510", "Zylo51", "Zylo5100", "Zylo510 ", "Zylo410", "Zylo5A0"}) {
        EXPECT_FALSE(isModelName(bad)) << bad;
    }
}

TEST(BoardOptions, FaultsReadAndWriteTheSameText) {
    struct Case {
        const char* text;
        Fault fault;
    };
    // Every kind of fault, and every loader step.
    const Case cases[] = {
        {"no-reset-answer", {FaultKind::NoResetAnswer, LoaderStep::Reset, 0, 0}},
        {"nak:erase", {FaultKind::Nak, LoaderStep::Erase, 0, 0}},
        {"silent:record:12", {FaultKind::Silent, LoaderStep::Record, 12, 0}},
        {"extra-byte:reset", {FaultKind::ExtraByte, LoaderStep::Reset, 0, 0}},
        {"noise:run", {FaultKind::Noise, LoaderStep::Run, 0, 0}},
        {"garble:2:99", {FaultKind::Garble, LoaderStep::Reset, 2, 99}},
        {"long-packet:1", {FaultKind::LongPacket, LoaderStep::Reset, 1, 0}},
        {"silent-after:0", {FaultKind::SilentAfter, LoaderStep::Reset, 0, 0}},
        {"sar-noise:40", {FaultKind::SarNoise, LoaderStep::Reset, 40, 0}},
        {"frame-noise:7", {FaultKind::FrameNoise, LoaderStep::Reset, 7, 0}},
        {"short-frame:3:11", {FaultKind::ShortFrame, LoaderStep::Reset, 3, 0, 11}},
        {"short-frame:1:0", {FaultKind::ShortFrame, LoaderStep::Reset, 1, 0, 0}},
    };
    for (const Case& c : cases) {
        std::string error;
        const auto fault = parseFault(c.text, error);
        ASSERT_TRUE(fault.has_value()) << c.text << ": " << error;
        EXPECT_EQ(*fault, c.fault) << c.text;
        EXPECT_EQ(faultText(*fault), c.text);
    }
}

TEST(BoardOptions, MalformedFaultsAreRefusedWithAReason) {
    // clang-format off
    const char* const malformed[] = {
        "", "nak", "nak:reset", "silent:reset", "nak:record", "nak:record:0", "nak:record:x",
        "nak:record:-1", "nak:erase:1", "noise:record:2:3", "garble:1", "garble:0:1",
        "garble:1:100", "long-packet:0", "sar-noise:", "silent-after:k", "no-reset-answer:1",
        "Nak:erase", "extra-byte:reset:1", "nak:record:99999999", "frame-noise:0", "short-frame:2",
        "short-frame:0:5", "short-frame:1:12", "short-frame:1:x"};
    // clang-format on
    for (const char* text : malformed) {
        std::string error;
        EXPECT_FALSE(parseFault(text, error).has_value()) << text;
        EXPECT_NE(error.find("fault"), std::string::npos) << text;
    }
}

TEST(BoardOptions, CheckCatchesWhatTheStructAllows) {
    EXPECT_EQ(checkOptions(BoardOptions{}), "");
    const std::function<void(BoardOptions&)> breakages[] = {
        [](BoardOptions& o) { o.model = "Zylo5"; },
        [](BoardOptions& o) { o.loaderMinor = 'x'; },
        [](BoardOptions& o) { o.level = 0x1000; },
        [](BoardOptions& o) { o.sigma = -1; },
        [](BoardOptions& o) { o.sdVref = 0; },
        [](BoardOptions& o) { o.sdNoiseMicrovolts = -0.5; },
        [](BoardOptions& o) { o.sdLevel = 1.5; },
        [](BoardOptions& o) {
            o.faults = {Fault{FaultKind::Garble, LoaderStep::Reset, 1, 100}};
        },
        [](BoardOptions& o) {
            o.faults = {Fault{FaultKind::Nak, LoaderStep::Reset, 0, 0}};
        },
    };
    for (const auto& breakOne : breakages) {
        BoardOptions options;
        breakOne(options);
        EXPECT_NE(checkOptions(options), "");
    }
}

TEST(BoardCommandLine, ReadsEveryOption) {
    const CommandLine line = parseCommandLine({"--model",
                                               "Zylo551",
                                               "--loader-version",
                                               "3.4",
                                               "--no-pacing",
                                               "--log",
                                               "/tmp/a.log",
                                               "--memory-out=/tmp/m.bin",
                                               "--seed",
                                               "99",
                                               "--level",
                                               "7F0",
                                               "--sigma=0.5",
                                               "--start",
                                               "loader",
                                               "--fault",
                                               "nak:record:3",
                                               "--fault=garble:1:2",
                                               "--sd-vref",
                                               "3.3",
                                               "--sd-level=-0.5",
                                               "--sd-offset",
                                               "-20",
                                               "--sd-noise",
                                               "2.5"});
    ASSERT_EQ(line.error, "");
    EXPECT_FALSE(line.help);
    const BoardOptions& o = line.options;
    EXPECT_EQ(o.model, "Zylo551");
    EXPECT_EQ(o.loaderMajor, '3');
    EXPECT_EQ(o.loaderMinor, '4');
    EXPECT_FALSE(o.pacing);
    EXPECT_EQ(o.logPath, "/tmp/a.log");
    EXPECT_EQ(o.memoryOutPath, "/tmp/m.bin");
    EXPECT_EQ(o.seed, 99u);
    EXPECT_EQ(o.level, 0x7F0);
    EXPECT_DOUBLE_EQ(o.sigma, 0.5);
    EXPECT_EQ(o.start, StartMode::Loader);
    ASSERT_EQ(o.faults.size(), 2u);
    EXPECT_EQ(faultText(o.faults[0]), "nak:record:3");
    EXPECT_EQ(faultText(o.faults[1]), "garble:1:2");
    EXPECT_DOUBLE_EQ(o.sdVref, 3.3);
    EXPECT_EQ(o.sdLevel, -0.5);
    EXPECT_DOUBLE_EQ(o.sdOffsetMicrovolts, -20);
    EXPECT_DOUBLE_EQ(o.sdNoiseMicrovolts, 2.5);
}

TEST(BoardCommandLine, HelpNamesEveryOptionAndFault) {
    EXPECT_EQ(parseCommandLine({}).error, "");
    EXPECT_TRUE(parseCommandLine({"--help"}).help);
    for (const char* option :
         {"--model", "--loader-version", "--no-pacing", "--log", "--memory-out", "--seed",
          "--level", "--sigma", "--start", "--fault", "no-reset-answer", "silent-after:K",
          "long-packet:P", "--sd-vref", "--sd-level", "--sd-offset", "--sd-noise", "frame-noise:K",
          "short-frame:K:D"}) {
        EXPECT_NE(usageText().find(option), std::string::npos) << option;
    }
}

TEST(BoardCommandLine, BadArgumentsAreRefusedWithAReason) {
    const std::vector<std::vector<std::string>> cases = {
        {"--model", "Zylo5x0"},     {"--model", "zylo570"},      {"--model"},
        {"--loader-version", "21"}, {"--loader-version", "2.x"}, {"--seed", "-3"},
        {"--seed", "12abc"},        {"--level", "1000"},         {"--level", "G"},
        {"--sigma", "nan"},         {"--sigma", "-0.1"},         {"--start", "boot"},
        {"--fault", "nak:boot"},    {"--speed", "9600"},         {"Zylo570"},
        {"--sd-level", "1.5"},      {"--sd-vref", "0"},          {"--sd-noise", "-1"},
        {"--sd-offset", "1e7"},     {"--sd-vref", "2.5V"},       {"--sd-gain", "2"},
    };
    for (const auto& args : cases) {
        const CommandLine line = parseCommandLine(args);
        EXPECT_NE(line.error, "") << args[0] << " " << (args.size() > 1 ? args[1] : "");
    }
}

}  // namespace
}  // namespace kelp::board
