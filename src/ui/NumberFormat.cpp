#include "ui/NumberFormat.h"

#include <QByteArray>

#include <unicode/numberformatter.h>

#include <array>
#include <cmath>
#include <map>
#include <utility>

namespace quillo {

namespace {

using icu::number::LocalizedNumberFormatter;

/// The locale that applies to `category`, as POSIX ranks the variables.
icu::Locale localeFor(const char* category) {
    for (const char* variable : {"LC_ALL", category, "LANG"}) {
        const QByteArray value = qgetenv(variable);
        if (value.isEmpty()) {
            continue;
        }
        const QByteArray name = value.left(value.indexOf('.') < 0 ? value.size() : value.indexOf('.'));
        if (name == "C" || name == "POSIX") {
            break;
        }
        return icu::Locale::createCanonical(value.constData());
    }
    return icu::Locale::getUS();
}

enum class Notation { decimal, dollars, signedDollars };

LocalizedNumberFormatter formatterOf(Notation notation, int decimals) {
    auto formatter = icu::number::NumberFormatter::with()
                         .precision(icu::number::Precision::fixedFraction(decimals))
                         .roundingMode(UNUM_ROUND_HALFEVEN);
    if (notation == Notation::decimal) {
        return formatter.locale(localeFor("LC_NUMERIC"));
    }
    UErrorCode status = U_ZERO_ERROR;
    return formatter.unit(icu::CurrencyUnit(u"USD", status))
        .sign(notation == Notation::signedDollars ? UNUM_SIGN_ALWAYS : UNUM_SIGN_AUTO)
        .locale(localeFor("LC_MONETARY"));
}

QString written(double value, Notation notation, int decimals) {
    static std::map<std::pair<Notation, int>, LocalizedNumberFormatter> formatters;
    const auto key = std::pair(notation, decimals);
    auto entry = formatters.find(key);
    if (entry == formatters.end()) {
        entry = formatters.emplace(key, formatterOf(notation, decimals)).first;
    }
    UErrorCode status = U_ZERO_ERROR;
    const auto text = entry->second.formatDouble(value, status).toString(status);
    if (U_FAILURE(status) != 0 || text.isEmpty()) {
        // As C writes it, without grouping.
        return QString::asprintf(notation == Notation::decimal ? "%.*f" : "$%.*f", decimals, value);
    }
    return QString::fromUtf16(text.getBuffer(), text.length());
}

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

QString shortened(double magnitude, bool negative, const char* letter) {
    const bool whole = magnitude == std::nearbyint(magnitude);
    // Nothing owed has no sign.
    const double value = negative && magnitude > 0 ? -magnitude : magnitude;
    return NumberFormat::decimal(value, whole ? 0 : 1) + QLatin1StringView(letter);
}

} // namespace

QString NumberFormat::decimal(double value, int decimals) {
    return written(value, Notation::decimal, decimals);
}

QString NumberFormat::dollars(double value, int decimals, Sign sign) {
    return written(value, sign == Sign::always ? Notation::signedDollars : Notation::dollars, decimals);
}

QString NumberFormat::shortDollars(double dollars) {
    const bool negative = dollars < 0;
    for (const auto& unit : units) {
        const double scaled = std::abs(dollars) / unit.size;
        const double magnitude = unit.size > 1 ? rounded(scaled) : std::nearbyint(scaled);
        if (magnitude < tooLarge) {
            return shortened(magnitude, negative, unit.letter);
        }
    }
    return shortened(tooLarge - 1, negative, units.back().letter) + u'+';
}

} // namespace quillo
