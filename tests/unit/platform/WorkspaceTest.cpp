#include "platform/Workspace.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

class WorkspaceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void opensOnlyWebPages_data() {
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("opened");

        QTest::newRow("https") << u"https://app.quillo.example/link"_s << true;
        QTest::newRow("http with port") << u"http://127.0.0.1:8480//ledger"_s << true;
        QTest::newRow("upper case scheme") << u"HTTPS://app.quillo.example"_s << true;
        QTest::newRow("empty") << u""_s << false;
        QTest::newRow("path alone") << u"/link"_s << false;
        QTest::newRow("no host") << u"https:///link"_s << false;
        QTest::newRow("host taken for a scheme") << u"localhost:8080/link"_s << false;
        QTest::newRow("file") << u"file:///etc/passwd"_s << false;
        QTest::newRow("file on a host") << u"file://host/etc/passwd"_s << false;
        QTest::newRow("mail") << u"mailto:somebody@quillo.example"_s << false;
        QTest::newRow("script") << u"javascript:alert(1)"_s << false;
        QTest::newRow("does not parse") << u"ht tp://host/link"_s << false;
    }
    void opensOnlyWebPages() {
        QFETCH(const QString, address);
        QFETCH(const bool, opened);
        QList<QUrl> urls;
        const Workspace workspace([&](const QUrl& url) {
            urls.append(url);
            return true;
        });

        QCOMPARE(workspace.open(QUrl(address)), opened);
        QCOMPARE(urls.size(), opened ? 1 : 0);
        if (opened) {
            QCOMPARE(urls.constFirst(), QUrl(address));
        }
    }

    void saysWhenTheBrowserCannotBeStarted() {
        const Workspace workspace([](const QUrl&) { return false; });
        QVERIFY(!workspace.open(QUrl(u"https://app.quillo.example"_s)));
    }
};

QTEST_GUILESS_MAIN(WorkspaceTest)
#include "WorkspaceTest.moc"
