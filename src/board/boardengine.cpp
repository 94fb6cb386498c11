#include "board/boardengine.h"

#include <algorithm>
#include <utility>

namespace kelp::board {
namespace {

constexpr char kResetBytes[] = {0x21, 0x5A, 0x00, static_cast<char>(0xA6)};
constexpr std::string_view kReset(kResetBytes, sizeof kResetBytes);
constexpr char kAck = 0x06;
constexpr char kNak = 0x07;
constexpr uint8_t kFrameStart = 0x07;
constexpr uint8_t kFrameSecond = 0x0E;
constexpr char kGarbledMark = '#';
constexpr char kExtraByte = 0x00;
constexpr char kLongPacketTail = '\n';
constexpr std::size_t kNoiseLength = 3;

uint8_t byteAt(std::string_view text, std::size_t i) { return static_cast<uint8_t>(text[i]); }

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

}  // namespace

BoardEngine::BoardEngine(const BoardOptions& options)
    : options_(options),
      model_(options.model),
      nextModel_(options.model),
      mode_(options.start == StartMode::Loader ? BoardMode::Loader : BoardMode::Firmware),
      signal_(options.seed),
      // A stream of its own, so that noise faults leave the codes as they were.
      noise_(options.seed ^ 0x6E6F697365ULL) {
    memory_.fill(0xFF);
}

std::string BoardEngine::identification(std::string_view model, char major, char minor) {
    std::string text(model.substr(0, 7));
    text.resize(7, ' ');
    text += " ver";
    text += major;
    text += minor;
    text += " Virtual";
    text.resize(kIdentificationSize - 2, ' ');
    return text + "\r\n";
}

std::string BoardEngine::memoryImage() const { return std::string(memory_.begin(), memory_.end()); }

std::vector<std::string> BoardEngine::takeLog() { return std::exchange(log_, {}); }

bool BoardEngine::sarFirmware() const {
    static constexpr std::string_view kSarDigits[] = {"10", "20", "50", "51", "70", "71", "72"};
    const std::string_view digits = std::string_view(model_).substr(5);
    return std::find(std::begin(kSarDigits), std::end(kSarDigits), digits) != std::end(kSarDigits);
}

std::vector<Answer> BoardEngine::feed(std::string_view received) {
    std::vector<Answer> answers;
    for (char c : received) {
        pending_ += c;
        const bool firmwareIgnores = mode_ == BoardMode::Firmware && !sarFirmware();
        if (pending_.ends_with(kReset)) {
            // The user pressed reset: whatever was half received is lost.
            if (!firmwareIgnores) junk_ += pending_.substr(0, pending_.size() - kReset.size());
            pending_.clear();
            dropJunk();
            reset(answers);
            continue;
        }
        if (firmwareIgnores) {
            if (pending_.size() >= kReset.size()) pending_.erase(0, 1);
            continue;
        }
        while (!pending_.empty()) {
            std::size_t length = 0;
            const Unit unit = classify(length);
            if (unit == Unit::Incomplete) break;
            if (unit == Unit::Junk) {
                junk_ += pending_.front();
                pending_.erase(0, 1);
                continue;
            }
            dropJunk();
            handle(length, answers);
        }
    }
    dropJunk();
    return answers;
}

BoardEngine::Unit BoardEngine::classify(std::size_t& length) const {
    const uint8_t first = byteAt(pending_, 0);
    if (first == byteAt(kReset, 0)) {
        return kReset.starts_with(pending_) ? Unit::Incomplete : Unit::Junk;
    }
    if (mode_ == BoardMode::Loader) {
        if (first != kFrameStart) return Unit::Junk;
        if (pending_.size() < 2) return Unit::Incomplete;
        if (byteAt(pending_, 1) != kFrameSecond) return Unit::Junk;
        if (pending_.size() < 3) return Unit::Incomplete;
        length = byteAt(pending_, 2) + 4u;
    } else if (first == 'C') {
        length = kConfigurationSize;
    } else if (first == 'R' || first == 'S') {
        length = 1;
    } else {
        return Unit::Junk;
    }
    return pending_.size() >= length ? Unit::Complete : Unit::Incomplete;
}

void BoardEngine::handle(std::size_t length, std::vector<Answer>& answers) {
    const std::string unit = pending_.substr(0, length);
    pending_.erase(0, length);
    ++requests_;
    if (mode_ == BoardMode::Loader) {
        loaderFrame(unit, answers);
    } else {
        sarCommand(unit, answers);
    }
}

void BoardEngine::dropJunk() {
    if (junk_.empty()) return;
    log(hexBytes("BAD", junk_));
    junk_.clear();
}

void BoardEngine::reset(std::vector<Answer>& answers) {
    ++requests_;
    ++resets_;
    answers.clear();  // answers to earlier requests never leave a chip that was reset
    model_ = nextModel_;
    mode_ = BoardMode::Loader;
    writes_ = 0;
    packets_ = 0;
    configuration_.clear();
    log("RESET");
    loaderAnswer(LoaderStep::Reset, 0,
                 identification(model_, options_.loaderMajor, options_.loaderMinor), kReset.size(),
                 answers);
}

void BoardEngine::rejectFrame(std::string_view frame, std::vector<Answer>& answers) {
    log(hexBytes("BAD", frame));
    answers.push_back({std::string(1, kNak), 1, frame.size(), false});
}

void BoardEngine::loaderFrame(std::string_view frame, std::vector<Answer>& answers) {
    const unsigned n = byteAt(frame, 2);
    unsigned sum = 0;
    for (std::size_t i = 2; i < frame.size(); ++i) sum += byteAt(frame, i);
    if (n == 0 || sum % 256 != 0) return rejectFrame(frame, answers);

    const std::string_view payload = frame.substr(4, n - 1);
    const auto refused = [this](LoaderStep step, int number) {
        return hasFault(FaultKind::Nak, step, number) || hasFault(FaultKind::Silent, step, number);
    };
    switch (frame[3]) {
        case 'C':
            if (n != 1) return rejectFrame(frame, answers);
            log("ERASE");
            if (!refused(LoaderStep::Erase, 0)) memory_.fill(0xFF);
            return loaderAnswer(LoaderStep::Erase, 0, std::string(1, kAck), frame.size(), answers);
        case 'W': {
            if (n < 4) return rejectFrame(frame, answers);
            const int record = ++writes_;
            const std::size_t address =
                (byteAt(payload, 0) << 16) | (byteAt(payload, 1) << 8) | byteAt(payload, 2);
            const std::string_view data = payload.substr(3);
            if (address + data.size() > kMemorySize) return rejectFrame(frame, answers);
            std::string line = "WRITE ";
            appendHex(line, static_cast<unsigned>(address), 4);
            log(hexBytes(line, data));
            if (!refused(LoaderStep::Record, record)) {
                std::copy(data.begin(), data.end(), memory_.begin() + address);
            }
            return loaderAnswer(LoaderStep::Record, record, std::string(1, kAck), frame.size(),
                                answers);
        }
        case 'U':
            if (n != 4) return rejectFrame(frame, answers);
            ++runs_;
            log("RUN");
            loaderAnswer(LoaderStep::Run, 0, std::string(1, kAck), frame.size(), answers);
            if (!refused(LoaderStep::Run, 0)) {
                mode_ = BoardMode::Firmware;
                packets_ = 0;
                configuration_.clear();
            }
            return;
        default:
            return rejectFrame(frame, answers);
    }
}

void BoardEngine::loaderAnswer(LoaderStep step, int number, std::string bytes,
                               std::size_t requestLength, std::vector<Answer>& answers) {
    if (hasFault(FaultKind::Silent, step, number)) return;
    if (step == LoaderStep::Reset && hasFault(FaultKind::NoResetAnswer, step, number)) return;
    if (hasFault(FaultKind::Nak, step, number)) bytes = std::string(1, kNak);
    Answer answer;
    if (hasFault(FaultKind::Noise, step, number)) answer.bytes = noiseBytes();
    answer.bytes += bytes;
    answer.pacedLength = answer.bytes.size();
    if (hasFault(FaultKind::ExtraByte, step, number)) answer.bytes += kExtraByte;
    answer.requestLength = requestLength;
    answers.push_back(std::move(answer));
}

void BoardEngine::sarCommand(std::string_view unit, std::vector<Answer>& answers) {
    if (unit[0] == 'C') {
        configuration_.assign(unit.begin(), unit.end());
        packets_ = 0;
        log(hexBytes("CONFIG", unit));
        return;
    }
    if (unit[0] == 'S') {
        log("STOP");
        return;
    }
    log("REQUEST");
    const int packet = ++packets_;
    for (const Fault& fault : options_.faults) {
        if (fault.kind == FaultKind::SilentAfter && packet > fault.number) return;
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
    if (hasPacketFault(FaultKind::SarNoise, packet)) answer.bytes = noiseBytes();
    answer.bytes += text;
    answer.pacedLength = answer.bytes.size();
    if (hasPacketFault(FaultKind::LongPacket, packet)) answer.bytes += kLongPacketTail;
    answer.requestLength = 1;
    answer.packet = true;
    answers.push_back(std::move(answer));
    log(std::move(codes));
}

bool BoardEngine::hasFault(FaultKind kind, LoaderStep step, int number) const {
    return std::any_of(options_.faults.begin(), options_.faults.end(), [&](const Fault& f) {
        return f.kind == kind && f.step == step &&
               (step != LoaderStep::Record || f.number == number);
    });
}

bool BoardEngine::hasPacketFault(FaultKind kind, int packet) const {
    return std::any_of(options_.faults.begin(), options_.faults.end(),
                       [&](const Fault& f) { return f.kind == kind && f.number == packet; });
}

std::string BoardEngine::noiseBytes() {
    // Never an acknowledge or a carriage return, which a host could take for a real answer.
    std::string bytes;
    while (bytes.size() < kNoiseLength) {
        const char c = static_cast<char>(noise_.next() & 0xFF);
        if (c != kAck && c != '\r') bytes += c;
    }
    return bytes;
}

}  // namespace kelp::board
