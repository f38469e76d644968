#include <QTest>

class PublishedTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void builds() {}
};

QTEST_GUILESS_MAIN(PublishedTest)
#include "PublishedTest.moc"
