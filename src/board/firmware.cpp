#include "board/firmware.h"

#include <algorithm>

#include "board/sarfirmware.h"
#include "board/sdfirmware.h"

namespace kelp::board {

std::string_view requestKindName(RequestKind kind) {
    switch (kind) {
        case RequestKind::Reset:
            return "RESET";
        case RequestKind::Erase:
            return "ERASE";
        case RequestKind::Write:
            return "WRITE";
        case RequestKind::Run:
            return "RUN";
        case RequestKind::Config:
            return "CONFIG";
        case RequestKind::Request:
            return "REQUEST";
        case RequestKind::Stop:
            return "STOP";
        case RequestKind::Divider:
            return "DIVIDER";
        case RequestKind::Bad:
            return "BAD";
    }
    return {};
}

std::optional<FirmwareFamily> firmwareFamily(std::string_view model) {
    static constexpr std::string_view kSar[] = {"Zylo510", "Zylo520", "Zylo550", "Zylo551",
                                                "Zylo570", "Zylo571", "Zylo572"};
    if (std::find(std::begin(kSar), std::end(kSar), model) != std::end(kSar)) {
        return FirmwareFamily::Sar;
    }
    if (sigmaDeltaModel(model)) return FirmwareFamily::SigmaDelta;
    return std::nullopt;
}

std::unique_ptr<Firmware> makeFirmware(std::string_view model, const BoardOptions& options) {
    if (const auto sd = sigmaDeltaModel(model)) {
        return std::make_unique<SigmaDeltaFirmware>(*sd, options);
    }
    if (firmwareFamily(model) == FirmwareFamily::Sar) return std::make_unique<SarFirmware>(options);
    return nullptr;
}

void appendHex(std::string& out, unsigned value, int digits) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        out += kDigits[(value >> shift) & 15];
}

std::string hexBytes(std::string_view prefix, std::string_view bytes) {
    std::string line(prefix);
    for (char c : bytes) {
        line += ' ';
        appendHex(line, static_cast<uint8_t>(c), 2);
    }
    return line;
}

std::string noiseBytes(SplitMix64& random) {
    constexpr std::size_t kLength = 3;
    std::string bytes;
    while (bytes.size() < kLength) {
        const char c = static_cast<char>(random.next() & 0xFF);
        if (c != 0x06 && c != '\r') bytes += c;
    }
    return bytes;
}

bool hasNumberedFault(const BoardOptions& options, FaultKind kind, int number) {
    return std::any_of(options.faults.begin(), options.faults.end(),
                       [&](const Fault& f) { return f.kind == kind && f.number == number; });
}

}  // namespace kelp::board
