#include "board/sdfirmware.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <sstream>
#include <tuple>

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
         due = engine.nextDue()) {
        for (Answer& a : engine.advance(*due)) frames.push_back(std::move(a));
    }
    return frames;
}

// The results the host assembles from a frame, by model, and the auxiliary result as bytes 4
// to 6 carry it.
struct HostView {
    long primary, aux, auxCarried;
};

HostView hostView(const std::string& model, const std::string& frame) {
    const uint64_t v = std::stoull(frame.substr(1), nullptr, 16);  // bytes 1 to 6
    const uint64_t byte1 = v >> 40, byte3 = v >> 24 & 0xFF;
    const bool is580 = model == "Zylo580", primary16 = model == "Zylo530" || model == "Zylo561";
    return {static_cast<long>(primary16 ? v >> 32 : v >> 24),
            static_cast<long>(is580 ? v & 0xFFFFFF : byte1 << 8 | byte3),
            static_cast<long>(is580 ? v & 0xFFFFFF : v >> 8 & 0xFFFF)};
}

std::string joined(const std::vector<Answer>& frames) {
    std::string all;
    for (const Answer& f : frames) all += f.bytes;
    return all;
}

double mean(const std::vector<long>& v) {
    return std::accumulate(v.begin(), v.end(), 0.0) / static_cast<double>(v.size());
}

TEST(SigmaDeltaFirmware, RangesAreReadInTheLayoutOfTheModelsGroup) {
    const std::tuple<std::string, std::string, double, double> cases[] = {
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x30}), 2.56, 1.25},
        {"Zylo580", sdConfiguration({0x20, 0x0F, 0x60, 0x30}), 0.01, 2.5},
        {"Zylo560", sdConfiguration({0x67, 0x48, 0x30}), 2.56, 2.5},
        {"Zylo530", sdConfiguration({0x08, 0x00, 0x10}), 0.01, 1.25},
    };
    for (const auto& [model, config, primary, aux] : cases) {
        BoardEngine engine(withFaults({}, kFirmware, model));
        engine.feed(config);
        const SdSetup& got = dynamic_cast<const SigmaDeltaFirmware&>(*engine.firmware()).setup();
        EXPECT_DOUBLE_EQ(got.primary.range, primary) << model << " " << int(config[1]);
        EXPECT_DOUBLE_EQ(got.aux.range, aux) << model << " " << int(config[1]);
    }
}

TEST(SigmaDeltaFirmware, FramesComeOnTheClockAtTheUpdateRateCappedByTheLink) {
    struct Case {
        std::string model, config, before;
        long baud;
        double hz;
    };
    const double link9600 = 9600 / 130.0;
    // clang-format off
    const Case cases[] = {
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x38, 0x45}), "", 57600, 4096.0 / 0x45},
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x30, 0x45}), "", 57600, 4096.0 / 0xCF},
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x38, 0x0D}), "D3", 9600, link9600},
        // No chopping bit in the mode byte of the first four; SF below 0x0D counts as 0x0D.
        {"Zylo560", sdConfiguration({0x67, 0x20, 0x28, 0x05}), "", 57600, 4096.0 / (3 * 0x0D)},
        {"Zylo560", sdConfiguration({0x67, 0x20, 0x20, 0x0D}), "D3", 9600, link9600},
    };
    // clang-format on
    for (const Case& c : cases) {
        BoardEngine engine(withFaults({}, kFirmware, c.model));
        const auto frames = stream(engine, c.config, 2.0, c.before, c.baud);
        ASSERT_EQ(frames.size(), static_cast<std::size_t>(2.0 * c.hz)) << c.model << c.before;
        const double period = kSecond / c.hz;
        for (std::size_t k = 0; k < frames.size(); ++k) {
            EXPECT_NEAR(frames[k].readyAt, (k + 1) * period, 1.0) << k;
            EXPECT_EQ(frames[k].baud, c.baud);
        }
        // A clock that jumps ahead gets only the latest conversion, never a burst.
        const auto late = engine.advance(3 * kSecond);
        ASSERT_EQ(late.size(), 1u);
        EXPECT_NEAR(late[0].readyAt, std::floor(3 * c.hz) * period, 1.0);
        // Stop ends the stream; nothing more falls due.
        engine.feed("S", 3 * kSecond, c.baud);
        EXPECT_TRUE(engine.advance(10 * kSecond).empty());
        EXPECT_FALSE(engine.nextDue().has_value());
    }
}

// The log gives each converter's own result; the host's assembly of the frame gives it back,
// except the auxiliary result of the first four models while their primary converter is on.
TEST(SigmaDeltaFirmware, CodesFollowTheSetUpAndReadBackAsTheHostAssemblesThem) {
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
        // Both on: the primary keeps its bytes, the auxiliary result rides in bytes 4 and 5 only.
        {"Zylo560", sdConfiguration({0x67, 0x20, 0x30, 0x45}), 0x800000, 0x8000},
    };
    // clang-format on
    for (const Case& c : cases) {
        BoardOptions options = withFaults({}, kFirmware, c.model);
        BoardEngine engine(options), same(options);
        options.seed = 2;
        BoardEngine reseeded(options);
        const auto frames = stream(engine, c.config, 1.0);
        ASSERT_EQ(frames.size(), 19u);
        EXPECT_EQ(joined(stream(same, c.config, 1.0)), joined(frames)) << c.model;
        EXPECT_NE(joined(stream(reseeded, c.config, 1.0)), joined(frames)) << c.model;
        std::vector<long> primary, aux;
        std::size_t k = 0;
        for (const std::string& line : engine.takeLog()) {
            if (!line.starts_with("CODES ")) continue;
            const HostView view = hostView(c.model, frames.at(k++).bytes);
            std::istringstream fields(line.substr(6));
            std::string p, a;
            fields >> p >> a;
            const long pc = p == "-" ? -1 : std::stol(p, nullptr, 16);
            const long ac = a == "-" ? -1 : std::stol(a, nullptr, 16);
            ASSERT_EQ(std::pair(pc < 0, ac < 0), std::pair(c.primary == 0, c.aux == 0)) << line;
            if (pc >= 0) primary.push_back(pc);
            EXPECT_TRUE(pc < 0 || pc == view.primary) << line;
            if (ac >= 0) aux.push_back(ac);
            // The host reads the auxiliary result where the primary leaves bytes 1 and 3 free.
            EXPECT_EQ(view.auxCarried, std::max(ac, 0L)) << line;
            EXPECT_TRUE(ac < 0 || ac == view.aux || (pc >= 0 && c.model != "Zylo580")) << line;
        }
        EXPECT_EQ(k, frames.size());
        EXPECT_NEAR(c.primary ? mean(primary) : 0, c.primary, c.primary / 128) << c.model;
        EXPECT_NEAR(c.aux ? mean(aux) : 0, c.aux, c.aux / 128) << c.model;
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
    EXPECT_EQ(got[2].bytes, expected[2].bytes.substr(0, 8));
    EXPECT_EQ(got[3].bytes, "\r");
    auto log = plain.takeLog();
    log.resize(2 + 5);  // CONFIG, REQUEST and five CODES lines
    EXPECT_EQ(engine.takeLog(), log);
    // A new request counts its frames afresh.
    EXPECT_EQ(stream(engine, "", 1.0, "", 57600, 2 * kSecond).size(), 5u);
}

}  // namespace
}  // namespace kelp::board
