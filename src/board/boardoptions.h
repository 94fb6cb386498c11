#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelp::board {

// Faults the board can be told to show, one entry per fault. Loader steps are counted from
// the last reset (record K among the write requests of that download); SAR packets from the
// last configuration message (packet P of a run, counted from 1); sigma-delta frames from the
// request that started the stream (frame K, counted from 1).
enum class FaultKind {
    NoResetAnswer,  // the reset gets no identification
    Nak,            // 07 instead of 06 on a loader step
    Silent,         // no answer at all on a loader step
    ExtraByte,      // one byte too many after the answer of a loader step
    Noise,          // a few random bytes before the answer of a loader step
    Garble,         // packet P, record J: its carriage return replaced
    LongPacket,     // packet P carries 501 characters
    SilentAfter,    // after the first K packets (requests unanswered) or K frames of a run
    SarNoise,       // a few random bytes before packet P
    FrameNoise,     // a few random bytes before frame K
    ShortFrame,     // frame K carries only its first D hexadecimal digits
};

enum class LoaderStep { Reset, Erase, Record, Run };

struct Fault {
    FaultKind kind = FaultKind::NoResetAnswer;
    LoaderStep step = LoaderStep::Reset;
    int number = 0;  // record K, packet P, frame K, or the count K of SilentAfter
    int record = 0;  // record J (0..99) within the packet, Garble only
    int digits = 0;  // digits D (0..11) that frame K keeps, ShortFrame only

    bool operator==(const Fault&) const = default;
};

enum class StartMode { Firmware, Loader };

// Limits of the sigma-delta input options.
inline constexpr double kSdVrefMin = 0.1;
inline constexpr double kSdVrefMax = 10;
inline constexpr double kSdMicrovoltsMax = 1e6;

struct BoardOptions {
    std::string model = "Zylo570";
    char loaderMajor = '2';
    char loaderMinor = '1';
    bool pacing = true;
    std::string logPath;        // empty: no log
    std::string memoryOutPath;  // empty: no memory image
    uint64_t seed = 1;
    std::optional<int> level;  // SAR code level instead of the channel's own
    double sigma = 1.2;        // SAR noise in codes
    // Sigma-delta input: the voltage on the external reference pins, an input of `sdLevel`
    // times the configured range (by default 0 when bipolar, 1/4 when unipolar) plus the
    // offset, and Gaussian noise, both in microvolts.
    double sdVref = 2.5;
    double sdOffsetMicrovolts = 50;
    double sdNoiseMicrovolts = 0.6;
    std::optional<double> sdLevel;
    std::optional<double> sdRate;  // frames a second instead of the configured update rate
    std::vector<Fault> faults;
    StartMode start = StartMode::Firmware;
};

// "Zylo5" followed by two digits.
bool isModelName(std::string_view name);

// Reads the textual form of a fault ("nak:record:3", "garble:2:17", ...). On failure returns
// nullopt and says why in `error`.
std::optional<Fault> parseFault(std::string_view text, std::string& error);

// The textual form parseFault reads.
std::string faultText(const Fault& fault);

// Empty when the options can be served, otherwise what is wrong with them.
std::string checkOptions(const BoardOptions& options);

}  // namespace kelp::board
