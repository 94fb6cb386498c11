#pragma once

#include "board/firmware.h"

namespace kelp::board {

inline constexpr std::size_t kConfigurationSize = 26;
inline constexpr std::size_t kPacketRecords = 100;
inline constexpr std::size_t kPacketSize = 500;

// The SAR measurement firmware: a 26-byte configuration, then one packet of 100 codes per
// request, at 57600 baud.
class SarFirmware : public Firmware {
public:
    explicit SarFirmware(const BoardOptions& options);

    Unit classify(std::string_view pending, std::size_t& length) const override;
    Handled handle(std::string_view command, Nanos now, FirmwareOutput& out) override;
    long listeningBaud() const override { return kFirmwareBaud; }
    long pacingBaud() const override { return kFirmwareBaud; }
    const std::vector<uint8_t>& configuration() const override { return configuration_; }

private:
    BoardOptions options_;
    std::vector<uint8_t> configuration_;
    SarSignal signal_;
    SplitMix64 noise_;
    int packets_ = 0;  // packet requests since the last configuration
};

}  // namespace kelp::board
