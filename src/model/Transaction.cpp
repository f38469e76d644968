#include "model/Transaction.h"

#include <QHashFunctions>
#include <QLocale>

namespace quillo {
namespace {

using namespace Qt::Literals::StringLiterals;

/// 19.99, -42.0, 10000000000000000.0: never an exponent, whatever the locale.
[[nodiscard]] QString decimalText(double amount) {
    const double withoutNegativeZero = amount + 0.0; // equal amounts are written alike
    const auto digits = QString::number(withoutNegativeZero, 'f', QLocale::FloatingPointShortest);
    return digits.contains(u'.') ? digits : digits + u".0"_s;
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
