#pragma once

#include "core/Signal.h"
#include "core/TaskScope.h"
#include "model/Timeline.h"
#include "ui/ViewUpdates.h"

#include <QWidget>

#include <optional>
#include <vector>

class QComboBox;
class QLineEdit;
class QToolButton;

namespace quillo {

class AppStore;
class LedgerHeader;
class LedgerTable;
class SnapshotList;
class Spinner;

/// The content of the ledger window: toolbar, header, table. What it shows comes from the store's visible
/// ledger; the search, the order and the picker's choice are its own and new with each view.
class LedgerView final : public QWidget {
    Q_OBJECT
public:
    /// Takes the store from the environment.
    explicit LedgerView(QWidget* parent = nullptr);
    ~LedgerView() override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    [[nodiscard]] QWidget* makeToolbar();
    [[nodiscard]] QToolButton* makeButton(const QString& title, const QString& symbol, const QString& help);
    void addShortcuts();
    void colourButtons();
    void render();
    void renderSnapshots();
    void observeLedgers();
    void noteLedger(const std::optional<Timeline>& shown, const std::optional<Timeline>& next);
    void noteLedgerChange();
    void select(const std::optional<QString>& date);

    AppStore& store;
    Spinner* spinner;
    QToolButton* pullUpdates;
    QToolButton* pullFromBank;
    SnapshotList* snapshots;
    QComboBox* snapshotPicker;
    QLineEdit* search;
    LedgerHeader* header;
    LedgerTable* table;
    bool ledgerChanged = true;
    std::optional<QString> snapshotSelection; ///< the picker's choice; absent for "Live"
    TaskScope loading;
    std::vector<Observation> ledgerObservations;
    ViewUpdates updates;
};

} // namespace quillo
