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

using testing::sdConfiguration;

constexpr Nanos kSecond = 1'000'000'000;

BoardOptions sdOptions(const std::string& model, std::vector<std::string> faults = {}) {
    BoardOptions options;
    options.model = model;
    for (const std::string& text : faults) {
        std::string error;
        options.faults.push_back(parseFault(text, error).value());
    }
    return options;
}

// Frames a board streams for `seconds` of its clock after the configuration (and any other
// commands) and a request, all sent at t = 0 at the speeds given.
std::vector<Answer> stream(BoardEngine& engine, const std::string& config, double seconds,
                           const std::string& before = {}, long baud = 57600) {
    engine.feed(before, 0, 57600);
    engine.feed(config + "R", 0, baud);
    return engine.advance(static_cast<Nanos>(seconds * kSecond));
}

// The results the host assembles from a frame, by model, and the auxiliary result as bytes 4
// to 6 carry it.
struct HostView {
    long primary, aux, auxCarried;
};

HostView hostView(const std::string& model, const std::string& frame) {
    std::vector<long> b;
    for (std::size_t at = 1; at + 2 <= frame.size(); at += 2) {
        b.push_back(std::stol(frame.substr(at, 2), nullptr, 16));
    }
    const bool primary16 = model == "Zylo530" || model == "Zylo561";
    const long aux24 = b[3] * 65536 + b[4] * 256 + b[5];
    return {primary16 ? b[0] * 256 + b[1] : b[0] * 65536 + b[1] * 256 + b[2],
            model == "Zylo580" ? aux24 : b[0] * 256 + b[2],
            model == "Zylo580" ? aux24 : b[3] * 256 + b[4]};
}

double mean(const std::vector<long>& v) {
    return std::accumulate(v.begin(), v.end(), 0.0) / static_cast<double>(v.size());
}

double deviation(const std::vector<long>& v) {
    const double m = mean(v);
    double sum = 0;
    for (long x : v) sum += (x - m) * (x - m);
    return std::sqrt(sum / static_cast<double>(v.size()));
}

TEST(SigmaDeltaFirmware, ConfigurationIsReadInTheLayoutOfTheModelsGroup) {
    struct Case {
        std::string model, config;
        SdConverter primary, aux;
    };
    // clang-format off
    const Case cases[] = {
        // 58X: bipolar, range 7 on REFIN; auxiliary on the internal reference.
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x30}),
         {true, false, 2.56, 24}, {true, false, 1.25, 24}},
        // Unipolar, range 0 on the internal reference; unipolar auxiliary on REFIN.
        {"Zylo580", sdConfiguration({0x20, 0x0F, 0x60, 0x30}),
         {true, true, 0.01, 24}, {true, true, 2.5, 24}},
        {"Zylo581", sdConfiguration({0x07, 0x4F, 0x0F, 0x30}),
         {true, false, 2.56, 24}, {false, false, 1.25, 0}},
        {"Zylo560", sdConfiguration({0x67, 0x48, 0x30}),
         {true, false, 2.56, 24}, {true, true, 2.5, 16}},
        {"Zylo530", sdConfiguration({0x08, 0x00, 0x10}),
         {false, true, 0.01, 16}, {true, false, 1.25, 16}},
    };
    // clang-format on
    for (const Case& c : cases) {
        BoardEngine engine(sdOptions(c.model));
        engine.feed(c.config);
        const auto& kept = engine.configuration();
        EXPECT_EQ(std::string(kept.begin(), kept.end()), c.config);
        const SdSetup& got = dynamic_cast<const SigmaDeltaFirmware&>(*engine.firmware()).setup();
        for (const auto& [want, have] : {std::pair{c.primary, got.primary}, {c.aux, got.aux}}) {
            EXPECT_EQ(std::tuple(have.on, have.unipolar, have.bits),
                      std::tuple(want.on, want.unipolar, want.bits))
                << c.model << " " << int(c.config[1]);
            EXPECT_DOUBLE_EQ(have.range, want.range) << c.model << " " << int(c.config[1]);
        }
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
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x30, 0x45}), "", 57600,
         4096.0 / (3 * 0x45)},
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x38, 0x0D}), "", 57600, 4096.0 / 0x0D},
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x38, 0x0D}), "D3", 9600, link9600},
        // No chopping bit in the mode byte of the first four.
        {"Zylo560", sdConfiguration({0x67, 0x20, 0x28, 0x0D}), "", 57600, 4096.0 / (3 * 0x0D)},
        {"Zylo560", sdConfiguration({0x67, 0x20, 0x20, 0x0D}), "D3", 9600, link9600},
        {"Zylo560", sdConfiguration({0x67, 0x20, 0x20, 0x0D}), "D2", 57600, 4096.0 / (3 * 0x0D)},
    };
    // clang-format on
    for (const Case& c : cases) {
        BoardEngine engine(sdOptions(c.model));
        const auto frames = stream(engine, c.config, 2.0, c.before, c.baud);
        ASSERT_EQ(frames.size(), static_cast<std::size_t>(2.0 * c.hz)) << c.model << c.before;
        const double period = kSecond / c.hz;
        for (std::size_t k = 0; k < frames.size(); ++k) {
            const Answer& f = frames[k];
            ASSERT_EQ(f.bytes.size(), 13u);
            EXPECT_EQ(f.bytes[0], '\r');
            EXPECT_EQ(f.bytes.find_first_not_of("0123456789ABCDEF", 1), std::string::npos);
            EXPECT_NEAR(f.readyAt, (k + 1) * period, 1.0) << k;
            EXPECT_EQ(f.baud, c.baud);
        }
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
        double primaryCentre, auxCentre;  // < 0: converter off
    };
    // clang-format off
    const Case cases[] = {
        {"Zylo580", sdConfiguration({0x07, 0x4F, 0x0F, 0x30, 0x45}), 0x800000, 0x800000},
        {"Zylo580", sdConfiguration({0x27, 0x4F, 0x2F, 0x30, 0x45}), 0x400000, 0x400000},
        {"Zylo582", sdConfiguration({0x07, 0x4F, 0x0F, 0x30, 0x45}), 0x800000, -1},
        {"Zylo530", sdConfiguration({0x67, 0x20, 0x20, 0x45}), 0x8000, -1},
        {"Zylo561", sdConfiguration({0x6F, 0x20, 0x20, 0x45}), 0x4000, -1},
        {"Zylo540", sdConfiguration({0x67, 0x20, 0x10, 0x45}), -1, 0x8000},
        {"Zylo540", sdConfiguration({0x67, 0x28, 0x10, 0x45}), -1, 0x4000},
        // Both on: the primary keeps its bytes, the auxiliary result rides in bytes 4 and 5 only.
        {"Zylo560", sdConfiguration({0x67, 0x20, 0x30, 0x45}), 0x800000, 0x8000},
    };
    // clang-format on
    const auto texts = [](const std::vector<Answer>& frames) {
        std::vector<std::string> out;
        for (const Answer& f : frames) out.push_back(f.bytes);
        return out;
    };
    for (const Case& c : cases) {
        BoardOptions options = sdOptions(c.model);
        BoardEngine engine(options), same(options);
        options.seed = 2;
        BoardEngine reseeded(options);
        const auto frames = texts(stream(engine, c.config, 1.0));
        ASSERT_EQ(frames.size(), 19u);
        EXPECT_EQ(texts(stream(same, c.config, 1.0)), frames) << c.model;
        EXPECT_NE(texts(stream(reseeded, c.config, 1.0)), frames) << c.model;
        std::vector<long> primary, aux;
        std::size_t k = 0;
        for (const std::string& line : engine.takeLog()) {
            if (!line.starts_with("CODES ")) continue;
            const HostView view = hostView(c.model, frames.at(k++));
            std::istringstream fields(line.substr(6));
            std::string p, a;
            fields >> p >> a;
            ASSERT_EQ(p == "-", c.primaryCentre < 0) << c.model << " " << line;
            ASSERT_EQ(a == "-", c.auxCentre < 0) << c.model << " " << line;
            if (p != "-") {
                primary.push_back(std::stol(p, nullptr, 16));
                EXPECT_EQ(primary.back(), view.primary) << line;
            }
            if (a != "-") {
                aux.push_back(std::stol(a, nullptr, 16));
                EXPECT_EQ(aux.back(), view.auxCarried) << line;
                // The host reads it where the primary leaves bytes 1 and 3 free.
                EXPECT_TRUE(aux.back() == view.aux || (p != "-" && c.model != "Zylo580")) << line;
            }
        }
        EXPECT_EQ(k, frames.size());
        for (const auto& [centre, values] :
             {std::pair{c.primaryCentre, primary}, {c.auxCentre, aux}}) {
            if (centre < 0) continue;
            EXPECT_NEAR(mean(values), centre, centre / 128) << c.model << " " << int(c.config[1]);
        }
    }
}

