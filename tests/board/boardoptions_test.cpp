#include "board/boardoptions.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

#include "board/commandline.h"

namespace kelp::board {
namespace {

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> out;
    for (std::string word; in >> word;) out.push_back(word);
    return out;
}

TEST(BoardCommandLine, ReadsEveryOptionAndRefusesWhatItCannotServe) {
    for (const char* bad : {"", "zylo510", "Zylo51", "Zylo5100", "Zylo510 ", "Zylo410", "Zylo5A0"})
        EXPECT_FALSE(isModelName(bad)) << bad;
    std::string error;
    for (const std::string& text :
         words("nak nak:reset silent:reset nak:record nak:record:0 nak:record:x nak:record:-1 "
               "nak:erase:1 noise:record:2:3 garble:1 garble:0:1 garble:1:100 long-packet:0 "
               "sar-noise: silent-after:k no-reset-answer:1 Nak:erase nak:record:99999999 "
               "frame-noise:0 short-frame:2 short-frame:0:5 short-frame:1:12 short-frame:1:x")) {
        error.clear();
        EXPECT_FALSE(parseFault(text, error).has_value()) << text;
        EXPECT_NE(error.find("fault"), std::string::npos) << text;
    }
    const CommandLine line = parseCommandLine(
        words("--model Zylo551 --loader-version 3.4 --no-pacing --log /tmp/a.log "
              "--memory-out=/tmp/m.bin --seed 99 --level 7F0 --sigma=0.5 --start loader "
              "--fault nak:record:3 --fault=garble:1:2 --sd-vref 3.3 --sd-level=-0.5 "
              "--sd-offset -20 --sd-noise 2.5 --sd-rate 200"));
    ASSERT_EQ(line.error, "");
    const BoardOptions& o = line.options;
    EXPECT_EQ(std::tuple(o.model, o.loaderMajor, o.loaderMinor, o.pacing, o.logPath,
                         o.memoryOutPath, o.seed, o.level, o.start),
              std::tuple("Zylo551", '3', '4', false, "/tmp/a.log", "/tmp/m.bin", 99u, 0x7F0,
                         StartMode::Loader));
    ASSERT_EQ(o.faults.size(), 2u);
    EXPECT_EQ(faultText(o.faults[0]) + " " + faultText(o.faults[1]), "nak:record:3 garble:1:2");
    EXPECT_EQ(std::vector({o.sigma, o.sdVref, o.sdLevel.value_or(0), o.sdOffsetMicrovolts,
                           o.sdNoiseMicrovolts, o.sdRate.value_or(0)}),
              std::vector({0.5, 3.3, -0.5, -20.0, 2.5, 200.0}));
    EXPECT_TRUE(parseCommandLine({"--help"}).help);
    EXPECT_EQ(parseCommandLine({}).error, "");
    for (const char* args :
         {"--model Zylo5x0", "--model",         "--loader-version 21", "--loader-version 2.x",
          "--seed -3",       "--seed 12abc",    "--level 1000",        "--level G",
          "--sigma nan",     "--sigma -0.1",    "--start boot",        "--fault nak:boot",
          "--speed 9600",    "Zylo570",         "--sd-level 1.5",      "--sd-vref 0",
          "--sd-noise -1",   "--sd-offset 1e7", "--sd-vref 2.5V",      "--sd-rate 0"}) {
        EXPECT_NE(parseCommandLine(words(args)).error, "") << args;
    }
}

}  // namespace
}  // namespace kelp::board
