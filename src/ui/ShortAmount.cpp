#include "ui/ShortAmount.h"

#include "ui/NumberFormat.h"

#include <array>
#include <cmath>

namespace quillo {

namespace {

struct Unit {
    double size;
    const char* letter;
};

constexpr std::array units{Unit{1, ""}, Unit{1e3, "k"}, Unit{1e6, "M"}, Unit{1e9, "B"}, Unit{1e12, "T"}};
constexpr double tooLarge = 1000;

/// Rounded to what is shown: a tenth where one digit stands before it, else a whole number.
double rounded(double value) {
    const double tenths = std::nearbyint(value * 10);
    return tenths < 100 ? tenths / 10 : std::nearbyint(value);
}

QString written(double magnitude, bool negative, const char* letter) {
    const bool whole = magnitude == std::nearbyint(magnitude);
    // Nothing owed has no sign.
    const double value = negative && magnitude > 0 ? -magnitude : magnitude;
    return NumberFormat::decimal(value, whole ? 0 : 1) + QLatin1StringView(letter);
}

} // namespace

QString shortAmount(double dollars) {
    const bool negative = dollars < 0;
    for (const auto& unit : units) {
        const double scaled = std::abs(dollars) / unit.size;
        const double magnitude = unit.size > 1 ? rounded(scaled) : std::nearbyint(scaled);
        if (magnitude < tooLarge) {
            return written(magnitude, negative, unit.letter);
        }
    }
    return written(tooLarge - 1, negative, units.back().letter) + u'+';
}

} // namespace quillo
