#pragma once

#include "platform/tray/StatusItem.h"

#include "ItemProxy.h"
#include "ScriptedWatcher.h"
#include "support/ChildProcess.h"
#include "support/LoopStallProbe.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>
#include <optional>

namespace quillo::test {

using namespace Qt::Literals::StringLiterals;

[[nodiscard]] inline ItemFace owed(const QString& text) {
    return {.symbol = u"creditcard"_s, .text = text};
}

/// An item on a bus, and a watcher that has not started.
struct ItemFixture {
    PrivateBus bus;
    QDBusConnection connection = bus.connect();
    ScriptedWatcher watcher{bus.connect()};
    StatusItem item{connection};
    ItemProxy panel{bus.connect(), connection.baseService()};
    std::optional<LoopStallProbe> probe{std::in_place};
    std::chrono::milliseconds longestStall{0};

    /// Where this thread also plays the tray and waits for the X server's answers, however busy the machine
    /// is, a stall is not the item's.
    enum class Stalls { fail, mayHappen };
    Stalls stalls;

    explicit ItemFixture(Stalls allowed = Stalls::fail) : stalls(allowed) {
        item.setFace(owed(u"$12.50"_s));
        item.setMenu({{.kind = MenuEntry::Kind::button, .key = u"quit"_s, .text = u"Quit"_s}});
    }

    ~ItemFixture() {
        const auto stall = std::max(longestStall, probe->longestStall());
        if (stalls == Stalls::fail && stall > LoopStallProbe::budget) {
            qCritical("the event loop stood still for %lld ms", static_cast<long long>(stall.count()));
            QTest::qFail("the event loop was blocked", __FILE__, __LINE__);
        }
    }

    [[nodiscard]] bool becomesRegistered() {
        return waitUntil([this] { return item.isOnPanel(); });
    }

    /// Does what blocks this thread by itself, for which the item is not to blame: the probe looks away.
    template <typename Action>
    void unwatched(Action action) {
        longestStall = std::max(longestStall, probe->longestStall());
        probe.reset();
        action();
        probe.emplace();
    }

    void startWatcher() {
        unwatched([this] { watcher.start(); });
    }

    void stopWatcher() {
        unwatched([this] { watcher.stop(); });
    }

    void showOnPanel() {
        startWatcher();
        item.show();
        QVERIFY(becomesRegistered());
        (void)panel.takeSignals();
    }

    QStringList signalNames() {
        QStringList names;
        for (const auto& message : panel.takeSignals()) {
            names.append(message.member());
        }
        names.sort();
        return names;
    }
};

/// A panel's program: a process whose executable has that name. Starting and ending it blocks, for which the
/// item is not to blame: the probe looks away meanwhile.
class PanelProcess {
public:
    PanelProcess(ItemFixture& observed, const QString& name) : fixture(observed) {
        fixture.probe.reset();
        const auto copy = folder.filePath(name);
        if (!QFile::copy(QStringLiteral(WATCHER_PROCESS), copy)) {
            qFatal("no copy of the panel's program");
        }
        process.emplace(copy, QStringList(), fixture.bus.environment());
        fixture.probe.emplace();
        if (process->readLine() != "ready") {
            qFatal("the panel does not start");
        }
    }
    PanelProcess(const PanelProcess&) = delete;
    PanelProcess& operator=(const PanelProcess&) = delete;

    ~PanelProcess() {
        fixture.probe.reset();
        process.reset();
        fixture.probe.emplace();
    }

private:
    ItemFixture& fixture;
    QTemporaryDir folder;
    std::optional<ChildProcess> process;
};

} // namespace quillo::test
