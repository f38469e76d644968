#include "LedgerBody.h"
#include "SampleLedger.h"
#include "Turns.h"
#include "core/WorkQueue.h"
#include "model/Decoding.h"
#include "platform/tray/MenuTree.h"
#include "store/StoreFixture.h"
#include "support/Wait.h"
#include "ui/MenuBarContent.h"
#include "ui/SingleWindow.h"
#include "ui/ViewUpdates.h"
#include "ui/ledger/LedgerTable.h"
#include "ui/ledger/LedgerView.h"

#include <QApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QMainWindow>
#include <QScrollBar>

#include <map>

// The ledger window and the menu of the real program, over a store that holds a ledger of so many lines, each
// with a description of its own. A measurement ends when the window has been painted with the change, into
// memory.

namespace {

using namespace quillo;
using namespace quillo::bench;
using namespace Qt::Literals::StringLiterals;

/// A store that has what it needs and asks nobody: without a session bus there is no credential.
struct Fixture {
    Fixture() {
        surroundings.start();
        surroundings.waitUntilSettled();
        store().lastError = std::nullopt;
    }
    [[nodiscard]] AppStore& store() { return surroundings.store(); }

    void show(std::int64_t lines) {
        if (shownLines != lines) {
            store().timeline =
                decoding.share(sampleLedger(static_cast<int>(lines), Descriptions::allDifferent));
            shownLines = lines;
        }
    }

    test::StoreFixture surroundings;
    WorkQueue decoding; ///< lets go of what is large, as the client's does
    std::int64_t shownLines = 0;
};

Fixture& fixture() {
    static auto* const made =
        new Fixture; // as long as the program; its order of destruction matters to nobody
    return *made;
}

QWidget* makeLedger() {
    auto& store = fixture().store();
    auto* view = new LedgerView({
        .pullUpdates = [] {},
        .pullFromBank = [] {},
        .openReconnect = [] {},
        .loadSnapshots = [&store] { return store.loadSnapshots(); },
        .loadSnapshot = [](const auto&) {},
    });
    new ViewUpdates(
        store, [view](const AppState& state) { view->render(state); }, view);
    return view;
}

/// The open ledger window. It is painted with whatever was changed once `isPainted`.
class Window final : public QObject {
public:
    Window() {
        scene.open();
        table = scene.window()->findChild<LedgerTable*>();
        table->viewport()->installEventFilter(this);
    }
    ~Window() override {
        scene.window()->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void waitUntilPainted() {
        if (!test::waitUntil([this] { return isPainted(); }, std::chrono::minutes(1))) {
            qFatal("not painted");
        }
    }

    /// To be called before a change.
    void forget() { painted = nullptr; }

    [[nodiscard]] bool isPainted() const {
        return !table->isPreparing() && painted == rows() &&
               table->ledger() == fixture().store().visibleTimeline();
    }

    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            painted = rows();
        }
        return QObject::eventFilter(object, event);
    }

    SingleWindow scene{ledgerScene(makeLedger)};
    LedgerTable* table = nullptr;

private:
    [[nodiscard]] const LedgerRows* rows() const {
        return static_cast<const LedgerTableModel*>(table->model())->rows().get();
    }

    const LedgerRows* painted = nullptr;
};

void windowOpened(benchmark::State& state) {
    fixture().show(state.range(0));
    Turns turns;
    Window().waitUntilPainted(); // fonts are loaded, once
    for (auto round : state) {
        std::optional<Window> window;
        turns.measure(
            state, [&] { window.emplace(); }, [&] { return window->isPainted(); });
    }
    turns.report(state);
}

/// A window of so many lines to measure changes in.
struct Changes {
    explicit Changes(benchmark::State& measured) : state(measured) {
        fixture().show(state.range(0));
        window.emplace();
        window->waitUntilPainted();
    }

    void measure(const auto& change) {
        window->forget();
        turns.measure(state, change, [this] { return window->isPainted(); });
    }

    benchmark::State& state;
    std::optional<Window> window;
    Turns turns;
};

void keystrokePainted(benchmark::State& state) {
    Changes changes(state);
    auto* search = changes.window->scene.window()->findChild<QLineEdit*>();
    const QString typed = u"corner hardware 7"_s;
    for (auto round : state) {
        const auto length = (search->text().size() + 1) % (typed.size() + 1);
        changes.measure([&] { search->setText(typed.left(length)); });
    }
    changes.turns.report(state);
}

void clickPainted(benchmark::State& state) {
    Changes changes(state);
    auto* header = changes.window->table->horizontalHeader();
    constexpr LedgerColumn columns[] = {LedgerColumn::amount, LedgerColumn::amount,
                                        LedgerColumn::runningBalance, LedgerColumn::date, LedgerColumn::date};
    std::size_t next = 0;
    for (auto round : state) {
        const auto section = static_cast<int>(columns[next++ % std::size(columns)]);
        changes.measure([&] { Q_EMIT header->sectionClicked(section); });
    }
    changes.turns.report(state);
}

