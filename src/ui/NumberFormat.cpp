#include "ui/NumberFormat.h"

#include <QByteArray>

#include <unicode/numberformatter.h>

#include <array>
#include <cstdlib>
#include <map>
#include <tuple>

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

LocalizedNumberFormatter base(const char* category, int decimals) {
    return icu::number::NumberFormatter::withLocale(localeFor(category))
        .precision(icu::number::Precision::fixedFraction(decimals))
        .roundingMode(UNUM_ROUND_HALFEVEN);
}

icu::CurrencyUnit usDollars() {
    UErrorCode status = U_ZERO_ERROR;
    return {u"USD", status};
}

/// Empty when ICU has no answer.
QString format(const LocalizedNumberFormatter& formatter, double value) {
    UErrorCode status = U_ZERO_ERROR;
    const auto text = formatter.formatDouble(value, status).toString(status);
    if (U_FAILURE(status) != 0) {
        return {};
    }
    return QString::fromUtf16(text.getBuffer(), text.length());
}

/// What stands in when the formatter gives no result: C style, without grouping.
QString plain(double value, int decimals) {
    return QString::asprintf("%.*f", decimals, value);
}

} // namespace

QString NumberFormat::decimal(double value, int decimals) {
    static std::map<int, LocalizedNumberFormatter> formatters;
    auto entry = formatters.find(decimals);
    if (entry == formatters.end()) {
        entry = formatters.emplace(decimals, base("LC_NUMERIC", decimals)).first;
    }
    const auto text = format(entry->second, value);
    return text.isEmpty() ? plain(value, decimals) : text;
}

QString NumberFormat::dollars(double value, int decimals, Sign sign) {
    static std::map<std::pair<int, Sign>, LocalizedNumberFormatter> formatters;
    const auto key = std::pair(decimals, sign);
    auto entry = formatters.find(key);
    if (entry == formatters.end()) {
        entry = formatters
                    .emplace(key, base("LC_MONETARY", decimals)
                                      .unit(usDollars())
                                      .sign(sign == Sign::always ? UNUM_SIGN_ALWAYS : UNUM_SIGN_AUTO))
                    .first;
    }
    const auto text = format(entry->second, value);
    return text.isEmpty() ? u'$' + plain(value, decimals) : text;
}

} // namespace quillo
