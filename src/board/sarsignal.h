#pragma once

#include <cstdint>
#include <span>

namespace kelp::board {

// Small seeded generator of our own, so the same seed gives the same codes on every build.
class SplitMix64 {
public:
    explicit SplitMix64(uint64_t seed) : state_(seed) {}
    uint64_t next();
    double unit();      // in (0, 1]
    double gaussian();  // standard normal

private:
    uint64_t state_;
};

// Code level that the configured channel shows: ADC0..ADC7 spread over the range, the
// temperature sensor, the DAC outputs, AGND and VREF. An empty configuration reads ADC0.
int channelLevel(std::span<const uint8_t> configuration);

// 12-bit conversion results: a level with Gaussian noise, rounded and clamped to 0..FFF.
class SarSignal {
public:
    explicit SarSignal(uint64_t seed) : random_(seed) {}
    int next(double level, double sigma);

private:
    SplitMix64 random_;
};

}  // namespace kelp::board
