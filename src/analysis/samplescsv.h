#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/noisefigures.h"

namespace kelp::analysis {

// One converter's samples for the CSV and how a code reads in volts (none: empty field).
struct CsvChannel {
    std::span<const int32_t> codes;
    std::function<std::optional<double>(int32_t)> volts;
};

// "index,code,volts" for one channel, "index,primary_code,primary_volts,aux_code,aux_volts"
// for two (rows up to the longer one; a missing code leaves its fields empty). Index from 1,
// codes in decimal, volts to 9 significant digits, lines ending in LF.
std::string SamplesCsv(const CsvChannel& primary, const CsvChannel* aux = nullptr);

// The run of each family as CSV. Sigma-delta writes both converters when both were on, else
// the one that was on (as index,code,volts), else the header alone.
std::string SarSamplesCsv(const SarRunSettings& settings, const SarRunData& data);
std::string SdSamplesCsv(const SdAnalysisInput& in);

struct CsvSamples {
    std::vector<int32_t> primary;
    std::vector<int32_t> aux;
    bool hasAux = false;
};

// Reads what SamplesCsv writes; CRLF and blank lines are accepted. A header it does not know,
// a row with the wrong number of fields, an index out of sequence or a code that is not an
// integer fail, with the line's number in *error. Volts are not read back.
std::optional<CsvSamples> ReadSamplesCsv(std::string_view text, std::string* error);

}  // namespace kelp::analysis
