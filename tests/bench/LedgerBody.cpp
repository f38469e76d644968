#include "LedgerBody.h"

#include <QDate>

#include <random>
#include <string>

namespace quillo::bench {
namespace {

constexpr int merchants = 300;
constexpr int days = 730;

[[nodiscard]] std::string transactionId(std::mt19937& random) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    constexpr int length = 37;
    std::string id;
    for (int i = 0; i < length; ++i) {
        id += letters[random() % letters.size()];
    }
    return id;
}

[[nodiscard]] QByteArray amount(int cents) {
    return QByteArray::number(cents / 100.0, 'f', 2);
}

} // namespace

QByteArray ledgerBody(int lines) {
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp,cert-msc32-c): the same ledger every time
    const QDate lastDay(2024, 5, 1);
    QByteArray body = R"({"total_owed": 1234.56, "pending_holds": 20.0, "total_with_pending": 1254.56, )"
                      R"("credit_limit": 5000, "available": 3745.44, "transactions": [)";
    for (int line = 0; line < lines; ++line) {
        const auto merchant = static_cast<int>(random() % merchants);
        const qint64 daysBack = qint64{line} * days / lines;
        body += line == 0 ? "" : ", ";
        body += R"({"txn_id": ")" + transactionId(random) + R"(", "date": ")";
        body += lastDay.addDays(-daysBack).toString(Qt::ISODate).toLatin1();
        body += R"(", "amount": )" + amount(static_cast<int>(random() % 20'000) - 2000);
        body += R"(, "merchant": "Corner Café )" + QByteArray::number(merchant);
        body += R"(", "name": "CORNER CAFE )" + QByteArray::number(merchant) + R"( SAN FRANCISCO CA")";
        body += R"(, "pending": )" + QByteArray::number(line < 5 ? 1 : 0);
        body += R"(, "running_balance": )" + amount(static_cast<int>(random() % 300'000));
        body += R"(, "synthetic": false, "account_mask": "4821", "note": null})";
    }
    return body + R"(], "as_of": "2024-05-01T08:00:00Z"})";
}

} // namespace quillo::bench
