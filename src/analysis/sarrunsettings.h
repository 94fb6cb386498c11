#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace kelp::analysis {

// What the SAR analysis window copies from the run window: the texts of its controls and
// the bounds of its strip chart, read when the run hands over.
struct SarRunSettings {
    std::string ADCChan;
    std::string ADCRef;
    std::string ConvTime;
    std::string AcqTime;
    std::string VrefTextbox;
    std::string MasterClockTextbox;
    std::string SampFreqTextbox;
    std::string ConversionTimeTextbox;
    std::string GraphMaxLabel;
    std::string GraphMidLabel;
    std::string GraphMinLabel;
    double graphUpperBound = 0;
    double graphLowerBound = 0;
};

// The run's results: sample k at index k (index 0 unused), the count and the extremes.
struct SarRunData {
    std::span<const int16_t> SampleBuffer;
    int SampleCount = 0;
    int MinCode = 0;
    int MaxCode = 0;
};

}  // namespace kelp::analysis
