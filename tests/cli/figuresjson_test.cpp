// The CLI's JSON against the analysis windows, fed the same samples and settings: every figure
// both show must read the same.

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <vector>

#include "analysis/saranalysiswindow.h"
#include "analysis/sdanalysiswindow.h"
#include "cli/report.h"
#include "cli/sarsettings.h"
#include "cli/sdsettings.h"
#include "support/widgets.h"

namespace kelp::cli {
namespace {

using Pairs = std::vector<std::pair<const char*, std::string>>;  // JSON name, window box

QJsonObject figures(const Node& figureNode) {
    const QJsonDocument doc =
        QJsonDocument::fromJson(QByteArray::fromStdString(ToJson(Group("", {figureNode}))));
    EXPECT_TRUE(doc.isObject());
    return doc.object()["figures"].toObject();
}

void expectSame(const QWidget& window, const QJsonObject& json, const Pairs& pairs) {
    for (const auto& [key, box] : pairs) {
        ASSERT_TRUE(json.contains(key)) << key;
        EXPECT_EQ(json[key].toString().toStdString(), testing::texts(&window, box.c_str()))
            << key << " vs " << box;
    }
}

// clang-format off
const Pairs kNoise = {
    {"sample_count", "SampleCountTextbox"}, {"mean_code", "MeanCodeTextbox"},
    {"mean_volts", "MeanVoltsTextbox"}, {"std_dev_codes", "StdDevCodesTextbox"},
    {"pp_estimate_codes_6_6_sigma", "PPEstimateCodesTextbox"},
    {"effective_resolution_bits", "EffectiveBitsTextbox"},
    {"noise_free_resolution_bits", "NoiseFreeBitsTextbox"}};
// clang-format on

// Codes around `centre` with a spread of about `spread`, a fixed pattern.
std::vector<int32_t> codes(int32_t centre, int spread, int count) {
    std::vector<int32_t> out;
    for (int i = 0; i < count; ++i)
        out.push_back(centre + static_cast<int32_t>(std::lround(spread / 2.0 * std::sin(i * 0.7))));
    return out;
}

TEST(CliFiguresJson, SarFiguresReadAsTheWindowShowsThem) {
    // clang-format off
    Pairs pairs = {
        {"max_code", "MaxCodeTextBox"}, {"min_code", "MinCodeTextbox"},
        {"peak_to_peak_codes", "CodeDistributionTextbox"},
        {"histogram_max_code", "MaxCodeHistogramTextbox"},
        {"histogram_mid_code", "MidCodeHistogramTextbox"},
        {"histogram_min_code", "MinCodeHistogramTextbox"},
        {"histogram_first_column_count", "NumberMinCode"},
        {"histogram_peak_count", "NumberMidCode"}, {"histogram_last_column_count", "NumberMaxCode"}};
    // clang-format on
    pairs.insert(pairs.end(), kNoise.begin(), kNoise.end());
    // Exact and binned histograms, and a reference without a number (no volts).
    const struct {
        int spread;
        Assignments sets;
    } cases[] = {{6, {}}, {120, {{"VrefTextbox", "3.3"}}}, {20, {{"VrefTextbox", "2.5"}}}};
    analysis::SarAnalysisWindow window("Zylo570");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.spread);
        SarSettings s("Zylo570");
        ASSERT_EQ(s.apply(c.sets), std::nullopt);
        const std::vector<int32_t> samples = codes(0x800, c.spread, 700);
        std::vector<int16_t> buffer(10001);
        for (size_t k = 0; k < samples.size(); ++k)
            buffer[k + 1] = static_cast<int16_t>(samples[k]);
        const auto [lo, hi] = std::minmax_element(samples.begin(), samples.end());
        const analysis::SarRunData data{buffer, 700, *lo, *hi};
        window.AnalyseData(s.runSettings(), data);
        expectSame(window, figures(SarFigureNodes(s.runSettings(), data)), pairs);
    }
}

TEST(CliFiguresJson, SigmaDeltaFiguresReadAsTheWindowShowsThem) {
    // clang-format off
    const Pairs top = {{"sf", "Text5"}, {"update_rate_hz", "Text6"}, {"iexc1", "Text7"},
                       {"iexc2", "Text8"}, {"dac", "Text13"}};
    Pairs block = {
        {"reference", "VrefTextbox"}, {"channel", "ADCChanTextbox"}, {"range", "ADCRangeTextbox"},
        {"peak_to_peak_codes", "PPNoiseCodesTextbox"}, {"rms_noise_uV", "RMSNoiseuVTextbox"},
        {"rms_resolution_bits", "RMSNoiseBitsTextbox"}, {"pp_noise_uV", "PPNoiseuVTextbox"},
        {"pp_resolution_bits", "PPNoiseBitsTextbox"},
        {"histogram_max_code", "MaxCodeHistogramTextbox"},
        {"histogram_mid_code", "MidCodeHistogramTextbox"},
        {"histogram_min_code", "MinCodeHistogramTextbox"}, {"min_code", "MinCodeTextbox"}};
    block.insert(block.end(), kNoise.begin(), kNoise.end());
    // One window for all: the auxiliary block off, then on, must show each run's own figures.
    const struct {
        const char* model;
        bool is58X;
        int spread;
        Assignments sets;
    } cases[] = {
        {"Zylo560", false, 80, {{"VrefTextbox", "1.8"}}},
        {"Zylo580", true, 9, {{"AuxillaryADCButton", "1"}, {"IEXC1Button", "1"},
                              {"DACButton", "1"}, {"DACData", "800"}}},
        {"Zylo530", false, 3, {{"PrimaryMode", "Unipolar"}, {"AuxillaryADCButton", "1"},
                               {"AuxReference", "External"}}},
    };
    // clang-format on
    analysis::SdAnalysisWindow window("Zylo560");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        SdSettings s(c.model, c.is58X);
        ASSERT_EQ(s.apply(c.sets), std::nullopt);
        const std::vector<int32_t> primary = codes(0x8000A0, c.spread, 300);
        const std::vector<int32_t> aux = codes(0x8140, 2 * c.spread, 300);
        const auto [plo, phi] = std::minmax_element(primary.begin(), primary.end());
        const auto [alo, ahi] = std::minmax_element(aux.begin(), aux.end());
        analysis::SdAnalysisInput in;
        in.ModelName = c.model;
        in.results = {primary, primary, aux, *plo, *phi, *alo, *ahi, 300};
        in.settings = s.runSettings();
        window.AnalyseData(in);
        const QJsonObject json = figures(SdFigureNodes(in));
        expectSame(window, json, top);
        Pairs aux_ = block;
        for (auto& [key, box] : aux_) box = "Aux" + box;
        aux_.push_back({"max_code", "AuxMaxCodeTextbox"});
        Pairs primary_ = block;
        primary_.push_back({"max_code", "MaxCodeTextBox"});
        expectSame(window, json["primary"].toObject(), primary_);
        expectSame(window, json["aux"].toObject(), aux_);
        // The marks beside the primary resolutions.
        for (const auto& [key, mark] : {std::pair{"pp_resolution_at_bit_limit", "Star1"},
                                        std::pair{"rms_resolution_at_bit_limit", "Star2"},
                                        std::pair{"bit_limit_note_shown", "limitation"}})
            EXPECT_EQ(json["primary"].toObject()[key].toBool(),
                      !testing::child<QWidget>(&window, mark)->isHidden())
                << key;
    }
}

}  // namespace
}  // namespace kelp::cli
