#include "platform/desktop/Workspace.h"

#include "support/ChildProcess.h"
#include "support/TestMain.h"
#include "support/VirtualDisplay.h"
#include "support/Wait.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

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

    void pageGoesToTheDesktopsBrowserWhichIsNotWaitedFor() {
        const QTemporaryDir folder;
        const auto asked = folder.filePath(u"asked"_s);
        const auto mayEnd = folder.filePath(u"mayEnd"_s);
        QCOMPARE(::mkfifo(mayEnd.toLocal8Bit().constData(), 0600), 0);
        QFile browser(folder.filePath(u"xdg-open"_s));
        QVERIFY(browser.open(QIODevice::WriteOnly));
        browser.write("#!/bin/sh\necho \"$*\" > '" + asked.toUtf8() + ".new'\nmv '" + asked.toUtf8() +
                      ".new' '" + asked.toUtf8() + "'\ntimeout 60 cat '" + mayEnd.toUtf8() + "'\n");
        browser.close();
        QVERIFY(browser.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
        const VirtualDisplay display;
        auto environment = display.environment();
        environment.insert(u"PATH"_s, folder.path() + u':' + environment.value(u"PATH"_s));
        // A desktop that is known has its own opener instead.
        environment.remove(u"XDG_CURRENT_DESKTOP"_s);
        environment.remove(u"DESKTOP_SESSION"_s);
        const QStringList page{u"https://app.quillo.example/link?a=1&b=%20"_s};

        ChildProcess probe(QCoreApplication::applicationDirPath() + u"/WorkspaceProbe"_s, page, environment);

        QCOMPARE(probe.readLine(), "opened");
        QCOMPARE(probe.waitForExit(), 0); // while the browser still runs
        QVERIFY(waitUntil([&] { return QFile::exists(asked); }));
        QFile arguments(asked);
        QVERIFY(arguments.open(QIODevice::ReadOnly));
        QCOMPARE(arguments.readAll(), page.constFirst().toUtf8() + '\n');
        QFile end(mayEnd);
        QVERIFY(end.open(QIODevice::WriteOnly));
    }

    void saysWhenTheBrowserCannotBeStarted() {
        const Workspace workspace([](const QUrl&) { return false; });
        QVERIFY(!workspace.open(QUrl(u"https://app.quillo.example"_s)));
    }
};

QUILLO_TEST(WorkspaceTest, QCoreApplication)
#include "WorkspaceTest.moc"
