#pragma once

#include <QWidget>

class QLabel;

namespace quillo {

class AppStore;
class LedgerBanner;
class Spinner;
struct Timeline;

/// The top of the ledger: what is wrong or unusual, the totals, the credit that is left. Without a ledger it
/// shows the error, or that one is being fetched.
class LedgerHeader final : public QWidget {
    Q_OBJECT
public:
    /// Takes the store from the environment.
    explicit LedgerHeader(QWidget* parent = nullptr);

    /// Shows what the store holds now.
    void render();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    void backToLiveRequested();

private:
    void renderBanners();
    void renderTotals(const Timeline& ledger);
    void renderAbsence();
    void layOutTotals();
    void fitFigures();

    AppStore& store;
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
