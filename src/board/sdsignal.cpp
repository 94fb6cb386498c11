#include "board/sdsignal.h"

#include <algorithm>
#include <cmath>

namespace kelp::board {
namespace {

constexpr double kInternalVref = 1.25;
constexpr double kSmallestRangePerVolt = 0.008;  // the smallest primary range, per volt of Vref
constexpr int kModulatorClock = 4096;
constexpr int kSmallestSf = 0x0D;
constexpr int kDefaultSf = 0x45;
constexpr double kOwnNoiseCodes = 0.5;

// Bits of the register bytes, the same in both layouts where they exist.
constexpr uint8_t kPrimaryOn = 0x20;
constexpr uint8_t kAuxOn = 0x10;
constexpr uint8_t kChopOff = 0x08;

struct Offsets {
    std::size_t primary, reference, aux, mode, sf;
    uint8_t primaryUnipolar, auxUnipolar;
};

// Where each field sits in the message of each layout.
constexpr Offsets kFirstFour{1, 1, 2, 3, 4, 0x08, 0x08};
constexpr Offsets k58X{1, 2, 3, 4, 5, 0x20, 0x20};

double referenceVolts(unsigned code, double externalVref) {
    return code == 0 ? kInternalVref : externalVref;
}

}  // namespace

std::optional<SdModel> sigmaDeltaModel(std::string_view model) {
    struct Entry {
        std::string_view name;
        SdModel model;
    };
    static constexpr Entry kModels[] = {
        {"Zylo530", {SdGroup::FirstFour, 16, 16}}, {"Zylo540", {SdGroup::FirstFour, 24, 16}},
        {"Zylo560", {SdGroup::FirstFour, 24, 16}}, {"Zylo561", {SdGroup::FirstFour, 16, 16}},
        {"Zylo580", {SdGroup::Group58X, 24, 24}},  {"Zylo581", {SdGroup::Group58X, 24, 0}},
        {"Zylo582", {SdGroup::Group58X, 24, 0}},
    };
    for (const Entry& entry : kModels) {
        if (entry.name == model) return entry.model;
    }
    return std::nullopt;
}

SdSetup readSdConfiguration(const SdModel& model, std::span<const uint8_t> message,
                            double externalVref) {
    const Offsets& at = model.group == SdGroup::Group58X ? k58X : kFirstFour;
    SdSetup setup;
    setup.primary.bits = model.primaryBits;
    setup.aux.bits = model.auxBits;
    if (message.size() < kSdConfigurationSize) {
        setup.primary = {true, false, externalVref * kSmallestRangePerVolt * 128,
                         model.primaryBits};
        setup.rateHz = kModulatorClock / (3.0 * kDefaultSf);
        return setup;
    }
    const uint8_t primary = message[at.primary];
    const uint8_t aux = message[at.aux];
    const uint8_t mode = message[at.mode];
    setup.primary.on = mode & kPrimaryOn;
    setup.primary.unipolar = primary & at.primaryUnipolar;
    setup.primary.range = referenceVolts(message[at.reference] >> 6, externalVref) *
                          kSmallestRangePerVolt * (1 << (primary & 7));
    setup.aux.on = (mode & kAuxOn) && model.auxBits > 0;
    setup.aux.unipolar = aux & at.auxUnipolar;
    setup.aux.range = referenceVolts(aux >> 6, externalVref);
    const int sf = std::max<int>(message[at.sf], kSmallestSf);
    // Only the 58X group can turn chopping off, which triples the rate.
    const bool chopOff = model.group == SdGroup::Group58X && (mode & kChopOff);
    setup.rateHz = kModulatorClock / ((chopOff ? 1.0 : 3.0) * sf);
    return setup;
}

double SdSignal::levelCodes(const SdConverter& converter, const SdInput& input) {
    const double volts =
        input.level.value_or(converter.unipolar ? 0.25 : 0.0) * converter.range + input.offset;
    const double fullScale = std::ldexp(1.0, converter.bits);
    if (converter.unipolar) return volts / converter.range * fullScale;
    return fullScale / 2 + volts / converter.range * (fullScale / 2);
}

double SdSignal::sigmaCodes(const SdConverter& converter, const SdInput& input) {
    const int spanBits = converter.unipolar ? converter.bits : converter.bits - 1;
    const double lsb = converter.range / std::ldexp(1.0, spanBits);
    const double codes = input.noise / lsb;
    return std::sqrt(codes * codes + kOwnNoiseCodes * kOwnNoiseCodes);
}

uint32_t SdSignal::next(const SdConverter& converter, const SdInput& input) {
    const double code = std::nearbyint(levelCodes(converter, input) +
                                       sigmaCodes(converter, input) * random_.gaussian());
    const double top = std::ldexp(1.0, converter.bits) - 1;
    return static_cast<uint32_t>(std::clamp(code, 0.0, top));
}

std::array<uint8_t, kSdFrameBytes> sdFrameBytes(const SdModel& model,
                                                std::optional<uint32_t> primary,
                                                std::optional<uint32_t> aux) {
    std::array<uint8_t, kSdFrameBytes> b{};
    const auto put = [&b](std::size_t first, uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) b[first + i] = (value >> (8 * (bytes - 1 - i))) & 0xFF;
    };
    if (primary) put(0, *primary, model.primaryBits / 8);
    if (aux && model.auxBits == 24) {
        put(3, *aux, 3);
    } else if (aux) {
        put(3, *aux, 2);
        // The host reads this result from bytes 1 and 3; they are free only while the primary
        // converter is off.
        if (!primary) {
            b[0] = *aux >> 8;
            b[2] = *aux & 0xFF;
        }
    }
    return b;
}

}  // namespace kelp::board
