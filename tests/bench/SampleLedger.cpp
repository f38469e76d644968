#include "SampleLedger.h"

#include <QDate>

#include <random>

namespace quillo::bench {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int days = 730;
constexpr int fewDescriptions = 300;
constexpr int cents = 100;

Text merchant(int number) {
    return number % 10 == 0 ? u"Corner Café %1"_s.arg(number) : u"Corner Hardware %1"_s.arg(number);
}

Text bankName(int number) {
    return u"CORNER 00%1 SAN FRANCISCO CA"_s.arg(number);
}

} // namespace

Timeline sampleLedger(int lines, Descriptions descriptions) {
    const QDate lastDay(2024, 5, 1);
    std::vector<QString> dates;
    for (int day = 0; day < days; ++day) {
        dates.push_back(lastDay.addDays(-day).toString(Qt::ISODate));
    }
    const int different = descriptions == Descriptions::few ? std::min(lines, fewDescriptions) : lines;
    std::vector<Text> merchants;
    std::vector<Text> names;
    for (int number = 0; number < different; ++number) {
        merchants.push_back(merchant(number));
        names.push_back(bankName(number));
    }
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp,cert-msc32-c): the same ledger every time
    Timeline ledger{.totalOwed = 1234.56, .pendingHolds = 20, .creditLimit = 5000, .asOf = dates.front()};
    ledger.transactions.reserve(static_cast<std::size_t>(lines));
    for (int line = 0; line < lines; ++line) {
        const auto number = descriptions == Descriptions::few ? random() % static_cast<unsigned>(different)
                                                              : static_cast<unsigned>(line);
        ledger.transactions.push_back({
            .txnId = u"transaction-%1"_s.arg(line),
            .date = dates[static_cast<std::size_t>(qint64{line} * days / lines)],
            .amount = (static_cast<double>(random() % 20'000) - 2000) / cents,
            .merchant = merchants[number],
            .name = names[number],
            .pending = line < 5 ? 1 : 0,
            .runningBalance = static_cast<double>(random() % 300'000) / cents,
            .accountMask = {},
        });
    }
    return ledger;
}

} // namespace quillo::bench
