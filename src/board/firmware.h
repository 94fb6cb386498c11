#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/boardoptions.h"
#include "board/sarsignal.h"

namespace kelp::board {

// The board's clock in nanoseconds. The server feeds its monotonic clock; tests feed their own.
using Nanos = int64_t;

inline constexpr long kLoaderBaud = 9600;
inline constexpr long kFirmwareBaud = 57600;

// One answer of the board, ready to be paced onto the line.
struct Answer {
    std::string bytes;
    // Character times the answer occupies. Bytes past this count leave together with the last
    // paced one, so that a host cannot catch the answer without a fault's extra byte.
    std::size_t pacedLength = 0;
    std::size_t requestLength = 0;  // bytes of the request; they are on the wire first
    bool packet = false;            // a SAR data packet
    bool frame = false;             // a sigma-delta frame
    Nanos readyAt = 0;              // when the request ended or the conversion was done
    long baud = 0;                  // speed the chip sends it at
};

// What the board took a group of received bytes for.
enum class RequestKind { Reset, Erase, Write, Run, Config, Request, Stop, Divider, Bad };

// "RESET", "ERASE", ... as in the log.
std::string_view requestKindName(RequestKind kind);

// A request as it arrived: what it was and the line speed the host had set at the time.
struct ReceivedRequest {
    RequestKind kind = RequestKind::Bad;
    long baud = 0;

    bool operator==(const ReceivedRequest&) const = default;
};

// Output of a firmware: answers to be paced, and log lines that follow the request's own.
struct FirmwareOutput {
    std::vector<Answer> answers;
    std::vector<std::string> log;
};

// A command the firmware understood: its kind and its log line (the engine adds the speed).
struct Handled {
    RequestKind kind = RequestKind::Bad;
    std::string line;
};

// A measurement firmware running on the chip after the loader's run command. Resets, bytes at
// the wrong speed and bytes that start no command are the engine's business; a firmware sees
// only whole commands, and the passing of time. No I/O.
class Firmware {
public:
    enum class Unit { Incomplete, Junk, Complete };

    virtual ~Firmware() = default;

    // Looks at the head of the bytes received so far: a whole command of `length` bytes, the
    // beginning of one, or a first byte that starts none.
    virtual Unit classify(std::string_view pending, std::size_t& length) const = 0;
    // Acts on one whole command that ended at `now`.
    virtual Handled handle(std::string_view command, Nanos now, FirmwareOutput& out) = 0;
    // Output that falls due by `now` without being asked for (a stream of frames).
    virtual void advance(Nanos /*now*/, FirmwareOutput& /*out*/) {}
    // When advance() next has something to give.
    virtual std::optional<Nanos> nextDue() const { return std::nullopt; }

    // The speed the chip's serial port runs at: what it hears, and what it sends with.
    virtual long listeningBaud() const = 0;
    virtual long pacingBaud() const = 0;

    virtual const std::vector<uint8_t>& configuration() const = 0;
};

enum class FirmwareFamily { Sar, SigmaDelta };

// The firmware family of a catalogue model; nothing for a name no firmware knows.
std::optional<FirmwareFamily> firmwareFamily(std::string_view model);

// The firmware that the loader starts on `model`; null for a model no firmware knows.
std::unique_ptr<Firmware> makeFirmware(std::string_view model, const BoardOptions& options);

// Helpers shared by the loader and the firmwares.
void appendHex(std::string& out, unsigned value, int digits);
std::string hexBytes(std::string_view prefix, std::string_view bytes);
// A few random bytes, never an acknowledge or a carriage return, which a host could take for
// a real answer.
std::string noiseBytes(SplitMix64& random);
bool hasNumberedFault(const BoardOptions& options, FaultKind kind, int number);

}  // namespace kelp::board
