#include "board/boardoptions.h"

#include <cmath>

namespace kelp::board {
namespace {

constexpr int kMaxCount = 1000000;

bool inRange(double value, double low, double high) {
    return std::isfinite(value) && value >= low && value <= high;
}

std::vector<std::string_view> splitColons(std::string_view text) {
    std::vector<std::string_view> parts;
    while (true) {
        const auto colon = text.find(':');
        parts.push_back(text.substr(0, colon));
        if (colon == std::string_view::npos) return parts;
        text.remove_prefix(colon + 1);
    }
}

// Plain decimal digits only, so "3x" or "-1" are refused rather than half read.
std::optional<int> readCount(std::string_view text) {
    if (text.empty() || text.size() > 7) return std::nullopt;
    int value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + (c - '0');
    }
    if (value > kMaxCount) return std::nullopt;
    return value;
}

// STEP = reset | erase | record:K | run, from parts[first] on.
bool readStep(const std::vector<std::string_view>& parts, std::size_t first, bool resetAllowed,
              Fault& fault) {
    const std::size_t rest = parts.size() - first;
    if (rest == 1 && parts[first] == "erase") {
        fault.step = LoaderStep::Erase;
    } else if (rest == 1 && parts[first] == "run") {
        fault.step = LoaderStep::Run;
    } else if (rest == 1 && parts[first] == "reset" && resetAllowed) {
        fault.step = LoaderStep::Reset;
    } else if (rest == 2 && parts[first] == "record") {
        const auto k = readCount(parts[first + 1]);
        if (!k || *k < 1) return false;
        fault.step = LoaderStep::Record;
        fault.number = *k;
    } else {
        return false;
    }
    return true;
}

std::string stepText(const Fault& fault) {
    switch (fault.step) {
        case LoaderStep::Reset:
            return "reset";
        case LoaderStep::Erase:
            return "erase";
        case LoaderStep::Record:
            return "record:" + std::to_string(fault.number);
        case LoaderStep::Run:
            return "run";
    }
    return {};
}

}  // namespace

bool isModelName(std::string_view name) {
    return name.size() == 7 && name.substr(0, 5) == "Zylo5" && name[5] >= '0' && name[5] <= '9' &&
           name[6] >= '0' && name[6] <= '9';
}

std::optional<Fault> parseFault(std::string_view text, std::string& error) {
    const auto parts = splitColons(text);
    const std::string_view head = parts.front();
    Fault fault;
    bool ok = false;
    if (head == "no-reset-answer") {
        fault.kind = FaultKind::NoResetAnswer;
        ok = parts.size() == 1;
    } else if (head == "nak" || head == "silent") {
        fault.kind = head == "nak" ? FaultKind::Nak : FaultKind::Silent;
        ok = parts.size() > 1 && readStep(parts, 1, false, fault);
    } else if (head == "extra-byte" || head == "noise") {
        fault.kind = head == "noise" ? FaultKind::Noise : FaultKind::ExtraByte;
        ok = parts.size() > 1 && readStep(parts, 1, true, fault);
    } else if (head == "garble" && parts.size() == 3) {
        fault.kind = FaultKind::Garble;
        const auto p = readCount(parts[1]);
        const auto j = readCount(parts[2]);
        ok = p && j && *p >= 1 && *j <= 99;
        if (ok) {
            fault.number = *p;
            fault.record = *j;
        }
    } else if (head == "short-frame" && parts.size() == 3) {
        fault.kind = FaultKind::ShortFrame;
        const auto k = readCount(parts[1]);
        const auto d = readCount(parts[2]);
        ok = k && d && *k >= 1 && *d <= 11;
        if (ok) {
            fault.number = *k;
            fault.digits = *d;
        }
    } else if ((head == "long-packet" || head == "sar-noise" || head == "silent-after" ||
                head == "frame-noise") &&
               parts.size() == 2) {
        fault.kind = head == "long-packet"   ? FaultKind::LongPacket
                     : head == "sar-noise"   ? FaultKind::SarNoise
                     : head == "frame-noise" ? FaultKind::FrameNoise
                                             : FaultKind::SilentAfter;
        const auto n = readCount(parts[1]);
        // silent-after:0 is a firmware that never answers; packets and frames count from 1.
        ok = n && (*n >= 1 || fault.kind == FaultKind::SilentAfter);
        if (ok) fault.number = *n;
    }
    if (!ok) {
        error = "unknown fault \"" + std::string(text) +
                "\" (expected no-reset-answer, nak:STEP, silent:STEP, extra-byte:STEP, "
                "noise:STEP, garble:P:J, long-packet:P, silent-after:K, sar-noise:P, "
                "frame-noise:K or short-frame:K:D; STEP is erase, record:K or run, and for "
                "extra-byte and noise also reset; K, P from 1, J from 0 to 99, D from 0 to 11)";
        return std::nullopt;
    }
    return fault;
}

std::string faultText(const Fault& fault) {
    switch (fault.kind) {
        case FaultKind::NoResetAnswer:
            return "no-reset-answer";
        case FaultKind::Nak:
            return "nak:" + stepText(fault);
        case FaultKind::Silent:
            return "silent:" + stepText(fault);
        case FaultKind::ExtraByte:
            return "extra-byte:" + stepText(fault);
        case FaultKind::Noise:
            return "noise:" + stepText(fault);
        case FaultKind::Garble:
            return "garble:" + std::to_string(fault.number) + ":" + std::to_string(fault.record);
        case FaultKind::LongPacket:
            return "long-packet:" + std::to_string(fault.number);
        case FaultKind::SilentAfter:
            return "silent-after:" + std::to_string(fault.number);
        case FaultKind::SarNoise:
            return "sar-noise:" + std::to_string(fault.number);
        case FaultKind::FrameNoise:
            return "frame-noise:" + std::to_string(fault.number);
        case FaultKind::ShortFrame:
            return "short-frame:" + std::to_string(fault.number) + ":" +
                   std::to_string(fault.digits);
    }
    return {};
}

std::string checkOptions(const BoardOptions& options) {
    if (!isModelName(options.model)) {
        return "model name \"" + options.model + "\" is not Zylo5 followed by two digits";
    }
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    if (!digit(options.loaderMajor) || !digit(options.loaderMinor)) {
        return "loader version must be two digits, such as 2.1";
    }
    if (options.level && (*options.level < 0 || *options.level > 0xFFF)) {
        return "SAR level must lie between 0 and FFF";
    }
    if (!std::isfinite(options.sigma) || options.sigma < 0 || options.sigma > 4096) {
        return "noise sigma must be a number from 0 to 4096";
    }
    if (!inRange(options.sdVref, kSdVrefMin, kSdVrefMax)) {
        return "sigma-delta reference must be a voltage from 0.1 to 10";
    }
    if (!inRange(options.sdOffsetMicrovolts, -kSdMicrovoltsMax, kSdMicrovoltsMax)) {
        return "sigma-delta offset must be a number of microvolts from -1000000 to 1000000";
    }
    if (!inRange(options.sdNoiseMicrovolts, 0, kSdMicrovoltsMax)) {
        return "sigma-delta noise must be a number of microvolts from 0 to 1000000";
    }
    if (options.sdLevel && !inRange(*options.sdLevel, -1, 1)) {
        return "sigma-delta level must be a fraction of the range from -1 to 1";
    }
    for (const Fault& fault : options.faults) {
        std::string error;
        if (!parseFault(faultText(fault), error)) return error;
    }
    return {};
}

}  // namespace kelp::board
