#include "board/commandline.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

namespace kelp::board {
namespace {

template <typename T>
std::optional<T> readNumber(std::string_view text, int base = 10) {
    T value{};
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, value, base);
    if (text.empty() || ec != std::errc() || ptr != end) return std::nullopt;
    return value;
}

std::optional<double> readDecimal(std::string_view text) {
    double value = 0;
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (text.empty() || ec != std::errc() || ptr != end) return std::nullopt;
    return value;
}

// Options of the sigma-delta input, all decimal numbers within limits.
std::string applySigmaDeltaOption(std::string_view name, std::string_view value,
                                  BoardOptions& options) {
    struct Limits {
        std::string_view name;
        double low, high;
        const char* what;
    };
    static constexpr Limits kLimits[] = {
        {"--sd-vref", kSdVrefMin, kSdVrefMax, "a reference voltage from 0.1 to 10"},
        {"--sd-offset", -kSdMicrovoltsMax, kSdMicrovoltsMax,
         "an offset in microvolts from -1000000 to 1000000"},
        {"--sd-noise", 0, kSdMicrovoltsMax, "a noise in microvolts from 0 to 1000000"},
        {"--sd-level", -1, 1, "a fraction of the range from -1 to 1"},
        {"--sd-rate", 1, 100000, "a frame rate from 1 to 100000 a second"},
    };
    const auto limits = std::find_if(std::begin(kLimits), std::end(kLimits),
                                     [&](const Limits& l) { return l.name == name; });
    if (limits == std::end(kLimits)) return "unknown option " + std::string(name);
    const auto number = readDecimal(value);
    if (!number || !std::isfinite(*number) || *number < limits->low || *number > limits->high) {
        return std::string(name.substr(2)) + " \"" + std::string(value) + "\" is not " +
               limits->what;
    }
    if (name == "--sd-vref") options.sdVref = *number;
    if (name == "--sd-offset") options.sdOffsetMicrovolts = *number;
    if (name == "--sd-noise") options.sdNoiseMicrovolts = *number;
    if (name == "--sd-level") options.sdLevel = *number;
    if (name == "--sd-rate") options.sdRate = *number;
    return {};
}

// Reads one option with its value into `options`; an error text when it cannot.
std::string applyOption(std::string_view name, std::string_view value, BoardOptions& options) {
    if (name == "--model") {
        if (!isModelName(value)) {
            return "model name \"" + std::string(value) + "\" is not Zylo5 followed by two digits";
        }
        options.model = value;
    } else if (name == "--loader-version") {
        if (value.size() != 3 || value[1] != '.' ||
            !std::isdigit(static_cast<unsigned char>(value[0])) ||
            !std::isdigit(static_cast<unsigned char>(value[2]))) {
            return "loader version \"" + std::string(value) + "\" is not MAJOR.MINOR, such as 2.1";
        }
        options.loaderMajor = value[0];
        options.loaderMinor = value[2];
    } else if (name == "--log") {
        options.logPath = value;
    } else if (name == "--memory-out") {
        options.memoryOutPath = value;
    } else if (name == "--seed") {
        const auto seed = readNumber<uint64_t>(value);
        if (!seed) return "seed \"" + std::string(value) + "\" is not a whole number";
        options.seed = *seed;
    } else if (name == "--level") {
        std::string_view digits = value;
        if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
        const auto level = readNumber<int>(digits, 16);
        if (!level || *level < 0 || *level > 0xFFF) {
            return "level \"" + std::string(value) + "\" is not a hexadecimal code from 0 to FFF";
        }
        options.level = *level;
    } else if (name == "--sigma") {
        const auto sigma = readDecimal(value);
        if (!sigma || !std::isfinite(*sigma) || *sigma < 0 || *sigma > 4096) {
            return "sigma \"" + std::string(value) + "\" is not a number from 0 to 4096";
        }
        options.sigma = *sigma;
    } else if (name.starts_with("--sd-")) {
        return applySigmaDeltaOption(name, value, options);
    } else if (name == "--start") {
        if (value == "loader") {
            options.start = StartMode::Loader;
        } else if (value == "firmware") {
            options.start = StartMode::Firmware;
        } else {
            return "start mode \"" + std::string(value) + "\" is neither loader nor firmware";
        }
    } else if (name == "--fault") {
        std::string error;
        const auto fault = parseFault(value, error);
        if (!fault) return error;
        options.faults.push_back(*fault);
    } else {
        return "unknown option " + std::string(name);
    }
    return {};
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    CommandLine result;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string_view argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            result.help = true;
            continue;
        }
        if (argument == "--no-pacing") {
            result.options.pacing = false;
            continue;
        }
        if (!argument.starts_with("--")) {
            result.error = "unexpected argument \"" + std::string(argument) + "\"";
            return result;
        }
        std::string_view name = argument;
        std::string_view value;
        if (const auto equals = argument.find('='); equals != std::string_view::npos) {
            name = argument.substr(0, equals);
            value = argument.substr(equals + 1);
        } else if (i + 1 < arguments.size()) {
            value = arguments[++i];
        } else {
            result.error = "option " + std::string(name) + " needs a value";
            return result;
        }
        result.error = applyOption(name, value, result.options);
        if (!result.error.empty()) return result;
    }
    return result;
}