/// By a page each, so that every cell is painted anew.
void frameScrolled(benchmark::State& state) {
    Changes changes(state);
    auto* bar = changes.window->table->verticalScrollBar();
    const int step = std::max(bar->pageStep(), bar->maximum() / 997);
    for (auto round : state) {
        changes.measure(
            [&] { bar->setValue(bar->value() + step > bar->maximum() ? 0 : bar->value() + step); });
    }
    changes.turns.report(state);
}

/// One amount changes, and a line comes.
Timeline changed(const Timeline& ledger, int round) {
    auto next = ledger;
    next.transactions[next.transactions.size() / 2].amount = round;
    next.transactions.insert(next.transactions.begin(), next.transactions.front());
    next.transactions.front().txnId = Text(u"new %1"_s.arg(round));
    next.transactions.pop_back();
    return next;
}

/// The next ledger is made outside the measurement; letting go of the one before belongs to it.
void refreshPainted(benchmark::State& state) {
    Changes changes(state);
    auto& decoding = fixture().decoding;
    auto& store = fixture().store();
    int round = 0;
    for (auto each : state) {
        Ledger next = decoding.share(changed(**store.timeline, ++round));
        changes.measure([&] { store.timeline = std::move(next); });
    }
    store.timeline = decoding.share(Timeline(**store.timeline));
    changes.turns.report(state);
}

void snapshotSwitched(benchmark::State& state) {
    Changes changes(state);
    auto& decoding = fixture().decoding;
    auto& store = fixture().store();
    int round = 0;
    for (auto each : state) {
        std::optional<Day> day;
        if (!store.isViewingSnapshot()) {
            day = Day{.date = u"2024-05-01"_s, .ledger = decoding.share(changed(**store.timeline, ++round))};
        }
        changes.measure([&] { store.selectedDay = std::move(day); });
    }
    store.selectedDay = std::nullopt;
    changes.turns.report(state);
}

/// From the last byte of a body to the painted window: decoded and prepared elsewhere.
void bodyPainted(benchmark::State& state) {
    Changes changes(state);
    auto& decoding = fixture().decoding;
    auto& store = fixture().store();
    const std::array bodies{ledgerBody(static_cast<int>(state.range(0))),
                            ledgerBody(static_cast<int>(state.range(0)) - 1)};
    std::size_t next = 0;
    for (auto each : state) {
        const auto& body = bodies[next++ % bodies.size()];
        auto own = QByteArray(body.constData(), body.size());
        changes.measure([&] {
            store.start([](AppStore& shown, WorkQueue& worker, QByteArray bytes) -> Task<> {
                auto work = worker.run(
                    [bytes = std::move(bytes)]() mutable { return decodeTimeline(std::move(bytes)); });
                auto ledger = co_await work;
                shown.timeline = worker.share(std::move(ledger));
            }(store, decoding, std::move(own)));
        });
    }
    fixture().shownLines = 0;
    store.timeline = nullptr;
    changes.turns.report(state);
}

/// What of it the other threads have to do, on this one.
void bodyPrepared(benchmark::State& state) {
    const std::array bodies{ledgerBody(static_cast<int>(state.range(0))),
                            ledgerBody(static_cast<int>(state.range(0)) - 1)};
    auto before = std::make_shared<const PreparedLedger>();
    Samples samples;
    std::size_t next = 0;
    for (auto each : state) {
        const auto& body = bodies[next++ % bodies.size()];
        auto own = QByteArray(body.constData(), body.size());
        samples.time(state, [&] {
            auto prepared = std::make_shared<const PreparedLedger>(
                std::make_shared<const Timeline>(decodeTimeline(std::move(own))));
            benchmark::DoNotOptimize(successors(before->lines(), prepared->lines()));
            benchmark::DoNotOptimize(LedgerRows::of(prepared, {}, {}));
            before = std::move(prepared);
        });
    }
    samples.report(state);
}

/// The menu computed from the store and compared with what panels have.
void menuBuilt(benchmark::State& state) {
    fixture().show(state.range(0));
    MenuTree tree;
    Samples samples;
    for (auto round : state) {
        samples.time(state, [&] {
            benchmark::DoNotOptimize(tree.replace(menuBarContent(fixture().store().state(), {})));
        });
    }
    samples.report(state);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1'000)->Arg(100'000)->Arg(1'000'000);
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(menuBuilt)->Apply(sizes)->Iterations(500);
BENCHMARK(windowOpened)->Apply(sizes)->Iterations(30);
BENCHMARK(keystrokePainted)->Apply(sizes)->Iterations(72);
BENCHMARK(clickPainted)->Apply(sizes)->Iterations(60);
BENCHMARK(frameScrolled)->Apply(sizes)->Iterations(300);
BENCHMARK(refreshPainted)->Apply(sizes)->Iterations(30);
BENCHMARK(snapshotSwitched)->Apply(sizes)->Iterations(30);
BENCHMARK(bodyPainted)
    ->Arg(1'000)
    ->Arg(100'000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(20);
BENCHMARK(bodyPrepared)
    ->Arg(1'000)
    ->Arg(100'000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(20);

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
