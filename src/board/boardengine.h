#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "board/boardoptions.h"
#include "board/sarsignal.h"

namespace kelp::board {

inline constexpr std::size_t kMemorySize = 8192;
inline constexpr std::size_t kIdentificationSize = 25;
inline constexpr std::size_t kConfigurationSize = 26;
inline constexpr std::size_t kPacketRecords = 100;
inline constexpr std::size_t kPacketSize = 500;

// One answer of the board, ready to be paced onto the line.
struct Answer {
    std::string bytes;
    // Character times the answer occupies. Bytes past this count leave together with the last
    // paced one, so that a host cannot catch the answer without a fault's extra byte.
    std::size_t pacedLength = 0;
    std::size_t requestLength = 0;  // bytes of the request; they are on the wire first
    bool packet = false;            // a SAR data packet
};

enum class BoardMode { Loader, Firmware };

// The chip's side of the serial exchanges, without any I/O: the loader, and the SAR firmware
// (the sigma-delta firmware only swallows bytes). Bytes go in, answers and log lines come out.
class BoardEngine {
public:
    explicit BoardEngine(const BoardOptions& options);

    // Handles the bytes in arrival order; returns the answers they call for, in order.
    std::vector<Answer> feed(std::string_view received);

    // Log lines of the events seen since the last call.
    std::vector<std::string> takeLog();

    // Becomes the model at the next reset.
    void setModel(std::string model) { nextModel_ = std::move(model); }

    BoardMode mode() const { return mode_; }
    const std::string& model() const { return model_; }
    const std::array<uint8_t, kMemorySize>& memory() const { return memory_; }
    std::string memoryImage() const;
    const std::vector<uint8_t>& configuration() const { return configuration_; }
    // Requests received (resets, frames good or bad, firmware commands).
    uint64_t requestCount() const { return requests_; }
    // Well-formed run frames seen; each one asks for a fresh memory image.
    uint64_t runCount() const { return runs_; }
    // Resets seen. A reset silences the chip at once: output still queued must be dropped.
    uint64_t resetCount() const { return resets_; }

    // The 25-byte identification text of a model and loader version.
    static std::string identification(std::string_view model, char major, char minor);

private:
    enum class Unit { Incomplete, Junk, Complete };
    Unit classify(std::size_t& length) const;
    void handle(std::size_t length, std::vector<Answer>& answers);
    void reset(std::vector<Answer>& answers);
    void loaderFrame(std::string_view frame, std::vector<Answer>& answers);
    void sarCommand(std::string_view unit, std::vector<Answer>& answers);
    void dropJunk();
    void rejectFrame(std::string_view frame, std::vector<Answer>& answers);
    void loaderAnswer(LoaderStep step, int number, std::string bytes, std::size_t requestLength,
                      std::vector<Answer>& answers);
    bool hasFault(FaultKind kind, LoaderStep step, int number) const;
    bool hasPacketFault(FaultKind kind, int packet) const;
    std::string noiseBytes();
    bool sarFirmware() const;
    void log(std::string line) { log_.push_back(std::move(line)); }

    BoardOptions options_;
    std::string model_;
    std::string nextModel_;
    BoardMode mode_;
    std::array<uint8_t, kMemorySize> memory_;
    std::vector<uint8_t> configuration_;
    std::string pending_;  // bytes of the unit being received
    std::string junk_;     // bytes that start no unit, logged together
    std::vector<std::string> log_;
    SarSignal signal_;
    SplitMix64 noise_;
    uint64_t requests_ = 0;
    uint64_t runs_ = 0;
    uint64_t resets_ = 0;
    int writes_ = 0;   // write requests since the last reset
    int packets_ = 0;  // packet requests since the last configuration or reset
};

}  // namespace kelp::board
