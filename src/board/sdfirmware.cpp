#include "board/sdfirmware.h"

#include <algorithm>
#include <cmath>

namespace kelp::board {
namespace {

constexpr std::size_t kFrameChars = 1 + 2 * kSdFrameBytes;
constexpr double kSecondNs = 1e9;

std::string codeText(std::optional<uint32_t> code, int bits) {
    if (!code) return "-";
    std::string text;
    appendHex(text, *code, bits / 4);
    return text;
}

}  // namespace

SigmaDeltaFirmware::SigmaDeltaFirmware(const SdModel& model, const BoardOptions& options)
    : model_(model),
      options_(options),
      input_{options.sdVref, options.sdOffsetMicrovolts * 1e-6, options.sdNoiseMicrovolts * 1e-6,
             options.sdLevel},
      setup_(readSdConfiguration(model, {}, options.sdVref)),
      // Streams of their own, so that one converter, or a noise fault, leaves the other's codes.
      primary_(options.seed),
      aux_(options.seed ^ 0x617578ULL),
      noise_(options.seed ^ 0x6E6F697365ULL) {}

Firmware::Unit SigmaDeltaFirmware::classify(std::string_view pending, std::size_t& length) const {
    switch (pending.front()) {
        case 'C':
            length = kSdConfigurationSize;
            break;
        case 'R':
        case 'S':
            length = 1;
            break;
        case 'D':
            if (pending.size() < 2) return Unit::Incomplete;
            if (pending[1] < '0' || pending[1] > '3') return Unit::Junk;
            length = 2;
            break;
        default:
            return Unit::Junk;
    }
    return pending.size() >= length ? Unit::Complete : Unit::Incomplete;
}

Handled SigmaDeltaFirmware::handle(std::string_view command, Nanos now, FirmwareOutput&) {
    switch (command[0]) {
        case 'C':
            configuration_.assign(command.begin(), command.end());
            setup_ = readSdConfiguration(model_, configuration_, options_.sdVref);
            // The converters restart with the new set-up; the host asks again for frames.
            streaming_ = false;
            return {RequestKind::Config, hexBytes("CONFIG", command)};
        case 'R':
            streaming_ = true;
            frames_ = 0;
            restartSchedule(now);
            return {RequestKind::Request, "REQUEST"};
        case 'S':
            streaming_ = false;
            return {RequestKind::Stop, "STOP"};
        default:
            divider_ = command[1] - '0';
            // The port runs at the new speed from here on, and so does the stream.
            if (streaming_) restartSchedule(now);
            return {RequestKind::Divider, std::string("DIVIDER ") + command[1]};
    }
}

double SigmaDeltaFirmware::framePeriodNs() const {
    // One frame per conversion, but never faster than the link carries them.
    const double rate = options_.sdRate.value_or(setup_.rateHz);
    return std::max(kSecondNs / rate,
                    kFrameChars * 10 * kSecondNs / static_cast<double>(listeningBaud()));
}

void SigmaDeltaFirmware::restartSchedule(Nanos from) {
    scheduleStart_ = from;
    scheduled_ = 0;
    periodNs_ = framePeriodNs();
}

Nanos SigmaDeltaFirmware::frameTime(int64_t k) const {
    return scheduleStart_ + std::llround(static_cast<double>(k) * periodNs_);
}

std::optional<Nanos> SigmaDeltaFirmware::nextDue() const {
    if (!streaming_) return std::nullopt;
    return frameTime(scheduled_ + 1);
}

void SigmaDeltaFirmware::advance(Nanos now, FirmwareOutput& out) {
    while (streaming_ && frameTime(scheduled_ + 1) <= now) {
        ++scheduled_;
        // A server thread woken late would otherwise send the frames it missed back to back,
        // which a chip never does; only the latest of those conversions goes out.
        if (frameTime(scheduled_ + 1) <= now) continue;
        sendFrame(frameTime(scheduled_), out);
    }
}

void SigmaDeltaFirmware::sendFrame(Nanos at, FirmwareOutput& out) {
    const int number = ++frames_;
    for (const Fault& fault : options_.faults) {
        if (fault.kind == FaultKind::SilentAfter && number > fault.number) {
            streaming_ = false;
            return;
        }
    }
    std::optional<uint32_t> primary, aux;
    if (setup_.primary.on) primary = primary_.next(setup_.primary, input_);
    if (setup_.aux.on) aux = aux_.next(setup_.aux, input_);
    const auto b = sdFrameBytes(model_, primary, aux);

    std::string text = "\r";
    for (uint8_t byte : b) appendHex(text, byte, 2);
    for (const Fault& fault : options_.faults) {
        if (fault.kind == FaultKind::ShortFrame && fault.number == number) {
            text.resize(1 + fault.digits);
        }
    }
    Answer answer;
    if (hasNumberedFault(options_, FaultKind::FrameNoise, number))
        answer.bytes = noiseBytes(noise_);
    answer.bytes += text;
    answer.pacedLength = answer.bytes.size();
    answer.frame = true;
    answer.readyAt = at;
    answer.baud = pacingBaud();
    out.answers.push_back(std::move(answer));

    out.log.push_back("CODES " + codeText(primary, model_.primaryBits) + " " +
                      codeText(aux, model_.auxBits));
}

}  // namespace kelp::board
