#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelp::board {

// Faults the board can be told to show, one entry per fault. Loader steps are counted from
// the last reset (record K among the write requests of that download); SAR packets from the
// last configuration message (packet P of a run, counted from 1).
enum class FaultKind {
    NoResetAnswer,  // the reset gets no identification
    Nak,            // 07 instead of 06 on a loader step
    Silent,         // no answer at all on a loader step
    ExtraByte,      // one byte too many after the answer of a loader step
    Noise,          // a few random bytes before the answer of a loader step
    Garble,         // packet P, record J: its carriage return replaced
    LongPacket,     // packet P carries 501 characters
    SilentAfter,    // requests after the first K packets of a run get no answer
    SarNoise,       // a few random bytes before packet P
};

enum class LoaderStep { Reset, Erase, Record, Run };

struct Fault {
    FaultKind kind = FaultKind::NoResetAnswer;
    LoaderStep step = LoaderStep::Reset;
    int number = 0;  // record K, packet P, or the packet count K of SilentAfter
    int record = 0;  // record J (0..99) within the packet, Garble only

    bool operator==(const Fault&) const = default;
};

enum class StartMode { Firmware, Loader };

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
