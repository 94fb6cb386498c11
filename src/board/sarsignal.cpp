#include "board/sarsignal.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kelp::board {
namespace {

// Configuration message offsets.
constexpr std::size_t kChannel = 2;
constexpr std::size_t kDacControl = 4;
constexpr std::size_t kDac0High = 5;
constexpr std::size_t kDac1High = 7;
constexpr uint8_t kDac0On = 0x08;
constexpr uint8_t kDac1On = 0x10;

int dacLevel(std::span<const uint8_t> configuration, std::size_t high, uint8_t onBit) {
    if (configuration.size() <= high + 1 || !(configuration[kDacControl] & onBit)) return 0;
    // The DACs are 12 bits wide; the upper nibble of the data is not wired.
    return ((configuration[high] << 8) | configuration[high + 1]) & 0xFFF;
}

}  // namespace

uint64_t SplitMix64::next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

double SplitMix64::unit() { return static_cast<double>((next() >> 11) + 1) * 0x1.0p-53; }

double SplitMix64::gaussian() {
    // Box-Muller; unit() never returns 0, so the logarithm stays finite.
    const double radius = std::sqrt(-2.0 * std::log(unit()));
    return radius * std::cos(2.0 * std::numbers::pi * unit());
}

int channelLevel(std::span<const uint8_t> configuration) {
    const int channel = configuration.size() > kChannel ? configuration[kChannel] : 0;
    if (channel <= 7) return (2 * channel + 1) * 0x100;
    switch (channel) {
        case 8:
            return 0x5A0;  // temperature sensor near room temperature
        case 9:
            return dacLevel(configuration, kDac0High, kDac0On);
        case 10:
            return dacLevel(configuration, kDac1High, kDac1On);
        case 11:
            return 0;
        case 12:
            return 0xFFF;
        default:
            return 0x800;  // no such input: a floating pin near mid-scale
    }
}

int SarSignal::next(double level, double sigma) {
    const double code = std::nearbyint(level + sigma * random_.gaussian());
    return static_cast<int>(std::clamp(code, 0.0, 4095.0));
}

}  // namespace kelp::board
