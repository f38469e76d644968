#pragma once

#include "core/Task.h"
#include "core/TaskScope.h"
#include "store/AppState.h"

#include <QWidget>

#include <functional>
#include <optional>

class QComboBox;
class QLineEdit;
class QToolButton;

namespace quillo {

class LedgerHeader;
class LedgerTable;
class SnapshotList;
class Spinner;

/// What the ledger window has done.
struct LedgerActions {
    std::function<void()> pullUpdates;
    std::function<void()> pullFromBank;
    std::function<void()> openReconnect;
    std::function<Task<>()> loadSnapshots;                    ///< the list of days
    std::function<void(std::optional<QString>)> loadSnapshot; ///< one day; without a date, back to live
};

/// The content of the ledger window: toolbar, header, table. The search, the order and the picker's choice
/// are its own and new with each view.
class LedgerView final : public QWidget {
    Q_OBJECT
public:
    explicit LedgerView(LedgerActions actions, QWidget* parent = nullptr);

    /// The table takes its time with a large ledger; until it is ready the header stays with the one before,
    /// so that figures and lines are always of one ledger.
    void render(const AppState& state);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    [[nodiscard]] QWidget* makeToolbar();
    [[nodiscard]] QToolButton* makeButton(const QString& title, const QString& symbol, const QString& help);
    void connectControls();
    void addShortcuts();
    void colourButtons();
    void renderHeader();
    void renderSpinner();
    void renderSnapshots();
    void select(const std::optional<QString>& date);

    LedgerActions actions;
    Spinner* spinner;
    QToolButton* pullUpdates;
    QToolButton* pullFromBank;
    SnapshotList* snapshots;
    QComboBox* snapshotPicker;
    QLineEdit* search;
    LedgerHeader* header;
    LedgerTable* table;
    AppState state;                           ///< the latest
    Ledger shownLive;                         ///< what of it the header shows:
    std::optional<Day> shownDay;              ///< that with the table's ledger
    std::optional<QString> snapshotSelection; ///< the picker's choice; absent for "Live"
    TaskScope loading;
};

} // namespace quillo
