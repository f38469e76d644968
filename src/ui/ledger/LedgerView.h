#pragma once

#include "core/Signal.h"
#include "core/TaskScope.h"
#include "model/SnapshotSummary.h"
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
    void select(const std::optional<QString>& date);

    AppStore& store;
    Spinner* spinner;
    QToolButton* pullUpdates;
    QToolButton* pullFromBank;
    QComboBox* snapshotPicker;
    QLineEdit* search;
    LedgerHeader* header;
    LedgerTable* table;
    bool ledgerChanged = true;
    std::vector<SnapshotSummary> listedSnapshots;
    TaskScope loading;
    std::vector<Observation> ledgerObservations;
    ViewUpdates updates;
};

} // namespace quillo