TEST(SigmaDeltaFirmware, SmallerRangesShowMoreCodesOfNoise) {
    const auto spread = [](const std::string& model, int range) {
        BoardEngine engine(sdOptions(model));
        std::vector<long> codes;
        for (const Answer& f :
             stream(engine, sdConfiguration({0x60 | range, 0x20, 0x20, 0x0D}), 1.0)) {
            codes.push_back(hostView(model, f.bytes).primary);
        }
        return deviation(codes);
    };
    // 0.6 uV of noise: some 250 codes on the 20 mV range, about two on 2.56 V (24 bits).
    EXPECT_GT(spread("Zylo560", 0), 50 * spread("Zylo560", 7));
    EXPECT_GT(spread("Zylo530", 0), 1.5 * spread("Zylo530", 7));
}

TEST(SigmaDeltaFirmware, FaultsShapeTheStreamButKeepTheCodes) {
    const std::string config = sdConfiguration({0x07, 0x4F, 0x0F, 0x38, 0x45});
    BoardEngine plain(sdOptions("Zylo580"));
    BoardEngine engine(sdOptions(
        "Zylo580", {"frame-noise:2", "short-frame:3:7", "short-frame:4:0", "silent-after:5"}));
    const auto expected = stream(plain, config, 1.0);
    const auto got = stream(engine, config, 1.0);
    ASSERT_GT(expected.size(), 5u);
    ASSERT_EQ(got.size(), 5u);  // silent after five frames
    EXPECT_FALSE(engine.nextDue().has_value());
    EXPECT_EQ(got[0].bytes, expected[0].bytes);
    EXPECT_EQ(got[1].bytes.substr(3), expected[1].bytes);
    EXPECT_EQ(got[1].bytes.find('\r'), 3u);  // three noise bytes, none a carriage return
    EXPECT_EQ(got[1].pacedLength, 16u);
    EXPECT_EQ(got[2].bytes, expected[2].bytes.substr(0, 8));
    EXPECT_EQ(got[3].bytes, "\r");
    EXPECT_EQ(got[4].bytes, expected[4].bytes);
    // The log holds the codes of a fault-free board.
    auto log = plain.takeLog();
    log.resize(2 + 5);  // CONFIG, REQUEST and five CODES lines
    EXPECT_EQ(engine.takeLog(), log);
    // A new request counts its frames afresh.
    engine.feed("R", 2 * kSecond, 57600);
    EXPECT_EQ(engine.advance(3 * kSecond).size(), 5u);
}

}  // namespace
}  // namespace kelp::board
