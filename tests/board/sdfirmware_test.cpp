#include "board/sdfirmware.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "board/boardengine.h"
#include "boardtesting.h"

namespace kelp::board {
namespace {

using testing::withFaults;
constexpr Nanos kSecond = 1'000'000'000;
constexpr auto kFirmware = StartMode::Firmware;

std::string sdConfiguration(std::initializer_list<int> fromOffset1) {
    return testing::configuration(fromOffset1, 27);
}

// Frames streamed for `seconds` after `before` (at 57600), the configuration and the request (at
// `baud`), all sent at `from`; the clock steps from frame to frame as the server's worker does.
std::vector<Answer> stream(BoardEngine& engine, const std::string& config, double seconds,
                           const std::string& before = {}, long baud = 57600, Nanos from = 0) {
    engine.feed(before, from, 57600);
    engine.feed(config + "R", from, baud);
    std::vector<Answer> frames;
    for (auto due = engine.nextDue(); due && *due <= from + seconds * kSecond;
         due = engine.nextDue())
        for (Answer& a : engine.advance(*due)) frames.push_back(std::move(a));
    return frames;
}

TEST(SigmaDeltaFirmware, RangesAreReadInTheLayoutOfTheModelsGroup) {
    const std::tuple<std::string, std::string, double, double> cases[] = {
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x30}), 2.56, 1.25},
        {"Zylo580", sdConfiguration({0x20, 0x0F, 0x60, 0x30}), 0.01, 2.5},
        {"Zylo560", sdConfiguration({0x67, 0x48, 0x30}), 2.56, 2.5},
        {"Zylo530", sdConfiguration({0x08, 0x00, 0x10}), 0.01, 1.25},
    };
    for (const auto& [model, config, primary, aux] : cases) {
        const std::vector<uint8_t> message(config.begin(), config.end());
        const SdSetup got = readSdConfiguration(*sigmaDeltaModel(model), message, 2.5);
        EXPECT_EQ(std::pair(got.primary.range, got.aux.range), std::pair(primary, aux)) << model;
    }
}

TEST(SigmaDeltaFirmware, FramesComeOnTheClockAtTheUpdateRateCappedByTheLink) {
    const double link9600 = 9600 / 130.0;
    const std::tuple<std::string, std::string, std::string, long, double> cases[] = {
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x38, 0x45}), "", 57600, 4096.0 / 0x45},
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x30, 0x45}), "", 57600, 4096.0 / 0xCF},
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x38, 0x0D}), "D3", 9600, link9600},
        // No chopping bit in the mode byte of the first four; SF below 0x0D counts as 0x0D.
        {"Zylo560", sdConfiguration({0x67, 0x20, 0x28, 0x05}), "", 57600, 4096.0 / (3 * 0x0D)},
    };
    for (const auto& [model, config, before, baud, hz] : cases) {
        BoardEngine engine(withFaults({}, kFirmware, model));
        const auto frames = stream(engine, config, 2.0, before, baud);
        ASSERT_EQ(frames.size(), static_cast<std::size_t>(2.0 * hz)) << model << before;
        for (std::size_t k = 0; k < frames.size(); ++k) {
            EXPECT_NEAR(frames[k].readyAt, (k + 1) * kSecond / hz, 1.0) << k;
            EXPECT_EQ(frames[k].baud, baud);
        }
        // A clock that jumps ahead gets only the latest conversion, never a burst.
        const auto late = engine.advance(3 * kSecond);
        ASSERT_EQ(late.size(), 1u);
        EXPECT_NEAR(late[0].readyAt, std::floor(3 * hz) * kSecond / hz, 1.0);
        // Stop ends the stream; nothing more falls due.
        engine.feed("S", 3 * kSecond, baud);
        EXPECT_TRUE(engine.advance(10 * kSecond).empty());
        EXPECT_FALSE(engine.nextDue().has_value());
    }
}

