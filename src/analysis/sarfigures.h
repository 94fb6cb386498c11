#pragma once

#include <string>

#include "analysis/sarrunsettings.h"
#include "analysis/statistics.h"

namespace kelp::analysis {

// The figures of SAR_KELP_Analysis, as its boxes show them, and the histogram it draws.
// A run without samples (no count, or MinCode above MaxCode) has empty code texts and marks,
// 0 as spread and counts, and an empty histogram.
struct SarFigures {
    std::string MaxCodeTextBox;
    std::string MinCodeTextbox;
    std::string CodeDistributionTextbox;
    std::string MaxCodeHistogramTextbox;
    std::string MidCodeHistogramTextbox;
    std::string MinCodeHistogramTextbox;
    std::string NumberMinCode;
    std::string NumberMidCode;
    std::string NumberMaxCode;
    HistogramResult histogram;
};

SarFigures ComputeSarFigures(const SarRunData& data);

}  // namespace kelp::analysis
