#include "analysis/samplescsv.h"

#include <gtest/gtest.h>

#include <vector>

namespace kelp::analysis {
namespace {

TEST(SamplesCsv, WrittenForEachFamily) {
    const std::vector<int16_t> sar{0, 2048, 4095};
    const std::vector<int32_t> primary{0x800000, 0x7FFFFF}, aux{0x8000, 0};
    SdAnalysisInput sd{"Zylo540", {primary, primary, aux}, {}};
    sd.results.SampleCount = 2;
    sd.settings.VrefTextbox = "2.5";
    const auto sarCsv = [&](const char* vref) {
        SarRunSettings s;
        s.VrefTextbox = vref;
        return SarSamplesCsv(s, {sar, 2, 2048, 4095});
    };
    const auto sdCsv = [&](bool primaryOn, bool auxOn) {
        sd.settings.PrimaryADCButton = primaryOn, sd.settings.AuxillaryADCButton = auxOn;
        return SdSamplesCsv(sd);
    };
    const struct {
        const char* name;
        std::string csv, expected;
    } cases[] = {
        // volts = code x Vref / 4096
        {"SAR", sarCsv("2.5"), "index,code,volts\n1,2048,1.25\n2,4095,2.49938965\n"},
        {"SAR without reference", sarCsv("?"), "index,code,volts\n1,2048,\n2,4095,\n"},
        // Internal 1.25 V, range 0, bipolar: +/-10 mV around 0x800000; aux +/-1.25 V.
        {"both converters", sdCsv(true, true),
         "index,primary_code,primary_volts,aux_code,aux_volts\n1,8388608,0,32768,0\n"
         "2,8388607,-1.1920929e-09,0,-1.25\n"},
        {"auxiliary alone", sdCsv(false, true), "index,code,volts\n1,32768,0\n2,0,-1.25\n"},
        {"none", sdCsv(false, false), "index,code,volts\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.csv, c.expected);
    }
}

TEST(SamplesCsv, ReadBack) {
    const std::vector<int32_t> codes{-5, 0, 2147483647, -2147483647 - 1};
    const std::vector<int32_t> aux{1, 2, 3, 4};
    const CsvChannel one{codes, [](int32_t c) { return std::optional<double>(c * 1e-6); }};
    const CsvChannel two{aux, {}};
    std::string crlf = SamplesCsv(one, &two);
    for (size_t at = crlf.find('\n'); at != std::string::npos; at = crlf.find('\n', at + 2))
        crlf.insert(at, "\r");
    const struct {
        const char* name;
        std::string text;
        bool hasAux;
        std::vector<int32_t> primary, aux;
    } cases[] = {
        {"one channel", SamplesCsv(one), false, codes, {}},
        {"two channels", SamplesCsv(one, &two), true, codes, aux},
        {"CRLF and blank lines", crlf + "\r\n\r\n", true, codes, aux},
        {"header only", "index,code,volts", false, {}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string error;
        const auto read = ReadSamplesCsv(c.text, &error);
        ASSERT_TRUE(read) << error;
        EXPECT_EQ(read->hasAux, c.hasAux);
        EXPECT_EQ(read->primary, c.primary);
        EXPECT_EQ(read->aux, c.aux);
    }
}

TEST(SamplesCsv, BadLinesAreNamed) {
    const struct {
        const char* text;
        const char* error;
    } cases[] = {
        {"index,code,volts\n1,12,\n2,12a,\n", "line 3: code '12a' is not an integer"},
        {"index,code,volts\n1,,0.5\n", "line 2: code '' is not an integer"},
        {"index,code,volts\n1,99999999999,\n", "line 2: code '99999999999' is not an integer"},
        {"index,code,volts\r\n1,12\r\n", "line 2: expected 3 fields, found 2"},
        {"index,code,volts\n1,1,\n3,1,\n", "line 3: index '3' where 2 was expected"},
        {"idx,code\n1,2\n", "line 1: unknown header 'idx,code'"},
        {"", "line 0: no header"},
    };
    for (const auto& c : cases) {
        std::string error;
        EXPECT_FALSE(ReadSamplesCsv(c.text, &error));
        EXPECT_EQ(error, c.error);
    }
}

}  // namespace
}  // namespace kelp::analysis