// The log gives each converter's code; the frame carries it where the host reads it.
TEST(SigmaDeltaFirmware, CodesFollowTheSetUpAndSitWhereTheHostReadsThem) {
    struct Case {
        std::string model, config;
        double primary, aux;  // centre of the codes; 0: converter off
    };
    // clang-format off
    const Case cases[] = {
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x30, 0x45}), 0x800000, 0x800000},
        {"Zylo580", sdConfiguration({0x27, 0x4F, 0x2F, 0x30, 0x45}), 0x400000, 0x400000},
        {"Zylo582", sdConfiguration({0x07, 0x4F, 0x0F, 0x30, 0x45}), 0x800000, 0},
        {"Zylo530", sdConfiguration({0x67, 0x20, 0x20, 0x45}), 0x8000, 0},
        {"Zylo561", sdConfiguration({0x6F, 0x20, 0x20, 0x45}), 0x4000, 0},
        {"Zylo540", sdConfiguration({0x67, 0x20, 0x10, 0x45}), 0, 0x8000},
        {"Zylo540", sdConfiguration({0x67, 0x28, 0x10, 0x45}), 0, 0x4000},
        {"Zylo560", sdConfiguration({0x67, 0x20, 0x30, 0x45}), 0x800000, 0x8000},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.model);
        BoardOptions options = withFaults({}, kFirmware, c.model);
        BoardEngine engine(options), same(options);
        options.seed = 2;
        BoardEngine reseeded(options);
        const auto frames = stream(engine, c.config, 1.0);
        ASSERT_EQ(frames.size(), 19u);
        stream(same, c.config, 1.0), stream(reseeded, c.config, 1.0);
        const auto log = engine.takeLog();
        EXPECT_EQ(same.takeLog(), log);
        EXPECT_NE(reseeded.takeLog(), log);
        double sums[2] = {0, 0};
        std::size_t k = 0;
        for (const std::string& line : log) {
            if (!line.starts_with("CODES ")) continue;
            const std::string f = frames.at(k++).bytes;  // CR, then bytes 1 to 6 in hex
            std::istringstream fields(line.substr(6));
            std::string p, a;
            fields >> p >> a;
            ASSERT_EQ(std::pair(p == "-", a == "-"), std::pair(!c.primary, !c.aux)) << line;
            // The primary result from byte 1 on, the auxiliary one from byte 4 on; without a
            // primary result the first four also put it in bytes 1 and 3.
            EXPECT_EQ(c.primary ? f.substr(1, p.size()) : "-", p);
            EXPECT_EQ(c.aux ? f.substr(7, a.size()) : "-", a);
            EXPECT_TRUE(c.primary || !c.aux || f.substr(1, 2) + f.substr(5, 2) == a) << f;
            sums[0] += c.primary ? std::stoi(p, nullptr, 16) : 0;
            sums[1] += c.aux ? std::stoi(a, nullptr, 16) : 0;
        }
        EXPECT_EQ(k, frames.size());
        EXPECT_NEAR(sums[0] / 19, c.primary, c.primary / 128);
        EXPECT_NEAR(sums[1] / 19, c.aux, c.aux / 128);
    }
}

TEST(SigmaDeltaFirmware, FaultsShapeTheStreamButKeepTheCodes) {
    const std::string config = sdConfiguration({0x07, 0x4F, 0x0F, 0x38, 0x45});
    BoardEngine plain(withFaults({}, kFirmware, "Zylo580"));
    BoardEngine engine(
        withFaults({"frame-noise:2", "short-frame:3:7", "short-frame:4:0", "silent-after:5"},
                   kFirmware, "Zylo580"));
    const auto expected = stream(plain, config, 1.0);
    const auto got = stream(engine, config, 1.0);
    ASSERT_EQ(got.size(), 5u);  // silent after five frames
    EXPECT_FALSE(engine.nextDue().has_value());
    EXPECT_EQ(got[0].bytes + got[4].bytes, expected.at(0).bytes + expected.at(4).bytes);
    EXPECT_EQ(got[1].bytes.substr(3), expected[1].bytes);
    EXPECT_EQ(got[1].bytes.find('\r'), 3u);  // three noise bytes, none a carriage return
    EXPECT_EQ(got[1].pacedLength, 16u);
    EXPECT_EQ(got[2].bytes + "|" + got[3].bytes, expected[2].bytes.substr(0, 8) + "|\r");
    auto log = plain.takeLog();
    log.resize(2 + 5);  // CONFIG, REQUEST and five CODES lines
    EXPECT_EQ(engine.takeLog(), log);
    // A new request counts its frames afresh.
    EXPECT_EQ(stream(engine, "", 1.0, "", 57600, 2 * kSecond).size(), 5u);
}

}  // namespace
}  // namespace kelp::board
