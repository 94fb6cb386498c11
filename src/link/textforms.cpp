#include "link/textforms.h"

#include <cctype>
#include <cfenv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "link/hexreading.h"

namespace kelp::link {

double roundHalfEven(double value, int decimals) {
    if (!std::isfinite(value)) return value;
    const double scale = std::pow(10.0, decimals);
    const double scaled = value * scale;
    // From 2^52 on a double has no fraction left to round; scaling back would only add error.
    if (!std::isfinite(scaled) || std::fabs(scaled) >= 4503599627370496.0) return value;
    // nearbyint rounds in the current mode, which is to-nearest-even unless someone changed it.
    const int saved = std::fegetround();
    std::fesetround(FE_TONEAREST);
    const double r = std::nearbyint(scaled);
    std::fesetround(saved);
    return r / scale;
}

std::string formatNumber(double value) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value < 0 ? "-Infinity" : "Infinity";
    if (value == 0) return "0";
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.14E", value);  // 15 significant digits
    // buf: [-]D.DDDDDDDDDDDDDDE[+-]XX
    std::string s(buf);
    const bool negative = s[0] == '-';
    if (negative) s.erase(0, 1);
    const size_t e = s.find('E');
    const int exponent = std::atoi(s.c_str() + e + 1);
    std::string digits = s.substr(0, 1) + s.substr(2, e - 2);
    while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
    std::string out;
    if (exponent >= 15 || exponent < -5) {
        out = digits.substr(0, 1);
        if (digits.size() > 1) out += "." + digits.substr(1);
        char ex[16];
        std::snprintf(ex, sizeof ex, "E%+03d", exponent);
        out += ex;
    } else if (exponent < 0) {
        out = "0." + std::string(static_cast<size_t>(-exponent - 1), '0') + digits;
    } else {
        const size_t intDigits = static_cast<size_t>(exponent) + 1;
        if (digits.size() <= intDigits) {
            out = digits + std::string(intDigits - digits.size(), '0');
        } else {
            out = digits.substr(0, intDigits) + "." + digits.substr(intDigits);
        }
    }
    return negative ? "-" + out : out;
}

std::string FormatRounded(double value, int decimals) {
    return formatNumber(roundHalfEven(value, decimals));
}

std::string HexCode(int64_t code) { return link::toHex(code); }

std::string MiddleCode(int64_t minCode, int64_t maxCode) {
    const double middle = (static_cast<double>(minCode) + static_cast<double>(maxCode)) / 2.0;
    return HexCode(static_cast<int64_t>(roundHalfEven(middle)));
}

std::string DecimalText(int64_t value) { return std::to_string(value); }

double leadingNumber(std::string_view text) {
    std::string compact;
    for (char c : text)
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r') compact += c;
    size_t i = 0;
    std::string number;
    if (i < compact.size() && (compact[i] == '+' || compact[i] == '-')) number += compact[i++];
    bool anyDigit = false;
    while (i < compact.size() && std::isdigit(static_cast<unsigned char>(compact[i]))) {
        number += compact[i++];
        anyDigit = true;
    }
    if (i < compact.size() && compact[i] == '.') {
        number += compact[i++];
        while (i < compact.size() && std::isdigit(static_cast<unsigned char>(compact[i]))) {
            number += compact[i++];
            anyDigit = true;
        }
    }
    if (!anyDigit) return 0.0;
    if (i < compact.size() && (compact[i] == 'E' || compact[i] == 'e')) {
        size_t j = i + 1;
        std::string ex = "e";
        if (j < compact.size() && (compact[j] == '+' || compact[j] == '-')) ex += compact[j++];
        bool exDigit = false;
        while (j < compact.size() && std::isdigit(static_cast<unsigned char>(compact[j]))) {
            ex += compact[j++];
            exDigit = true;
        }
        if (exDigit) number += ex;
    }
    const double v = std::strtod(number.c_str(), nullptr);
    return std::isfinite(v) ? v : 0.0;
}

}  // namespace kelp::link
