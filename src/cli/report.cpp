#include "cli/report.h"

#include <cstdio>

namespace kelp::cli {

namespace {

using analysis::NoiseTexts;

std::string escaped(const std::string& s) {
    std::string out = "\"";
    for (const char ch : s) {
        const auto u = static_cast<unsigned char>(ch);
        if (ch == '"' || ch == '\\') {
            out += '\\';
            out += ch;
        } else if (u < 0x20) {
            char buffer[8];
            std::snprintf(buffer, sizeof buffer, "\\u%04x", u);
            out += buffer;
        } else {
            out += ch;
        }
    }
    return out + "\"";
}

void json(const Node& n, int depth, std::string& out) {
    const std::string pad(static_cast<size_t>(depth) * 2, ' ');
    std::visit(
        [&](const auto& v) {
            using V = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<V, std::string>) {
                out += escaped(v);
            } else if constexpr (std::is_same_v<V, bool>) {
                out += v ? "true" : "false";
            } else if constexpr (std::is_same_v<V, int>) {
                out += std::to_string(v);
            } else if constexpr (std::is_same_v<V, std::vector<int>>) {
                out += "[";
                for (size_t i = 0; i < v.size(); ++i) out += (i ? ", " : "") + std::to_string(v[i]);
                out += "]";
            } else {
                out += "{";
                for (size_t i = 0; i < v.size(); ++i) {
                    out += (i ? ",\n" : "\n") + pad + "  " + escaped(v[i].key) + ": ";
                    json(v[i], depth + 1, out);
                }
                out += "\n" + pad + "}";
            }
        },
        n.value);
}

void text(const Node& n, int depth, std::string& out) {
    const std::string pad(static_cast<size_t>(depth) * 2, ' ');
    std::visit(
        [&](const auto& v) {
            using V = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<V, Node::List>) {
                for (const Node& child : v) {
                    if (std::holds_alternative<Node::List>(child.value)) {
                        out += pad + child.key + ":\n";
                        text(child, depth + 1, out);
                    } else {
                        out += pad + child.key + ": ";
                        text(child, depth, out);
                        out += "\n";
                    }
                }
            } else if constexpr (std::is_same_v<V, std::string>) {
                out += v;
            } else if constexpr (std::is_same_v<V, bool>) {
                out += v ? "yes" : "no";
            } else if constexpr (std::is_same_v<V, int>) {
                out += std::to_string(v);
            } else {
                for (size_t i = 0; i < v.size(); ++i) out += (i ? " " : "") + std::to_string(v[i]);
            }
        },
        n.value);
}

// The extra figures, under the names the JSON gives them.
void addNoise(Node::List& out, const NoiseTexts& t) {
    out.push_back(Text("sample_count", t.sampleCount));
    out.push_back(Text("mean_code", t.meanCode));
    out.push_back(Text("mean_volts", t.meanVolts));
    out.push_back(Text("std_dev_codes", t.stdDevCodes));
    out.push_back(Text("pp_estimate_codes_6_6_sigma", t.ppEstimateCodes));
    out.push_back(Text("effective_resolution_bits", t.effectiveBits));
    out.push_back(Text("noise_free_resolution_bits", t.noiseFreeBits));
}

Node histogramNode(const analysis::HistogramResult& h) {
    return Group(
        "histogram",
        {Flag("binned", h.binned), Integer("columns", h.columnCount),
         Node{"counts", std::vector<int>(h.histogram.counts.begin(), h.histogram.counts.end())}});
}

void addMark(Node::List& out, const char* key, analysis::Mark mark) {
    // A block switched off leaves the marks as the window had them: nothing to report.
    if (mark != analysis::Mark::Unchanged) out.push_back(Flag(key, mark == analysis::Mark::Shown));
}

Node blockNode(const char* key, const analysis::BlockFigures& b, const NoiseTexts& noise) {
    Node::List out{Flag("enabled", b.enabled),
                   Text("reference", b.VrefTextbox),
                   Text("channel", b.ADCChanTextbox),
                   Text("range", b.ADCRangeTextbox),
                   Text("max_code", b.MaxCodeTextBox),
                   Text("min_code", b.MinCodeTextbox),
                   Text("peak_to_peak_codes", b.PPNoiseCodesTextbox),
                   Text("rms_noise_uV", b.RMSNoiseuVTextbox),
                   Text("rms_resolution_bits", b.RMSNoiseBitsTextbox),
                   Text("pp_noise_uV", b.PPNoiseuVTextbox),
                   Text("pp_resolution_bits", b.PPNoiseBitsTextbox),
                   Text("histogram_max_code", b.MaxCodeHistogramTextbox),
                   Text("histogram_mid_code", b.MidCodeHistogramTextbox),
                   Text("histogram_min_code", b.MinCodeHistogramTextbox)};
    addNoise(out, noise);
    out.push_back(histogramNode(b.histogram));
    return Group(key, std::move(out));
}

}  // namespace

Node Text(std::string key, std::string text) { return {std::move(key), std::move(text)}; }
Node Flag(std::string key, bool on) { return {std::move(key), on}; }
Node Integer(std::string key, int value) { return {std::move(key), value}; }
Node Group(std::string key, Node::List children) { return {std::move(key), std::move(children)}; }

std::string ToJson(const Node& root) {
    std::string out;
    json(root, 0, out);
    return out + "\n";
}

std::string ToText(const Node& root) {
    std::string out;
    text(root, 0, out);
    return out;
}

Node SarFigureNodes(const analysis::SarRunSettings& settings, const analysis::SarRunData& data) {
    const analysis::SarFigures f = analysis::ComputeSarFigures(data);
    Node::List out{Text("max_code", f.MaxCodeTextBox),
                   Text("min_code", f.MinCodeTextbox),
                   Text("peak_to_peak_codes", f.CodeDistributionTextbox),
                   Text("histogram_max_code", f.MaxCodeHistogramTextbox),
                   Text("histogram_mid_code", f.MidCodeHistogramTextbox),
                   Text("histogram_min_code", f.MinCodeHistogramTextbox),
                   Text("histogram_first_column_count", f.NumberMinCode),
                   Text("histogram_peak_count", f.NumberMidCode),
                   Text("histogram_last_column_count", f.NumberMaxCode)};
    addNoise(out, analysis::NoiseFigureTexts(analysis::SarNoiseFigures(settings, data)));
    out.push_back(histogramNode(f.histogram));
    return Group("figures", std::move(out));
}

Node SdFigureNodes(const analysis::SdAnalysisInput& input) {
    using analysis::SdBlock;
    const analysis::SdFigures f = analysis::ComputeSdFigures(input);
    const auto noise = [&](SdBlock b) {
        return analysis::NoiseFigureTexts(analysis::SdNoiseFigures(input, b));
    };
    Node::List out{Text("sf", f.Text5), Text("update_rate_hz", f.Text6), Text("iexc1", f.Text7),
                   Text("iexc2", f.Text8), Text("dac", f.Text13)};
    Node primary = blockNode("primary", f.primary, noise(SdBlock::Primary));
    auto& marks = std::get<Node::List>(primary.value);
    addMark(marks, "pp_resolution_at_bit_limit", f.Star1);
    addMark(marks, "rms_resolution_at_bit_limit", f.Star2);
    addMark(marks, "bit_limit_note_shown", f.limitation);
    out.push_back(std::move(primary));
    out.push_back(blockNode("aux", f.aux, noise(SdBlock::Aux)));
    return Group("figures", std::move(out));
}

}  // namespace kelp::cli
