#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/boardoptions.h"
#include "board/firmware.h"
#include "board/sarfirmware.h"
#include "board/sarsignal.h"

namespace kelp::board {

inline constexpr std::size_t kMemorySize = 8192;
inline constexpr std::size_t kIdentificationSize = 25;

enum class BoardMode { Loader, Firmware };

// The chip's side of the serial exchanges, without any I/O: the loader, and after its run
// command the measurement firmware of the model's family. Bytes go in with the time they came
// and the line speed the host had set; answers, log lines and the requests seen come out.
// A byte that comes at another speed than the one the chip listens at is garbage to it.
class BoardEngine {
public:
    explicit BoardEngine(const BoardOptions& options);
    ~BoardEngine();

    // Handles bytes that arrived at `now` while the host's line ran at `baud` (0: the speed the
    // board listens at). Returns what falls due by `now` (frames of a stream), then the answers
    // the bytes call for, in order.
    std::vector<Answer> feed(std::string_view received, Nanos now, long baud);
    // The same at the speed the board listens at, at the latest time seen.
    std::vector<Answer> feed(std::string_view received);
    // Output that falls due by `now` without a request, and when the next will.
    std::vector<Answer> advance(Nanos now);
    std::optional<Nanos> nextDue() const;

    // Log lines of the events seen since the last call. Lines of requests end in " @BAUD".
    std::vector<std::string> takeLog();
    // Requests seen since the last call, garbage (BAD) included, with the speed they came at.
    std::vector<ReceivedRequest> takeRequests();

    // Becomes the model at the next reset.
    void setModel(std::string model) { nextModel_ = std::move(model); }

    BoardMode mode() const { return mode_; }
    const std::string& model() const { return model_; }
    // The speed the chip's serial port runs at now.
    long listeningBaud() const;
    // The firmware running, if any.
    const Firmware* firmware() const {
        return mode_ == BoardMode::Firmware ? firmware_.get() : nullptr;
    }
    const std::array<uint8_t, kMemorySize>& memory() const { return memory_; }
    std::string memoryImage() const;
    // The firmware's last configuration message.
    const std::vector<uint8_t>& configuration() const;
    // Requests received (resets, frames good or bad, firmware commands).
    uint64_t requestCount() const { return requests_; }
    // Well-formed run frames seen; each one asks for a fresh memory image.
    uint64_t runCount() const { return runs_; }
    // Resets seen. A reset silences the chip at once: output still queued must be dropped.
    uint64_t resetCount() const { return resets_; }

    // The 25-byte identification text of a model and loader version.
    static std::string identification(std::string_view model, char major, char minor);

private:
    using Unit = Firmware::Unit;
    Unit classify(std::size_t& length) const;
    void handle(std::size_t length, std::vector<Answer>& answers);
    void offSpeedByte(char c, long baud, std::vector<Answer>& answers);
    void reset(std::vector<Answer>& answers);
    void loaderFrame(std::string_view frame, std::vector<Answer>& answers);
    void addJunk(std::string_view bytes, long baud);
    void dropJunk();
    void rejectFrame(std::string_view frame, std::vector<Answer>& answers);
    void loaderAnswer(LoaderStep step, int number, std::string bytes, std::size_t requestLength,
                      std::vector<Answer>& answers);
    bool hasFault(FaultKind kind, LoaderStep step, int number) const;
    void logRequest(RequestKind kind, std::string line);

    BoardOptions options_;
    std::string model_;
    std::string nextModel_;
    BoardMode mode_;
    std::unique_ptr<Firmware> firmware_;
    std::array<uint8_t, kMemorySize> memory_;
    std::string pending_;   // bytes of the unit being received, at the speed listened at
    std::string offSpeed_;  // bytes at another speed that may still turn out to be a reset
    long offSpeedBaud_ = 0;
    std::string junk_;  // bytes that start no unit, logged together
    long junkBaud_ = 0;
    long unitBaud_ = 0;  // speed of the unit being handled
    Nanos now_ = 0;
    std::vector<std::string> log_;
    std::vector<ReceivedRequest> received_;
    SplitMix64 noise_;
    uint64_t requests_ = 0;
    uint64_t runs_ = 0;
    uint64_t resets_ = 0;
    int writes_ = 0;  // write requests since the last reset
};

}  // namespace kelp::board
