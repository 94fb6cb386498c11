#pragma once

#include "board/firmware.h"
#include "board/sdsignal.h"

namespace kelp::board {

// The sigma-delta measurement firmware: a 27-byte configuration in its group's layout, "R"
// starts a stream of 13-character frames, one per conversion, until "S"; "D" and a digit sets
// the core-clock divider, and the serial port's speed with it.
class SigmaDeltaFirmware : public Firmware {
public:
    SigmaDeltaFirmware(const SdModel& model, const BoardOptions& options);

    Unit classify(std::string_view pending, std::size_t& length) const override;
    Handled handle(std::string_view command, Nanos now, FirmwareOutput& out) override;
    void advance(Nanos now, FirmwareOutput& out) override;
    std::optional<Nanos> nextDue() const override;
    long listeningBaud() const override { return divider_ == 3 ? kLoaderBaud : kFirmwareBaud; }
    long pacingBaud() const override { return listeningBaud(); }
    const std::vector<uint8_t>& configuration() const override { return configuration_; }

    // The set-up the last configuration gave, and the time between two frames that follows
    // from it and from the link.
    const SdSetup& setup() const { return setup_; }
    double framePeriodNs() const;

private:
    void restartSchedule(Nanos from);
    Nanos frameTime(int64_t k) const;
    void sendFrame(Nanos at, FirmwareOutput& out);

    SdModel model_;
    BoardOptions options_;
    SdInput input_;
    std::vector<uint8_t> configuration_;
    SdSetup setup_;
    int divider_ = 0;
    bool streaming_ = false;
    Nanos scheduleStart_ = 0;
    double periodNs_ = 0;
    int64_t scheduled_ = 0;  // frames since scheduleStart_
    int frames_ = 0;         // frames since the request
    SdSignal primary_;
    SdSignal aux_;
    SplitMix64 noise_;
};

}  // namespace kelp::board
