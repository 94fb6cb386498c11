// The number readers and text forms: typed numbers, shortest decimal forms, rounding, codes,
// and the readers of both evaluation windows built on them (sample counts, timing, SF,
// ranges, configuration messages).
//
// Input: texts and numbers taken in turn from the bytes.

#include <fuzzer/FuzzedDataProvider.h>

#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "fuzzing.h"
#include "link/hexreading.h"
#include "link/registerrules.h"
#include "link/textforms.h"
#include "sar/sarconfig.h"
#include "sigmadelta/sdconfig.h"

namespace {

using namespace kelp::link;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string withoutBlanks(const std::string& text) {
    std::string out;
    for (char c : text)
        if (!isBlank(c)) out += c;
    return out;
}

size_t significantDigits(const std::string& text) {
    size_t n = 0;
    bool leading = true;
    for (char c : text) {
        if (c == 'E') break;
        if (c < '0' || c > '9') continue;
        if (c != '0') leading = false;
        if (!leading) ++n;
    }
    return n;
}

void checkTypedText(const std::string& text) {
    const double v = leadingNumber(text);
    FUZZ_CHECK(std::isfinite(v));
    FUZZ_CHECK(leadingNumber(withoutBlanks(text)) == v);
    FUZZ_CHECK(leadingNumber(" \t" + text + "xyz") == v);

    // Both windows' sample counts: the checked text is a fixed point of the check, in range,
    // and the count a run asks for never exceeds what the stores hold.
    const std::string sar = kelp::sar::CheckNumSamples(text);
    FUZZ_CHECK(kelp::sar::CheckNumSamples(sar) == sar);
    FUZZ_CHECK(leadingNumber(sar) != 0 && leadingNumber(sar) <= kelp::sar::kMaxSamples);
    const int requested = kelp::sar::RequestedSamples(text);
    FUZZ_CHECK(requested >= 0 && requested <= kelp::sar::kMaxSamples);
    FUZZ_CHECK((requested == 0) == !(roundHalfEven(v) > 0));

    const std::string sd = kelp::sigmadelta::CheckNumSamples(text);
    FUZZ_CHECK(kelp::sigmadelta::CheckNumSamples(sd) == sd);
    FUZZ_CHECK(leadingNumber(sd) != 0 && leadingNumber(sd) <= kelp::sigmadelta::kMaxSamples);
    const auto sdRequested = kelp::sigmadelta::RequestedSamples(text);
    FUZZ_CHECK(sdRequested.has_value() == !(roundHalfEven(v) > kelp::sigmadelta::kMaxSamples));
    if (sdRequested) FUZZ_CHECK(*sdRequested >= 0 && *sdRequested <= kelp::sigmadelta::kMaxSamples);
    // A count the check let through is taken as it reads.
    if (leadingNumber(sd) > 0 && roundHalfEven(leadingNumber(sd)) == leadingNumber(sd))
        FUZZ_CHECK(kelp::sigmadelta::RequestedSamples(sd) == static_cast<int>(leadingNumber(sd)));

    // SF: an 8-bit value of at least 0D; the rate exists for every SF but 0.
    const std::string sf = kelp::sigmadelta::CheckSF(text);
    FUZZ_CHECK(registerByte(sf) >= 0x0D && registerByte(sf) == registerByte(Verify8bitSFR(sf)));
    FUZZ_CHECK(registerByte(kelp::sigmadelta::CheckSF(sf)) == registerByte(sf));
    if (registerByte(Verify8bitSFR(text)) >= 0x0D) FUZZ_CHECK(sf == Verify8bitSFR(text));
    const int sfByte = registerByte(Verify8bitSFR(text));
    for (const bool chopOff : {false, true}) {
        const std::string rate = kelp::sigmadelta::UpdateRateText(text, chopOff);
        FUZZ_CHECK(rate.empty() == (sfByte == 0));
        if (sfByte == 0) continue;
        const double expected = chopOff ? 4096.0 / sfByte : 4096.0 / (3.0 * sfByte);
        FUZZ_CHECK(std::fabs(leadingNumber(rate) - expected) <= 1e-13 * expected);
    }
}

void checkShortestForm(double d) {
    const std::string text = formatNumber(d);
    if (std::isnan(d)) {
        FUZZ_CHECK(text == "NaN");
        return;
    }
    if (std::isinf(d)) {
        FUZZ_CHECK(text == (d < 0 ? "-Infinity" : "Infinity"));
        return;
    }
    FUZZ_CHECK(significantDigits(text) <= 15);
    FUZZ_CHECK(text.find_first_not_of("0123456789.-E+") == std::string::npos);
    const double a = std::fabs(d);
    // Just below 1E15 the fifteenth digit rounds up to it.
    if (a >= 1e-5 && a < 999999999999999.5) FUZZ_CHECK(text.find('E') == std::string::npos);
    if (text.find('.') != std::string::npos && text.find('E') == std::string::npos)
        FUZZ_CHECK(text.back() != '0' && text.back() != '.');
    // Read back, the form is the value to 15 digits; a normal number with at most 15
    // significant digits comes back exactly, and the form of that is the same form.
    const double back = leadingNumber(text);
    // (Near the largest double the form rounds up past it and reads back as 0.)
    if (std::isnormal(d) && a < 1e300) {
        FUZZ_CHECK(std::fabs(back - d) <= 6e-15 * a);
        FUZZ_CHECK(formatNumber(back) == text);
        char fifteen[64];
        std::snprintf(fifteen, sizeof fifteen, "%.14e", d);
        const double exact = std::strtod(fifteen, nullptr);
        if (std::isnormal(exact)) FUZZ_CHECK(leadingNumber(formatNumber(exact)) == exact);
    }
}

// Whatever rounding mode is in force, ties go to even and the mode stays.
void checkRounding(double v, int decimals, int mode) {
    std::fesetround(mode);
    const double r = roundHalfEven(v, decimals);
    FUZZ_CHECK(std::fegetround() == mode);
    std::fesetround(FE_TONEAREST);
    if (!std::isfinite(v)) {
        FUZZ_CHECK(std::isnan(v) ? std::isnan(r) : r == v);
        return;
    }
    FUZZ_CHECK(std::isfinite(r));
    const double scale = std::pow(10.0, decimals);
    if (!(std::fabs(v * scale) < 4503599627370496.0)) {
        FUZZ_CHECK(r == v);
        return;
    }
    FUZZ_CHECK(std::fabs(r - v) <= 0.5 / scale + std::fabs(v) * 1e-15);
    if (decimals == 0) {
        FUZZ_CHECK(r == std::floor(r));
        if (std::fabs(r - v) == 0.5) FUZZ_CHECK(std::fmod(r, 2.0) == 0);
    }
}

// Codes of the run: 32-bit values. The middle code is (min + max) / 2, ties to even.
void checkCodes(int32_t a, int32_t b) {
    const int64_t sum = int64_t{a} + b;
    int64_t middle = sum / 2;
    if (sum % 2 != 0) {
        const int64_t lower = sum < 0 ? middle - 1 : middle;
        middle = lower % 2 == 0 ? lower : lower + 1;
    }
    const std::string text = MiddleCode(a, b);
    FUZZ_CHECK(std::strtoull(text.c_str(), nullptr, 16) == static_cast<uint32_t>(middle));
    FUZZ_CHECK(std::strtoull(HexCode(a).c_str(), nullptr, 16) == static_cast<uint32_t>(a));
    FUZZ_CHECK(std::strtoll(DecimalText(a).c_str(), nullptr, 10) == a);
}

void checkWindows(FuzzedDataProvider& in) {
    // SAR timing: a divider entry's number, and figures that read back as they are shown.
    const int divider = in.ConsumeIntegralInRange(1, 99);
    const std::string entry = "Mclk /" + std::to_string(divider) + (divider < 10 ? " " : "");
    FUZZ_CHECK(kelp::sar::DividerOfEntry(entry) == divider);
    const int acq = in.ConsumeIntegral<int>();
    const std::string clock = in.ConsumeRandomLengthString(24);
    const std::string anyEntry = in.ConsumeRandomLengthString(12);
    for (const std::string* e : {&entry, &anyEntry}) {
        const auto f = kelp::sar::ComputeTimingFigures(acq, clock, *e);
        const bool computable = leadingNumber(clock) > 0 && kelp::sar::DividerOfEntry(*e) > 0;
        if (!computable) FUZZ_CHECK(!f);
        if (!f) continue;
        FUZZ_CHECK(f->conversionTime > 0 && std::isfinite(f->conversionTime));
        FUZZ_CHECK(std::isfinite(f->frequency) && f->frequency == 1000.0 / f->conversionTime);
        const double thousandths = f->conversionTime * 1000;
        if (thousandths < 1e12 && thousandths >= 1)
            FUZZ_CHECK(std::fabs(thousandths - std::round(thousandths)) <= 1e-12 * thousandths);
        for (const auto& [text, value] : {std::pair{f->conversionTimeText, f->conversionTime},
                                          std::pair{f->frequencyText, f->frequency}}) {
            if (value < 1e300) FUZZ_CHECK(std::fabs(leadingNumber(text) - value) <= 6e-15 * value);
        }
    }
    FUZZ_CHECK(kelp::sar::ClocksPerConversion(acq) >= 17 &&
               kelp::sar::ClocksPerConversion(acq) <= 20);

    // Range entries: eight, each twice the one before, in mV below one volt.
    const int pm = in.ConsumeIntegralInRange(-1, 2), pref = in.ConsumeIntegralInRange(-1, 3);
    const double vref = in.ConsumeFloatingPointInRange(0.001, 100.0);
    const auto entries = kelp::sigmadelta::PrimaryRangeEntries(pm, pref, formatNumber(vref));
    double previous = 0;
    for (const std::string& e : entries) {
        const std::string prefix = pm == 1 ? "0 to " : "+/- ";
        FUZZ_CHECK(e.starts_with(prefix));
        const bool volts = e.ends_with("V") && !e.ends_with("mV");
        const double value = leadingNumber(e.substr(prefix.size())) * (volts ? 1000 : 1);
        FUZZ_CHECK(volts ? value >= 1000 * (1 - 1e-12) : value <= 1000 * (1 + 1e-12));
        if (previous > 0) FUZZ_CHECK(std::fabs(value - 2 * previous) <= 1e-9 * value);
        previous = value;
    }

    // The configuration messages keep their length whatever the lists and boxes hold.
    kelp::sar::SarConfiguration sar;
    sar.model = in.ConsumeBool() ? "Zylo510" : "Zylo570";
    sar.adc = {in.ConsumeBool(), in.ConsumeIntegral<int>(), in.ConsumeIntegral<int>(),
               in.ConsumeIntegral<int>()};
    sar.channel = in.ConsumeIntegral<int>();
    sar.dac = {in.ConsumeBool(), in.ConsumeIntegral<int>(), in.ConsumeBool(),
               in.ConsumeIntegral<int>()};
    sar.dac0Data = in.ConsumeRandomLengthString(10);
    const std::string sarMessage = kelp::sar::ConfigurationMessage(sar);
    FUZZ_CHECK(sarMessage.size() == kelp::sar::kConfigurationMessageLength && sarMessage[0] == 'C');
    FUZZ_CHECK(sarMessage.substr(5, 2) == WordBytes(sar.dac0Data));

    kelp::sigmadelta::SdConfiguration sd;
    for (int* list : {&sd.PM, &sd.PRef, &sd.PCh, &sd.PR, &sd.AM, &sd.ARef, &sd.ACh, &sd.BUF,
                      &sd.I1PIN, &sd.I2PIN, &sd.DRANGE, &sd.DPIN})
        *list = in.ConsumeIntegral<int>();
    sd.SF = in.ConsumeRandomLengthString(10);
    sd.DACData = in.ConsumeRandomLengthString(10);
    for (const bool group : {false, true}) {
        const std::string m = kelp::sigmadelta::ConfigurationMessage(sd, group);
        FUZZ_CHECK(m.size() == kelp::sigmadelta::kConfigurationMessageLength && m[0] == 'C');
        const size_t sfAt = group ? 5 : 4;
        FUZZ_CHECK(static_cast<uint8_t>(m[sfAt]) == registerByte(Verify8bitSFR(sd.SF)));
        FUZZ_CHECK(m.substr(sfAt + 3, 2) == WordBytes(sd.DACData));
        if (!group) FUZZ_CHECK(m.back() == '\0');
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    checkTypedText(in.ConsumeRandomLengthString(64));
    const double d = in.ConsumeFloatingPoint<double>();
    checkShortestForm(d);
    checkShortestForm(in.ConsumeFloatingPointInRange(-1e6, 1e6));
    const int decimals = in.ConsumeIntegralInRange(0, 6);
    const int modes[] = {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};
    const int mode = modes[in.ConsumeIntegralInRange(0, 3)];
    checkRounding(d, decimals, mode);
    checkRounding(in.ConsumeIntegralInRange(-4000, 4000) / 8.0, decimals, mode);
    checkCodes(in.ConsumeIntegral<int32_t>(), in.ConsumeIntegral<int32_t>());
    checkWindows(in);
    checkTypedText(in.ConsumeRemainingBytesAsString());
    return 0;
}
