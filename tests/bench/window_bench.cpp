#include "SampleLedger.h"
#include "Samples.h"
#include "platform/tray/MenuTree.h"
#include "store/StoreFixture.h"
#include "ui/Environment.h"
#include "ui/MenuBarContent.h"
#include "ui/SingleWindow.h"
#include "ui/ledger/LedgerTable.h"
#include "ui/ledger/LedgerView.h"

#include <QApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QMainWindow>
#include <QScrollBar>
#include <QTest>

// The ledger window and the menu of the real program, over a store that holds a ledger of so many lines, each
// with a description of its own. A measurement ends when the window has been painted with the change, into
// memory.

namespace {

using namespace quillo;
using namespace quillo::bench;
using namespace Qt::Literals::StringLiterals;

/// Counts how often a widget has been painted.
class Paints final : public QObject {
public:
    explicit Paints(QWidget* painted) { painted->installEventFilter(this); }

    /// Runs the event loop until the widget is painted again.
    void waitForNext() const {
        for (const auto before = count; count == before;) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            ++count;
        }
        return QObject::eventFilter(object, event);
    }

private:
    int count = 0;
};

/// A store that has what it needs and asks nobody: without a session bus there is no credential.
struct Fixture {
    Fixture() {
        surroundings.start();
        surroundings.waitUntilSettled();
        store().lastError = std::nullopt;
        environment.emplace(store());
    }
    [[nodiscard]] AppStore& store() { return surroundings.store(); }

    void show(std::int64_t lines) {
        if (shownLines != lines) {
            store().timeline = sampleLedger(static_cast<int>(lines), Descriptions::allDifferent);
            shownLines = lines;
        }
    }

    test::StoreFixture surroundings;
    std::optional<Environment> environment;
    std::int64_t shownLines = 0;
};

Fixture& fixture() {
    static auto* const made =
        new Fixture; // as long as the program; its order of destruction matters to nobody
    return *made;
}

/// The open ledger window, painted.
struct Window {
    explicit Window(std::int64_t lines) {
        fixture().show(lines);
        scene.open();
        table = scene.window()->findChild<LedgerTable*>();
        paints = std::make_unique<Paints>(table->viewport());
        paints->waitForNext();
    }
    ~Window() {
        scene.window()->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    SingleWindow scene{ledgerScene([] { return new LedgerView; })};
    LedgerTable* table = nullptr;
    std::unique_ptr<Paints> paints;
};

void windowOpened(benchmark::State& state) {
    fixture().show(state.range(0));
    Samples samples;
    for (auto round : state) {
        std::optional<Window> window;
        samples.time(state, [&] { window.emplace(state.range(0)); });
    }
    samples.report(state);
}

void keystrokePainted(benchmark::State& state) {
    Window window(state.range(0));
    auto* search = window.scene.window()->findChild<QLineEdit*>();
    const QString typed = u"corner hardware 7"_s;
    Samples samples;
    for (auto round : state) {
        const auto length = (search->text().size() + 1) % (typed.size() + 1);
        samples.time(state, [&] {
            search->setText(typed.left(length));
            window.paints->waitForNext();
        });
    }
    samples.report(state);
}

void clickPainted(benchmark::State& state) {
    Window window(state.range(0));
    auto* header = window.table->horizontalHeader();
    constexpr LedgerColumn columns[] = {LedgerColumn::amount, LedgerColumn::amount,
                                        LedgerColumn::runningBalance, LedgerColumn::date, LedgerColumn::date};
    Samples samples;
    std::size_t next = 0;
    for (auto round : state) {
        const auto section = static_cast<int>(columns[next++ % std::size(columns)]);
        samples.time(state, [&] {
            Q_EMIT header->sectionClicked(section);
            window.paints->waitForNext();
        });
    }
    samples.report(state);
}

/// By a page each, so that every cell is painted anew.
void frameScrolled(benchmark::State& state) {
    Window window(state.range(0));
    auto* bar = window.table->verticalScrollBar();
    const int step = std::max(bar->pageStep(), bar->maximum() / 997);
    Samples samples;
    for (auto round : state) {
        samples.time(state, [&] {
            bar->setValue(bar->value() + step > bar->maximum() ? 0 : bar->value() + step);
            window.paints->waitForNext();
        });
    }
    samples.report(state);
}

/// The next ledger is made outside the measurement; letting go of the one before belongs to it.
void refreshPainted(benchmark::State& state) {
    Window window(state.range(0));
    auto& store = fixture().store();
    Samples samples;
    for (auto round : state) {
        auto next = *store.timeline;
        samples.time(state, [&] {
            store.timeline = std::move(next);
            window.paints->waitForNext();
        });
    }
    samples.report(state);
}

void snapshotSwitched(benchmark::State& state) {
    Window window(state.range(0));
    auto& store = fixture().store();
    Samples samples;
    for (auto round : state) {
        const bool isLive = !store.selectedSnapshotDate->has_value();
        std::optional<Timeline> day;
        if (isLive) {
            day = *store.timeline;
        }
        samples.time(state, [&] {
            store.snapshotTimeline = std::move(day);
            store.selectedSnapshotDate = isLive ? std::optional(u"2024-05-01"_s) : std::nullopt;
            window.paints->waitForNext();
        });
    }
    store.selectedSnapshotDate = std::nullopt;
    store.snapshotTimeline = std::nullopt;
    samples.report(state);
}

/// The menu computed from the store and compared with what panels have.
void menuBuilt(benchmark::State& state) {
    fixture().show(state.range(0));
    const MenuBarContent content({});
    MenuTree tree;
    Samples samples;
    for (auto round : state) {
        samples.time(state, [&] { benchmark::DoNotOptimize(tree.replace(content.menu())); });
    }
    samples.report(state);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1'000)->Arg(10'000)->Arg(100'000)->Arg(1'000'000);
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(menuBuilt)->Apply(sizes)->Iterations(500);
BENCHMARK(windowOpened)->Apply(sizes)->Iterations(10);
BENCHMARK(keystrokePainted)->Apply(sizes)->Iterations(72);
BENCHMARK(clickPainted)->Apply(sizes)->Iterations(40);
BENCHMARK(frameScrolled)->Apply(sizes)->Iterations(500);
BENCHMARK(refreshPainted)->Apply(sizes)->Iterations(10);
BENCHMARK(snapshotSwitched)->Apply(sizes)->Iterations(20);

} // namespace

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    test::leaveSessionBus();
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
