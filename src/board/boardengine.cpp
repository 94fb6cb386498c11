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
constexpr char kExtraByte = 0x00;

uint8_t byteAt(std::string_view text, std::size_t i) { return static_cast<uint8_t>(text[i]); }

// Length of the longest end of `bytes` that a reset sequence could still grow from.
std::size_t resetPrefixAtEnd(std::string_view bytes) {
    for (std::size_t k = std::min(bytes.size(), kReset.size() - 1); k > 0; --k) {
        if (bytes.ends_with(kReset.substr(0, k))) return k;
    }
    return 0;
}

}  // namespace

BoardEngine::BoardEngine(const BoardOptions& options)
    : options_(options),
      model_(options.model),
      nextModel_(options.model),
      mode_(options.start == StartMode::Loader ? BoardMode::Loader : BoardMode::Firmware),
      // A stream of its own, so that noise faults leave the codes as they were.
      noise_(options.seed ^ 0x6E6F697365ULL) {
    memory_.fill(0xFF);
    if (mode_ == BoardMode::Firmware) firmware_ = makeFirmware(model_, options_);
}

BoardEngine::~BoardEngine() = default;

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

const std::vector<uint8_t>& BoardEngine::configuration() const {
    static const std::vector<uint8_t> kNone;
    return firmware_ ? firmware_->configuration() : kNone;
}

std::vector<std::string> BoardEngine::takeLog() { return std::exchange(log_, {}); }

std::vector<ReceivedRequest> BoardEngine::takeRequests() { return std::exchange(received_, {}); }

long BoardEngine::listeningBaud() const {
    if (mode_ == BoardMode::Loader) return kLoaderBaud;
    return firmware_ ? firmware_->listeningBaud() : kFirmwareBaud;
}

std::optional<Nanos> BoardEngine::nextDue() const {
    return mode_ == BoardMode::Firmware && firmware_ ? firmware_->nextDue() : std::nullopt;
}

std::vector<Answer> BoardEngine::advance(Nanos now) {
    now_ = std::max(now_, now);
    if (mode_ != BoardMode::Firmware || !firmware_) return {};
    FirmwareOutput out;
    firmware_->advance(now_, out);
    for (std::string& line : out.log) log_.push_back(std::move(line));
    return std::move(out.answers);
}

std::vector<Answer> BoardEngine::feed(std::string_view received) { return feed(received, now_, 0); }

