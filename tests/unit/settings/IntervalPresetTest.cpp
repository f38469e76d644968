#include "settings/IntervalPreset.h"
#include "support/TestMain.h"

#include <QSet>
#include <QTest>

using namespace quillo;
using namespace Qt::Literals::StringLiterals;

class IntervalPresetTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void presetsStandInDisplayOrderWithManualLast() {
        const std::array<IntervalPreset, 7> expected{{
            {u"1 minute"_s, 60},
            {u"5 minutes"_s, 300},
            {u"15 minutes"_s, 900},
            {u"1 hour"_s, 3600},
            {u"6 hours"_s, 21600},
            {u"24 hours"_s, 86400},
            {u"Manual only"_s, 0},
        }};
        QVERIFY(intervalPresets == expected);
    }

    void presetsAreEqualAndHashedOverBothFields() {
        const IntervalPreset preset{u"1 hour"_s, 3600};
        QVERIFY(preset == intervalPresets[3]);
        QVERIFY(!(preset == IntervalPreset{u"1 hour"_s, 3601}));
        QVERIFY(!(preset == IntervalPreset{u"an hour"_s, 3600}));
        QSet<IntervalPreset> set(intervalPresets.begin(), intervalPresets.end());
        QCOMPARE(set.size(), 7);
        set.insert(preset);
        QCOMPARE(set.size(), 7);
        QVERIFY(qHash(preset) != qHash(IntervalPreset{u"1 hour"_s, 3601}));
        QVERIFY(qHash(preset) != qHash(IntervalPreset{u"an hour"_s, 3600}));
    }
};

QUILLO_TEST(IntervalPresetTest, QCoreApplication)
#include "IntervalPresetTest.moc"
