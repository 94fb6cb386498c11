#include "analysis/sarfigures.h"

#include "link/textforms.h"

namespace kelp::analysis {

using link::DecimalText;
using link::HexCode;

SarFigures ComputeSarFigures(const SarRunData& data) {
    SarFigures f;
    const int minCode = data.MinCode;
    const int maxCode = data.MaxCode;
    f.histogram = BuildCodeHistogram(data.SampleBuffer, 1, data.SampleCount, minCode, maxCode,
                                     kSarExactLimit);
    const HistogramResult& h = f.histogram;
    const bool noSamples = h.columnCount == 0;
    if (!noSamples) {
        f.MaxCodeTextBox = f.MaxCodeHistogramTextbox = HexCode(maxCode);
        f.MinCodeTextbox = f.MinCodeHistogramTextbox = HexCode(minCode);
        f.MidCodeHistogramTextbox = link::MiddleCode(minCode, maxCode);
    }
    f.CodeDistributionTextbox = DecimalText(noSamples ? 0 : CodeSpread(maxCode, minCode));
    f.NumberMinCode = DecimalText(h.histogram.slot(1));
    f.NumberMidCode = DecimalText(h.PeakCount);
    // The slot of the last column: spread + 1 exact, 50 binned.
    f.NumberMaxCode = DecimalText(h.histogram.slot(h.columnCount));
    return f;
}

}  // namespace kelp::analysis
