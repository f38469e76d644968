#include "store/StoreFixture.h"
#include "support/Wait.h"
#include "ui/ViewUpdates.h"
#include "ui/ledger/LedgerLines.h"
#include "ui/ledger/LedgerTable.h"
#include "ui/ledger/LedgerView.h"
#include "ui/ledger/VisibleWidgets.h"

#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QTest>

#include <functional>
#include <random>
#include <vector>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int rounds = 4'000;

/// Larger than what is prepared at once.
constexpr int largeLedger = 6'000;

/// The ledger window's content over a store, opened and closed at will.
class Window {
public:
    explicit Window(AppStore& shownStore) : store(shownStore) { open(); }

    void open() {
        view = std::make_unique<LedgerView>(LedgerActions{
            .pullUpdates = [] {},
            .pullFromBank = [] {},
            .openReconnect = [] {},
            .loadSnapshots = [this] { return store.loadSnapshots(); },
            .loadSnapshot = [this](auto date) { store.start(store.loadSnapshot(std::move(date))); },
        });
        new ViewUpdates(
            store, [shown = view.get()](const AppState& state) { shown->render(state); }, view.get());
        view->resize(700, 400);
        view->show();
    }

    void close() { view.reset(); }
    [[nodiscard]] bool isOpen() const { return view != nullptr; }
    [[nodiscard]] LedgerTable& table() const { return *view->findChild<LedgerTable*>(); }
    [[nodiscard]] LedgerView& widget() const { return *view; }

private:
    AppStore& store;
    std::unique_ptr<LedgerView> view;
};

} // namespace

/// Two inputs that share a turn of the loop, thousands of times: what one of them lets go the other may be
/// about to read. A sanitizer tells when it does.
class LedgerPairsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { leaveSessionBus(); }

    void noTwoInputsOfOneTurnReadWhatIsGone() {
        StoreFixture fixture;
        auto& store = fixture.start();
        fixture.waitUntilSettled();
        Window window(store);
        std::mt19937 random(20'241'121);
        const auto any = [&random](int count) {
            return static_cast<int>(random() % static_cast<unsigned>(count));
        };
        const auto someLedger = [&] {
            return published(ledgerOfLength(any(40) == 0 ? largeLedger : any(60)));
        };
        const std::vector<std::function<void()>> inputs{
            [&] { store.timeline = someLedger(); },
            [&] { store.timeline = nullptr; },
            [&] { store.selectedDay = Day{.date = u"2024-04-30"_s, .ledger = someLedger()}; },
            [&] {
                if (auto* back = visibleButton(window.widget(), u"Back to live"_s)) {
                    back->click();
                }
            },
            [&] {
                auto* header = window.table().horizontalHeader();
                QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                                  {header->sectionViewportPosition(any(4)) + 20, 8});
            },
            [&] {
                window.widget().findChild<QLineEdit*>()->setText(any(2) == 0 ? u"merchant 1"_s : QString());
            },
            [&] {
                auto* picker = window.widget().findChild<QComboBox*>();
                picker->showPopup();
                QTest::keyClick(picker->view(), any(2) == 0 ? Qt::Key_Return : Qt::Key_Escape);
            },
            [&] {
                QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {}, Qt::NoModifier);
                QCoreApplication::sendEvent(&window.table(), &event);
                if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
                    menu->actions().at(any(3))->trigger();
                    menu->close();
                }
            },
            [&] {
                QTest::keyClick(&window.table(), any(2) == 0 ? Qt::Key_Down : Qt::Key_End,
                                any(2) == 0 ? Qt::NoModifier : Qt::ShiftModifier);
            },
            [&] { QTest::keyClick(&window.table(), Qt::Key_C, Qt::ControlModifier); },
            [&] { window.table().selectAll(); },
            [&] { window.table().viewport()->repaint(); },
            [&] { window.close(); },
        };
        for (int round = 0; round < rounds; ++round) {
            for (int input = 0; input < 2; ++input) {
                if (!window.isOpen()) {
                    window.open();
                }
                inputs[static_cast<std::size_t>(any(static_cast<int>(inputs.size())))]();
            }
            drainEvents();
            if (window.isOpen() && !window.table().isPreparing()) {
                const auto& shown = store.visibleTimeline();
                QCOMPARE(window.table().ledger(), shown);
            }
        }
    }
};

QTEST_MAIN(LedgerPairsTest)
#include "LedgerPairsTest.moc"
