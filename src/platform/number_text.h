#pragma once

#include <string>

namespace casebook {

/// The fewest digits that read back to `value`: without an exponent for 0 and magnitudes from 1e-5 up to 1e15, else
/// with one ("1e+15"); "nan", "inf", "-inf". Both zeros are "0". Independent of the locale.
std::string numberText(double value);

}  // namespace casebook
