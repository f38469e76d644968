#pragma once

#include "ui/ledger/LedgerHeaderContent.h"

#include <QWidget>

class QLabel;

namespace quillo {

class LedgerBanner;
class Spinner;

/// The top of the ledger window: shows a `LedgerHeaderContent`.
class LedgerHeader final : public QWidget {
    Q_OBJECT
public:
    explicit LedgerHeader(QWidget* parent = nullptr);

    void setContent(const LedgerHeaderContent& content);

protected:
    void resizeEvent(QResizeEvent* event) override;

Q_SIGNALS:
    void backToLiveRequested();
    void reconnectRequested();

private:
    void showTotals(const LedgerTotals& figures);
    void layOutTotals();
    void fitFigures();

    LedgerBanner* snapshotBanner;
    LedgerBanner* linkBanner;
    QWidget* totals;
    QLabel* caption;
    QLabel* posted;
    QLabel* plus;
    QLabel* pending;
    QLabel* pendingWord;
    QLabel* equals;
    QLabel* total;
    QLabel* cardSymbol;
    QLabel* available;
    QLabel* asOf;
    LedgerBanner* error;
    Spinner* spinner;
};

} // namespace quillo
