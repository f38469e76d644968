#include <QTest>

class ClockTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void builds() {}
};

QTEST_GUILESS_MAIN(ClockTest)
#include "ClockTest.moc"
