#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kelp::link {

// Rounds to the given number of decimals; a tie goes to the even neighbour.
double roundHalfEven(double value, int decimals = 0);

// Shortest decimal form with up to 15 significant digits: no trailing zeros, a point as the
// decimal separator, no exponent between 1E-5 and 1E15.
std::string formatNumber(double value);

// The value rounded (ties to even) and written in the shortest form: 0.7349, 3 -> "0.735".
std::string FormatRounded(double value, int decimals);

// Upper-case hexadecimal without prefix or leading zeros: 2047 -> "7FF".
std::string HexCode(int64_t code);

// (min + max) / 2 rounded to an integer, ties to even, written as a code.
std::string MiddleCode(int64_t minCode, int64_t maxCode);

// Decimal integer with a leading minus sign when negative.
std::string DecimalText(int64_t value);

// The leading decimal number of a typed text: blanks are skipped, an optional sign, digits,
// a point as decimal separator and an exponent; a text without a number reads 0.
double leadingNumber(std::string_view text);

}  // namespace kelp::link
