#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "board/sarsignal.h"

namespace kelp::board {

inline constexpr std::size_t kSdConfigurationSize = 27;
inline constexpr std::size_t kSdFrameBytes = 6;

// The two layouts of the configuration message: the first four models, and the 58X group.
enum class SdGroup { FirstFour, Group58X };

// What a sigma-delta model is built with. auxBits is 0 where the chip has no auxiliary
// converter to speak of (Zylo581, Zylo582).
struct SdModel {
    SdGroup group = SdGroup::FirstFour;
    int primaryBits = 24;
    int auxBits = 16;
};

// The seven sigma-delta models; nothing for any other name.
std::optional<SdModel> sigmaDeltaModel(std::string_view model);

// One converter as the configuration sets it up.
struct SdConverter {
    bool on = false;
    bool unipolar = false;
    double range = 0;  // volts: the span is -range..range, or 0..range when unipolar
    int bits = 0;
};

struct SdSetup {
    SdConverter primary;
    SdConverter aux;
    double rateHz = 0;  // conversions per second
};

// The board's own side of the measurement: the voltage on the external reference pins, and the
// input both converters see. The input is `level` times the range (by default 0 when bipolar, a
// quarter when unipolar, so that unipolar codes stay clear of zero) plus `offset` volts, with
// Gaussian noise of `noise` volts RMS.
struct SdInput {
    double externalVref = 2.5;
    double offset = 50e-6;
    double noise = 0.6e-6;
    std::optional<double> level;
};

// Reads a whole configuration message ("C" and 26 bytes) in the model's layout. An empty
// message gives the firmware's own start-up set-up: primary on, bipolar, REFIN, largest range,
// SF 0x45, auxiliary off.
SdSetup readSdConfiguration(const SdModel& model, std::span<const uint8_t> message,
                            double externalVref);

// Conversion codes of one converter: the input's level and noise in codes of that converter,
// rounded and clamped to its width. Noise never falls below half a code, the converter's own.
class SdSignal {
public:
    explicit SdSignal(uint64_t seed) : random_(seed) {}
    uint32_t next(const SdConverter& converter, const SdInput& input);

    static double levelCodes(const SdConverter& converter, const SdInput& input);
    static double sigmaCodes(const SdConverter& converter, const SdInput& input);

private:
    SplitMix64 random_;
};

// The six frame bytes for the results of one conversion, nothing for a converter that is off,
// laid out so that the host's assembly gives each result back (see README).
std::array<uint8_t, kSdFrameBytes> sdFrameBytes(const SdModel& model,
                                                std::optional<uint32_t> primary,
                                                std::optional<uint32_t> aux);

}  // namespace kelp::board