std::string usageText() {
    return R"(Usage: kelp-board [OPTION]...
Virtual evaluation board: serves the chip's serial loader and, after its run command, the SAR or
sigma-delta measurement firmware of the model on a pseudo-terminal. The loader listens at 9600
baud, the SAR firmware at 57600, the sigma-delta firmware at 57600 or, after the divider command
D3, at 9600; bytes sent at another speed are garbage to the chip (the reset sequence excepted).
Prints the terminal's path as the first line, then serves until SIGINT or SIGTERM.

  --model NAME            model the loader names, Zylo5 and two digits (default Zylo570)
  --loader-version M.N    loader version digits in the identification (default 2.1)
  --no-pacing             answer at once instead of at the line's baud rate (sigma-delta
                          frames still come at the update rate)
  --log FILE              write one line per event to FILE
  --memory-out FILE       write the 8192-byte code memory to FILE on every run command
  --seed N                seed of the conversion noise (default 1)
  --level HEX             SAR code level, 0 to FFF, instead of the configured channel's
  --sigma X               SAR noise in codes (default 1.2)
  --sd-vref V             sigma-delta external reference in volts (default 2.5)
  --sd-level F            sigma-delta input as a fraction of the configured range, -1 to 1
                          (default 0 when bipolar, 0.25 when unipolar)
  --sd-offset UV          sigma-delta input offset in microvolts (default 50)
  --sd-noise UV           sigma-delta input noise in microvolts RMS (default 0.6)
  --sd-rate HZ            sigma-delta frames a second instead of the configured update rate,
                          still never faster than the link carries them (for stress tests)
  --start loader|firmware start in the loader or with the firmware running (default firmware)
  --fault FAULT           inject a fault; may be repeated
  -h, --help              show this text

Faults (loader steps counted from the last reset, SAR packets from the last configuration,
sigma-delta frames from the request that started the stream):
  no-reset-answer         no identification after the reset
  nak:STEP                answer 07 instead of 06 (STEP: erase, record:K, run)
  silent:STEP             no answer (STEP: erase, record:K, run)
  extra-byte:STEP         one byte too many (STEP: reset, erase, record:K, run)
  noise:STEP              three random bytes before the answer (same STEPs)
  garble:P:J              packet P (from 1), record J (0 to 99): carriage return replaced
  long-packet:P           packet P has 501 characters
  silent-after:K          no answer to requests after K packets; no frames after K frames
  sar-noise:P             three random bytes before packet P
  frame-noise:K           three random bytes (never CR) before frame K
  short-frame:K:D         frame K (from 1) carries only D (0 to 11) of its 12 digits
)";
}

}  // namespace kelp::board
