#include "core/Published.h"

#include <QStringList>
#include <QTest>

using namespace quillo;

namespace {

class Lamp : public ObservableObject {
public:
    using State = Published<int>;
    State brightness{*this, 1};
};

} // namespace

class PublishedTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anObserverOfTheObjectStillReadsTheOldValue() {
        Lamp lamp;
        int seen = 0;
        const auto observation = lamp.objectWillChange.observe([&] { seen = lamp.brightness; });
        lamp.brightness = 2;
        QCOMPARE(seen, 1);
        QCOMPARE(lamp.brightness.get(), 2);
    }

    void anObserverOfThePropertyIsGivenTheNewValueBeforeItIsStored() {
        Lamp lamp;
        int given = 0;
        int read = 0;
        const auto observation = lamp.brightness.observe(Lamp::State::Repeats::deliver, [&](int value) {
            given = value;
            read = lamp.brightness;
        });
        lamp.brightness = 2;
        QCOMPARE(given, 2);
        QCOMPARE(read, 1);
    }

    void whatFollowsAnAssignmentReadsTheNewValueAlsoWhenItIsEqual() {
        struct Shelf : ObservableObject {
            Published<int> books{*this, 1, [this](const int&) { stored.push_back(books); }};
            std::vector<int> stored;
        } shelf;
        QVERIFY(shelf.stored.empty());
        shelf.books = 2;
        shelf.books = 2;
        QCOMPARE(shelf.stored, (std::vector<int>{2, 2}));
    }

    void everyAssignmentIsAnnouncedAlsoAnEqualOne() {
        Lamp lamp;
        int announcements = 0;
        const auto observation = lamp.objectWillChange.observe([&] { ++announcements; });
        lamp.brightness = 1;
        lamp.brightness = 1;
        QCOMPARE(announcements, 2);
    }

    void anObserverIsNotToldTheValueThatHoldsWhenItRegisters() {
        Lamp lamp;
        std::vector<int> seen;
        const auto observation =
            lamp.brightness.observe(Lamp::State::Repeats::deliver, [&](int value) { seen.push_back(value); });
        lamp.brightness = 2;
        QCOMPARE(seen, std::vector<int>{2});
    }

    void equalValuesAreSuppressedAsAsked() {
        Lamp lamp;
        std::vector<int> seen;
        const auto observation = lamp.brightness.observe(Lamp::State::Repeats::suppress,
                                                         [&](int value) { seen.push_back(value); });
        for (const int value : {1, 2, 2, 3, 3, 1}) {
            lamp.brightness = value;
        }
        QCOMPARE(seen, (std::vector<int>{2, 3, 1}));
    }

    void anObservationEndsWithItsHandle() {
        Lamp lamp;
        int calls = 0;
        {
            const auto observation = lamp.objectWillChange.observe([&] { ++calls; });
            lamp.brightness = 2;
        }
        lamp.brightness = 3;
        QCOMPARE(calls, 1);
    }

    void observersMayComeAndGoDuringAnEmission() {
        Signal<> signal;
        QStringList calls;
        Observation second;
        Observation third;
        const auto first = signal.observe([&] {
            calls << QStringLiteral("first");
            second.cancel();
            third = signal.observe([&] { calls << QStringLiteral("third"); });
        });
        second = signal.observe([&] { calls << QStringLiteral("second"); });
        signal.emit();
        QCOMPARE(calls, QStringList{QStringLiteral("first")});
    }

    void anObserverMayEndItself() {
        Signal<> signal;
        int calls = 0;
        Observation self;
        self = signal.observe([&] {
            ++calls;
            self.cancel();
        });
        signal.emit();
        signal.emit();
        QCOMPARE(calls, 1);
    }

    void anObjectMayBeDestroyedByItsObserver() {
        auto signal = std::make_unique<Signal<>>();
        int calls = 0;
        const auto first = signal->observe([&] {
            ++calls;
            signal.reset();
        });
        const auto second = signal->observe([&] { ++calls; });
        signal->emit();
        QCOMPARE(calls, 2);
    }
};

QTEST_GUILESS_MAIN(PublishedTest)
#include "PublishedTest.moc"
