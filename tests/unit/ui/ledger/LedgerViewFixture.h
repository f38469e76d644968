#pragma once

#include "core/Awaiters.h"
#include "support/Wait.h"
#include "ui/ledger/LedgerLines.h"
#include "ui/ledger/LedgerTable.h"
#include "ui/ledger/LedgerView.h"
#include "ui/ledger/VisibleWidgets.h"

#include <QComboBox>
#include <QLineEdit>
#include <QTest>

#include <memory>

namespace quillo::test {

/// The ledger window's content on the screen, with what it shows and what it asks for.
struct LedgerViewFixture {
    LedgerViewFixture() { open(); }

    /// A window of the program shows a new view each time it opens.
    void open() {
        view.reset();
        view = std::make_unique<LedgerView>(LedgerActions{
            .pullUpdates = [this] { asked += QStringLiteral("pull updates"); },
            .pullFromBank = [this] { asked += QStringLiteral("pull from bank"); },
            .openReconnect = [this] { asked += QStringLiteral("reconnect"); },
            .loadSnapshots = [this] { return listDays(); },
            .loadSnapshot =
                [this](std::optional<QString> date) { asked += date.value_or(QStringLiteral("live")); },
        });
        view->render(state);
        view->resize(900, 600);
        view->show();
        view->activateWindow();
        if (!QTest::qWaitForWindowActive(view.get())) {
            qFatal("no window");
        }
    }

    void render() const {
        view->render(state);
        drainEvents();
    }

    void show(Timeline ledger) {
        state.live = published(std::move(ledger));
        render();
    }

    void lookAt(const QString& date, Timeline ledger) {
        state.day = Day{.date = date, .ledger = published(std::move(ledger))};
        render();
    }

    [[nodiscard]] LedgerTable& table() const { return *view->findChild<LedgerTable*>(); }
    [[nodiscard]] QLineEdit& search() const { return *view->findChild<QLineEdit*>(); }
    [[nodiscard]] QComboBox& picker() const { return *view->findChild<QComboBox*>(); }
    [[nodiscard]] QAbstractButton* button(const QString& title) const { return visibleButton(*view, title); }
    [[nodiscard]] QStringList texts() const { return visibleTexts(*view); }

    [[nodiscard]] QStringList merchants() const {
        QStringList all;
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            all += table().model()->index(row, 1).data().toString();
        }
        return all;
    }

    AppState state;
    QStringList asked;     ///< in order; of a day its date, or "live"
    int listsBegun = 0;    ///< fetches of the list of days
    int listsUnderWay = 0; ///< that have not been given up
    std::unique_ptr<LedgerView> view;

private:
    /// A fetch that never ends by itself.
    Task<> listDays() {
        struct UnderWay {
            explicit UnderWay(int& number) : count(number) { ++count; }
            ~UnderWay() { --count; }
            int& count;
        };
        ++listsBegun;
        const UnderWay underWay(listsUnderWay);
        OneShotEvent never;
        co_await never;
    }
};

} // namespace quillo::test
