#pragma once

#include "model/Timeline.h"

#include <vector>

namespace quillo::test {

/// A line with what a test says about it.
struct Line {
    QString date = QStringLiteral("2024-05-01");
    QString merchant = QStringLiteral("Shop");
    double amount = 1;
    double balance = 0;
    bool isPending = false;
    bool isSynthetic = false;
    Text id = {};
};

/// What can be published and shown.
[[nodiscard]] inline Ledger published(Timeline ledger) {
    return std::make_shared<const Timeline>(std::move(ledger));
}

[[nodiscard]] inline Timeline ledgerOf(const std::vector<Line>& lines) {
    Timeline ledger;
    for (const auto& line : lines) {
        Transaction transaction;
        transaction.txnId = line.id;
        transaction.date = line.date;
        transaction.merchant = Text(line.merchant);
        transaction.amount = line.amount;
        transaction.runningBalance = line.balance;
        transaction.pending = line.isPending ? 1 : 0;
        transaction.synthetic = line.isSynthetic;
        ledger.transactions.push_back(transaction);
    }
    return ledger;
}

/// A ledger of so many lines; merchants are "Merchant 0" and so on, dates fall.
[[nodiscard]] inline Timeline ledgerOfLength(int count) {
    std::vector<Line> lines;
    lines.reserve(static_cast<std::size_t>(count));
    for (int number = 0; number < count; ++number) {
        lines.push_back({.date = QStringLiteral("20%1-01-01").arg(99 - number * 90 / count),
                         .merchant = QStringLiteral("Merchant %1").arg(number),
                         .amount = number + 0.5});
    }
    return ledgerOf(lines);
}

} // namespace quillo::test
