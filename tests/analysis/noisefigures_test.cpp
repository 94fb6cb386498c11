#include "analysis/noisefigures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

namespace kelp::analysis {
namespace {

// Expected figures from the formulas, computed here independently of the code under test.
struct Hand {
    double mean, sigma, fullScale;
    int bits;
    double zeroCode;  // the code that reads 0 V

    static Hand of(const std::vector<int32_t>& codes, double fullScale, int bits, bool bipolar) {
        const double n = static_cast<double>(codes.size());
        const double mean = std::accumulate(codes.begin(), codes.end(), 0.0) / n;
        double squares = 0;
        for (int32_t c : codes) squares += (c - mean) * (c - mean);
        return {mean, std::sqrt(squares / n), fullScale, bits,
                bipolar ? std::ldexp(1.0, bits - 1) : 0};
    }
    double lsb() const { return fullScale / std::ldexp(1.0, bits); }
};

void expectFigures(const NoiseFigures& f, const Hand& h, size_t count) {
    EXPECT_EQ(f.sampleCount, static_cast<int>(count));
    EXPECT_DOUBLE_EQ(f.meanCode, h.mean);
    EXPECT_NEAR(f.stdDevCodes, h.sigma, 1e-12);
    EXPECT_NEAR(f.ppEstimateCodes, 6.6 * h.sigma, 1e-12);
    ASSERT_TRUE(f.meanVolts && f.effectiveBits && f.noiseFreeBits);
    EXPECT_NEAR(*f.meanVolts, (h.mean - h.zeroCode) * h.lsb(), 1e-12);
    // log2(FS / RMS volts) and log2(FS / (6.6 sigma in volts)).
    EXPECT_NEAR(*f.effectiveBits, std::log2(h.fullScale / (h.sigma * h.lsb())), 1e-9);
    EXPECT_NEAR(*f.noiseFreeBits, std::log2(h.fullScale / (6.6 * h.sigma * h.lsb())), 1e-9);
}

TEST(NoiseFigures, SarAgainstHandComputation) {
    const struct {
        std::vector<int32_t> codes;
        const char* vref;
    } cases[] = {
        {{2046, 2047, 2048, 2049, 2050}, "2.5"},  // sigma sqrt 2: 11.5 effective bits
        {{100, 100, 103, 105}, "3.3 V"},
        {{4095, 0}, "1.2"},
    };
    for (const auto& c : cases) {
        std::vector<int16_t> buffer{-1};  // sample k at index k; index 0 is not a sample
        for (int32_t code : c.codes) buffer.push_back(static_cast<int16_t>(code));
        buffer.push_back(999);  // past the count
        SarRunSettings settings;
        settings.VrefTextbox = c.vref;
        const SarRunData data{buffer, static_cast<int>(c.codes.size()), 0, 4095};
        expectFigures(SarNoiseFigures(settings, data),
                      Hand::of(c.codes, std::stod(c.vref), 12, false), c.codes.size());
    }
}

TEST(NoiseFigures, SigmaDeltaBlocksUseTheirScale) {
    const std::vector<int32_t> primary{0x7FFFFF, 0x800001, 0x800004};
    const std::vector<int32_t> aux{100, 100, 103};
    SdAnalysisInput in{"Zylo530", {primary, primary, aux}, {}};
    in.results.SampleCount = 3;
    SdRunSettings& s = in.settings;
    s.PrimaryADCButton = s.AuxillaryADCButton = true;
    s.VrefTextbox = "2.5";
    // Primary: external 2.5 V at range 7, bipolar: 5.12 V over 2^16 (Zylo530's B).
    s.PrimaryReference = 1, s.PrimaryInputRange = 7, s.PrimaryMode = 0;
    // Auxiliary: internal 1.25 V, unipolar, 2^16.
    s.AuxReference = 0, s.AuxMode = 1;
    expectFigures(SdNoiseFigures(in, SdBlock::Primary), Hand::of(primary, 5.12, 16, true), 3);
    expectFigures(SdNoiseFigures(in, SdBlock::Aux), Hand::of(aux, 1.25, 16, false), 3);

    s.AuxillaryADCButton = false;
    EXPECT_EQ(SdNoiseFigures(in, SdBlock::Aux).sampleCount, 0);
    EXPECT_EQ(SdCodeVolts(in, SdBlock::Primary, 0x8000).value(), 0.0);
    s.VrefTextbox = "none";
    EXPECT_FALSE(SdCodeVolts(in, SdBlock::Primary, 0x8000));
    EXPECT_TRUE(SdCodeVolts(in, SdBlock::Aux, 0x8000));  // internal reference
}

TEST(NoiseFigures, TextsAndWhatCannotBeComputed) {
    const std::vector<int32_t> spread{2046, 2047, 2048, 2049, 2050};
    const std::vector<int32_t> flat{7, 7};
    const struct {
        const char* name;
        NoiseFigures figures;
        const char* texts;
    } cases[] = {
        {"spread", ComputeNoiseFigures(spread, 2.5, 12, false), "5|2048|1.25|1.414|9.33|11.5|8.78"},
        {"no reference", ComputeNoiseFigures(spread, 0, 12, false), "5|2048||1.414|9.33|11.5|8.78"},
        {"no noise", ComputeNoiseFigures(flat, 2.5, 12, false), "2|7|0.004272461|0|0||"},
        {"no samples", ComputeNoiseFigures({}, 2.5, 12, false), "0||||||"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const NoiseTexts t = NoiseFigureTexts(c.figures);
        EXPECT_EQ(t.sampleCount + "|" + t.meanCode + "|" + t.meanVolts + "|" + t.stdDevCodes + "|" +
                      t.ppEstimateCodes + "|" + t.effectiveBits + "|" + t.noiseFreeBits,
                  c.texts);
    }
}

// The curve holds what the histogram would: all samples once in exact mode; in binned mode
// each code falls in (width + 1) / step bins scaled by step / width.
TEST(NoiseFigures, GaussianMatchesTheHistogramsScale) {
    const struct {
        int32_t minCode, maxCode;
        double mean, sigma, total;
        int columns;
        double peakColumn;  // where the column's codes are centred on the mean
    } cases[] = {
        {2028, 2068, 2048, 2, 1000, 41, 21},                // exact, one code per column
        {1000, 1100, 1050, 10, 1000 * 4.0 / 3, 50, 25.25},  // step 2, width 3: 4 codes
        {0, 1000, 500, 60, 1000 * 22.0 / 21, 50, 25.475},   // step 20, width 21: 22 codes
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.maxCode);
        HistogramResult h;
        h.columnCount = c.columns;
        h.binned = c.columns == 50 && c.maxCode - c.minCode > 49;
        const auto curve = HistogramGaussian(h, c.minCode, c.maxCode, c.mean, c.sigma, 1000, 2);
        ASSERT_EQ(curve.size(), 2u * c.columns + 1);
        double atCentres = 0, peak = 0, peakX = 0;
        for (const auto& [x, y] : curve) {
            if (x == std::floor(x)) atCentres += y;
            if (y > peak) peak = y, peakX = x;
        }
        EXPECT_NEAR(atCentres, c.total, c.total * 0.01);
        EXPECT_NEAR(peakX, c.peakColumn, 0.5);
    }
    HistogramResult h;
    h.columnCount = 3;
    EXPECT_TRUE(HistogramGaussian(h, 0, 2, 1, 0, 10).empty());
}

}  // namespace
}  // namespace kelp::analysis