std::vector<Answer> BoardEngine::feed(std::string_view received, Nanos now, long baud) {
    std::vector<Answer> answers = advance(now);
    for (char c : received) {
        const long speed = baud > 0 ? baud : listeningBaud();
        if (speed != listeningBaud()) {
            offSpeedByte(c, speed, answers);
            continue;
        }
        if (!offSpeed_.empty()) addJunk(std::exchange(offSpeed_, {}), offSpeedBaud_);
        unitBaud_ = speed;
        pending_ += c;
        if (pending_.ends_with(kReset)) {
            // The user pressed reset: whatever was half received is lost.
            addJunk(std::string_view(pending_).substr(0, pending_.size() - kReset.size()), speed);
            pending_.clear();
            dropJunk();
            reset(answers);
            continue;
        }
        while (!pending_.empty()) {
            std::size_t length = 0;
            const Unit unit = classify(length);
            if (unit == Unit::Incomplete) break;
            if (unit == Unit::Junk) {
                addJunk(std::string_view(pending_).substr(0, 1), speed);
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

void BoardEngine::offSpeedByte(char c, long baud, std::vector<Answer>& answers) {
    if (!offSpeed_.empty() && offSpeedBaud_ != baud) {
        addJunk(std::exchange(offSpeed_, {}), offSpeedBaud_);
    }
    offSpeedBaud_ = baud;
    offSpeed_ += c;
    if (offSpeed_.ends_with(kReset)) {
        // The reset is the board's button: it works whatever the line's speed.
        addJunk(std::exchange(pending_, {}), unitBaud_);
        addJunk(std::string_view(offSpeed_).substr(0, offSpeed_.size() - kReset.size()), baud);
        offSpeed_.clear();
        dropJunk();
        unitBaud_ = baud;
        reset(answers);
        return;
    }
    const std::size_t keep = resetPrefixAtEnd(offSpeed_);
    addJunk(std::string_view(offSpeed_).substr(0, offSpeed_.size() - keep), baud);
    offSpeed_.erase(0, offSpeed_.size() - keep);
}

BoardEngine::Unit BoardEngine::classify(std::size_t& length) const {
    const uint8_t first = byteAt(pending_, 0);
    if (first == byteAt(kReset, 0)) {
        return kReset.starts_with(pending_) ? Unit::Incomplete : Unit::Junk;
    }
    if (mode_ == BoardMode::Firmware) {
        return firmware_ ? firmware_->classify(pending_, length) : Unit::Junk;
    }
    if (first != kFrameStart) return Unit::Junk;
    if (pending_.size() < 2) return Unit::Incomplete;
    if (byteAt(pending_, 1) != kFrameSecond) return Unit::Junk;
    if (pending_.size() < 3) return Unit::Incomplete;
    length = byteAt(pending_, 2) + 4u;
    return pending_.size() >= length ? Unit::Complete : Unit::Incomplete;
}

void BoardEngine::handle(std::size_t length, std::vector<Answer>& answers) {
    const std::string unit = pending_.substr(0, length);
    pending_.erase(0, length);
    ++requests_;
    if (mode_ == BoardMode::Loader) return loaderFrame(unit, answers);
    FirmwareOutput out;
    Handled handled = firmware_->handle(unit, now_, out);
    logRequest(handled.kind, std::move(handled.line));
    for (std::string& line : out.log) log_.push_back(std::move(line));
    for (Answer& answer : out.answers) answers.push_back(std::move(answer));
}

void BoardEngine::logRequest(RequestKind kind, std::string line) {
    log_.push_back(std::move(line) + " @" + std::to_string(unitBaud_));
    received_.push_back({kind, unitBaud_});
}

void BoardEngine::addJunk(std::string_view bytes, long baud) {
    if (bytes.empty()) return;
    if (!junk_.empty() && junkBaud_ != baud) dropJunk();
    junkBaud_ = baud;
    junk_ += bytes;
}

void BoardEngine::dropJunk() {
    if (junk_.empty()) return;
    log_.push_back(hexBytes("BAD", junk_) + " @" + std::to_string(junkBaud_));
    received_.push_back({RequestKind::Bad, junkBaud_});
    junk_.clear();
}

void BoardEngine::reset(std::vector<Answer>& answers) {
    ++requests_;
    ++resets_;
    answers.clear();  // answers to earlier requests never leave a chip that was reset
    model_ = nextModel_;
    mode_ = BoardMode::Loader;
    firmware_.reset();
    writes_ = 0;
    logRequest(RequestKind::Reset, "RESET");
    loaderAnswer(LoaderStep::Reset, 0,
                 identification(model_, options_.loaderMajor, options_.loaderMinor), kReset.size(),
                 answers);
}

void BoardEngine::rejectFrame(std::string_view frame, std::vector<Answer>& answers) {
    logRequest(RequestKind::Bad, hexBytes("BAD", frame));
    Answer answer{std::string(1, kNak), 1, frame.size()};
    answer.readyAt = now_;
    answer.baud = unitBaud_;
    answers.push_back(std::move(answer));
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
            logRequest(RequestKind::Erase, "ERASE");
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
            logRequest(RequestKind::Write, hexBytes(line, data));
            if (!refused(LoaderStep::Record, record)) {
                std::copy(data.begin(), data.end(), memory_.begin() + address);
            }
            return loaderAnswer(LoaderStep::Record, record, std::string(1, kAck), frame.size(),
                                answers);
        }
        case 'U':
            if (n != 4) return rejectFrame(frame, answers);
            ++runs_;
            logRequest(RequestKind::Run, "RUN");
            loaderAnswer(LoaderStep::Run, 0, std::string(1, kAck), frame.size(), answers);
            if (!refused(LoaderStep::Run, 0)) {
                // The firmware of the model's family starts, at its own speed.
                mode_ = BoardMode::Firmware;
                firmware_ = makeFirmware(model_, options_);
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
    if (hasFault(FaultKind::Noise, step, number)) answer.bytes = noiseBytes(noise_);
    answer.bytes += bytes;
    answer.pacedLength = answer.bytes.size();
    if (hasFault(FaultKind::ExtraByte, step, number)) answer.bytes += kExtraByte;
    answer.requestLength = requestLength;
    answer.readyAt = now_;
    // The loader answers at its own speed; only the reset, the board's button, is heard at
    // any, and the identification then follows the speed the host set.
    answer.baud = unitBaud_;
    answers.push_back(std::move(answer));
}

bool BoardEngine::hasFault(FaultKind kind, LoaderStep step, int number) const {
    return std::any_of(options_.faults.begin(), options_.faults.end(), [&](const Fault& f) {
        return f.kind == kind && f.step == step &&
               (step != LoaderStep::Record || f.number == number);
    });
}

}  // namespace kelp::board
