#include "ui/ledger/LedgerView.h"

#include "platform/symbols/Symbols.h"
#include "ui/Colours.h"
#include "ui/Controls.h"
#include "ui/Spinner.h"
#include "ui/ledger/LedgerHeader.h"
#include "ui/ledger/LedgerTable.h"
#include "ui/ledger/SnapshotList.h"

#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QListView>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int buttonSymbolSize = 16;
constexpr int searchWidth = 220;

/// Room for a date and an amount of four digits.
constexpr int pickerLetters = 17;

} // namespace

LedgerView::LedgerView(LedgerActions whatToDo, QWidget* parent)
    : QWidget(parent),
      actions(std::move(whatToDo)),
      spinner(new Spinner(buttonSymbolSize, this)),
      pullUpdates(makeButton(u"Pull updates"_s, u"arrow.clockwise"_s,
                             u"Fast + free. Re-reads Plaid's cached copy of your bank data."_s)),
      pullFromBank(
          makeButton(u"Pull from bank"_s, u"building.columns"_s,
                     u"Slow (~30s–2min). Asks Plaid to re-pull from your bank. Rate-limited + metered."_s)),
      snapshots(new SnapshotList(this)),
      snapshotPicker(new Picker(this)),
      search(new QLineEdit(this)),
      header(new LedgerHeader(this)),
      table(new LedgerTable(this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeToolbar());
    column->addWidget(header);
    column->addWidget(table, 1);
    connectControls();
    addShortcuts();
    colourButtons();
    render({});
}

void LedgerView::connectControls() {
    connect(pullUpdates, &QToolButton::clicked, this, actions.pullUpdates);
    connect(pullFromBank, &QToolButton::clicked, this, actions.pullFromBank);
    connect(snapshotPicker, &QComboBox::activated, this,
            [this](int entry) { select(snapshots->date(entry)); });
    connect(header, &LedgerHeader::reconnectRequested, this, actions.openReconnect);
    connect(header, &LedgerHeader::backToLiveRequested, this, [this] {
        snapshotPicker->setCurrentIndex(0);
        select(std::nullopt);
    });
    connect(search, &QLineEdit::textChanged, table, &LedgerTable::setSearch);
    connect(table, &LedgerTable::ledgerShown, this, [this] { renderHeader(); });
    connect(table, &LedgerTable::preparingChanged, this, [this] { renderSpinner(); });
}

QWidget* LedgerView::makeToolbar() {
    snapshotPicker->setToolTip(
        u"Switch between the live ledger and any daily snapshot from the past 90 days."_s);
    snapshotPicker->setAccessibleDescription(u"Snapshot"_s);
    // Its width does not depend on its entries, so that none of them has to be measured.
    snapshotPicker->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    snapshotPicker->setMinimumContentsLength(pickerLetters);
    snapshotPicker->setMaxVisibleItems(20);
    if (auto* list = qobject_cast<QListView*>(snapshotPicker->view())) {
        list->setUniformItemSizes(true);
    }
    snapshotPicker->setModel(snapshots);
    search->setPlaceholderText(u"Filter merchants"_s);
    search->setAccessibleName(u"Filter merchants"_s);
    search->setClearButtonEnabled(true);
    search->setMinimumWidth(searchWidth);

    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(12, 8, 12, 0);
    row->setSpacing(8);
    row->addWidget(search);
    row->addStretch(1);
    // Comes and goes at the end of the free room, so that the buttons stay where they are.
    row->addWidget(spinner);
    row->addWidget(pullUpdates);
    row->addWidget(pullFromBank);
    row->addWidget(snapshotPicker);
    QWidget* before = search;
    for (auto* control : std::initializer_list<QWidget*>{pullUpdates, pullFromBank, snapshotPicker, table}) {
        setTabOrder(before, control);
        before = control;
    }
    return bar;
}

QToolButton* LedgerView::makeButton(const QString& title, const QString& symbol, const QString& help) {
    auto* button = new QToolButton(this);
    button->setText(title);
    button->setToolTip(help);
    button->setAccessibleDescription(help);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setProperty("symbol", symbol);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

void LedgerView::colourButtons() {
    for (auto* button : {pullUpdates, pullFromBank}) {
        button->setIcon(symbolIcon(button->property("symbol").toString(), buttonSymbolSize,
                                   palette().color(QPalette::ButtonText), devicePixelRatioF()));
    }
    // Not every theme states a colour for prompts, and then they cannot be read on a dark one.
    auto prompt = palette();
    prompt.setColor(QPalette::PlaceholderText, Colours::on(palette()).prompt);
    search->setPalette(prompt);
}

void LedgerView::addShortcuts() {
    auto* find = new QShortcut(QKeySequence::Find, this);
    connect(find, &QShortcut::activated, this, [this] {
        search->setFocus(Qt::ShortcutFocusReason);
        search->selectAll();
    });
    auto* clear = new QShortcut(Qt::Key_Escape, this);
    connect(clear, &QShortcut::activated, this, [this] {
        search->clear();
        table->setFocus(Qt::ShortcutFocusReason);
    });
}

void LedgerView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    loading.spawn(actions.loadSnapshots());
    if (!event->spontaneous()) {
        table->setFocus();
    }
}

void LedgerView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    loading.cancelAll();
}

void LedgerView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        colourButtons();
    }
}

void LedgerView::select(const std::optional<QString>& date) {
    snapshotSelection = date;
    actions.loadSnapshot(date);
}

void LedgerView::render(const AppState& latest) {
    state = latest;
    renderSnapshots();
    table->setLedger(state.visible());
    renderHeader();
    renderSpinner();
}

void LedgerView::renderHeader() {
    if (table->ledger() == state.visible()) {
        shownLive = state.live;
        shownDay = state.day;
    }
    auto shown = state;
    shown.live = shownLive;
    shown.day = shownDay;
    header->setContent(LedgerHeaderContent::of(shown));
    pullUpdates->setEnabled(!shown.day);
    pullFromBank->setEnabled(!shown.day);
}

void LedgerView::renderSpinner() {
    spinner->setVisible(state.isLoading || table->isPreparing());
}

void LedgerView::renderSnapshots() {
    if (state.days == snapshots->days()) {
        return;
    }
    snapshots->setDays(state.days);
    // A day that is no longer offered leaves the picker without a choice; what is shown does not change.
    snapshotPicker->setCurrentIndex(snapshots->entryOf(snapshotSelection));
}

} // namespace quillo
