#include "analysis/samplescsv.h"

#include <charconv>
#include <system_error>

namespace kelp::analysis {

namespace {

constexpr std::string_view kOneHeader = "index,code,volts";
constexpr std::string_view kTwoHeader = "index,primary_code,primary_volts,aux_code,aux_volts";

// Locale-free: a program's locale may use a decimal comma.
std::string voltsText(const std::optional<double>& v) {
    if (!v) return {};
    char buffer[32];
    const auto r = std::to_chars(buffer, buffer + sizeof buffer, *v, std::chars_format::general, 9);
    return {buffer, r.ptr};
}

void appendChannel(std::string& out, const CsvChannel& c, size_t row) {
    if (row >= c.codes.size()) {
        out += ',';
        return;
    }
    const int32_t code = c.codes[row];
    out += std::to_string(code);
    out += ',';
    if (c.volts) out += voltsText(c.volts(code));
}

std::vector<std::string_view> split(std::string_view line) {
    std::vector<std::string_view> fields;
    size_t start = 0;
    for (;;) {
        const size_t comma = line.find(',', start);
        fields.push_back(line.substr(start, comma - start));
        if (comma == std::string_view::npos) return fields;
        start = comma + 1;
    }
}

template <typename T>
bool readInteger(std::string_view field, T& value) {
    const auto r = std::from_chars(field.data(), field.data() + field.size(), value);
    return r.ec == std::errc() && r.ptr == field.data() + field.size() && !field.empty();
}

}  // namespace

std::string SamplesCsv(const CsvChannel& primary, const CsvChannel* aux) {
    std::string out(aux ? kTwoHeader : kOneHeader);
    out += '\n';
    const size_t rows = std::max(primary.codes.size(), aux ? aux->codes.size() : 0);
    for (size_t row = 0; row < rows; ++row) {
        out += std::to_string(row + 1);
        out += ',';
        appendChannel(out, primary, row);
        if (aux) {
            out += ',';
            appendChannel(out, *aux, row);
        }
        out += '\n';
    }
    return out;
}

std::string SarSamplesCsv(const SarRunSettings& settings, const SarRunData& data) {
    const std::vector<int32_t> codes = SarSamples(data);
    return SamplesCsv({codes, [&settings](int32_t c) { return SarCodeVolts(settings, c); }});
}

std::string SdSamplesCsv(const SdAnalysisInput& in) {
    const std::vector<int32_t> primary = SdSamples(in, SdBlock::Primary);
    const std::vector<int32_t> aux = SdSamples(in, SdBlock::Aux);
    const auto voltsOf = [&in](SdBlock block) {
        return [&in, block](int32_t c) { return SdCodeVolts(in, block, c); };
    };
    const CsvChannel p{primary, voltsOf(SdBlock::Primary)};
    const CsvChannel a{aux, voltsOf(SdBlock::Aux)};
    const bool primaryOn = in.settings.PrimaryADCButton;
    const bool auxOn = in.settings.AuxillaryADCButton;
    if (primaryOn && auxOn) return SamplesCsv(p, &a);
    return SamplesCsv(auxOn ? a : p);
}

std::optional<CsvSamples> ReadSamplesCsv(std::string_view text, std::string* error) {
    const auto fail = [error](size_t line, const std::string& what) {
        if (error) *error = "line " + std::to_string(line) + ": " + what;
        return std::nullopt;
    };
    CsvSamples out;
    size_t lineNumber = 0;
    size_t fieldCount = 0;
    int64_t expectedIndex = 1;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(pos, end - pos);
        pos = end + 1;
        ++lineNumber;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (line.empty()) continue;
        if (fieldCount == 0) {
            if (line == kOneHeader) {
                fieldCount = 3;
            } else if (line == kTwoHeader) {
                fieldCount = 5;
                out.hasAux = true;
            } else {
                return fail(lineNumber, "unknown header '" + std::string(line) + "'");
            }
            continue;
        }
        const std::vector<std::string_view> fields = split(line);
        if (fields.size() != fieldCount)
            return fail(lineNumber, "expected " + std::to_string(fieldCount) + " fields, found " +
                                        std::to_string(fields.size()));
        int64_t index = 0;
        if (!readInteger(fields[0], index) || index != expectedIndex)
            return fail(lineNumber, "index '" + std::string(fields[0]) + "' where " +
                                        std::to_string(expectedIndex) + " was expected");
        ++expectedIndex;
        for (size_t column = 1; column < fieldCount; column += 2) {
            std::vector<int32_t>& codes = column == 1 ? out.primary : out.aux;
            // Of two channels, the shorter one's rows end with empty fields.
            if (fields[column].empty() && fieldCount == 5) continue;
            int32_t code = 0;
            if (!readInteger(fields[column], code))
                return fail(lineNumber,
                            "code '" + std::string(fields[column]) + "' is not an integer");
            codes.push_back(code);
        }
    }
    if (fieldCount == 0) return fail(lineNumber, "no header");
    return out;
}

}  // namespace kelp::analysis
