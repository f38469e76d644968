#include "model/Transaction.h"

#include <QHashFunctions>
#include <QLatin1StringView>

#include <algorithm>
#include <array>
#include <charconv>

namespace quillo {
namespace {

using namespace Qt::Literals::StringLiterals;

/// 19.99, -42.0, 10000000000000000.0: never an exponent, whatever the locale.
[[nodiscard]] QString decimalText(double amount) {
    constexpr std::size_t longest = 400; // the smallest double has 326 characters, the largest 309
    std::array<char, longest> characters{};
    const double withoutNegativeZero = amount + 0.0; // equal amounts are written alike
    char* end = std::to_chars(characters.data(), characters.data() + characters.size(), withoutNegativeZero,
                              std::chars_format::fixed)
                    .ptr;
    if (std::find(characters.data(), end, '.') == end) {
        *end++ = '.';
        *end++ = '0';
    }
    return QString::fromLatin1(characters.data(), end - characters.data());
}

} // namespace

QString Transaction::id() const {
    if (txnId) {
        return *txnId;
    }
    const QString label = merchant ? *merchant : name.value_or(QString());
    return date + u'-' + label + u'-' + decimalText(amount);
}

QString Transaction::display() const {
    return merchant ? *merchant : name.value_or(u"charge"_s);
}

std::size_t qHash(const Transaction& transaction, std::size_t seed) noexcept {
    return qHashMulti(seed, transaction.txnId, transaction.date, transaction.amount, transaction.merchant,
                      transaction.name, transaction.pending.has_value(), transaction.pending.value_or(0),
                      transaction.runningBalance, transaction.synthetic.has_value(),
                      transaction.synthetic.value_or(false), transaction.accountMask, transaction.note);
}

} // namespace quillo
