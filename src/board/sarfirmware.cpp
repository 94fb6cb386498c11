#include "board/sarfirmware.h"

namespace kelp::board {
namespace {

constexpr char kGarbledMark = '#';
constexpr char kLongPacketTail = '\n';

}  // namespace

SarFirmware::SarFirmware(const BoardOptions& options)
    : options_(options),
      signal_(options.seed),
      // A stream of its own, so that noise faults leave the codes as they were.
      noise_(options.seed ^ 0x6E6F697365ULL) {}

Firmware::Unit SarFirmware::classify(std::string_view pending, std::size_t& length) const {
    switch (pending.front()) {
        case 'C':
            length = kConfigurationSize;
            break;
        case 'R':
        case 'S':
            length = 1;
            break;
        default:
            return Unit::Junk;
    }
    return pending.size() >= length ? Unit::Complete : Unit::Incomplete;
}

Handled SarFirmware::handle(std::string_view command, Nanos now, FirmwareOutput& out) {
    if (command[0] == 'C') {
        configuration_.assign(command.begin(), command.end());
        packets_ = 0;
        return {RequestKind::Config, hexBytes("CONFIG", command)};
    }
    if (command[0] == 'S') return {RequestKind::Stop, "STOP"};

    const int packet = ++packets_;
    for (const Fault& fault : options_.faults) {
        if (fault.kind == FaultKind::SilentAfter && packet > fault.number) {
            return {RequestKind::Request, "REQUEST"};
        }
    }
    const double level = options_.level ? *options_.level : channelLevel(configuration_);
    std::string text;
    std::string codes = "CODES";
    text.reserve(kPacketSize);
    for (std::size_t j = 0; j < kPacketRecords; ++j) {
        const int code = signal_.next(level, options_.sigma);
        text += '\r';
        appendHex(text, code, 4);
        codes += ' ';
        appendHex(codes, code, 3);
    }
    for (const Fault& fault : options_.faults) {
        if (fault.kind == FaultKind::Garble && fault.number == packet) {
            text[5 * fault.record] = kGarbledMark;
        }
    }
    Answer answer;
    if (hasNumberedFault(options_, FaultKind::SarNoise, packet)) answer.bytes = noiseBytes(noise_);
    answer.bytes += text;
    answer.pacedLength = answer.bytes.size();
    if (hasNumberedFault(options_, FaultKind::LongPacket, packet)) answer.bytes += kLongPacketTail;
    answer.requestLength = 1;
    answer.packet = true;
    answer.readyAt = now;
    answer.baud = pacingBaud();
    out.answers.push_back(std::move(answer));
    out.log.push_back(std::move(codes));
    return {RequestKind::Request, "REQUEST"};
}

}  // namespace kelp::board
