#include "platform/desktop/LoginItem.h"

#include "BuildConfiguration.h"
#include "support/ChildProcess.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

const QString applicationId = u"app.quillo.Quillo.Test"_s;

void write(const QString& path, const QByteArray& text) {
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly) ||
        file.write(text) != text.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

QByteArray read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A user's folders in a place of the test's own, with Quillo installed, and a program to be started that
/// leaves the file `ran` behind.
class Home {
public:
    Home() {
        write(program, "#!/bin/sh\n: > \"" + ran.toUtf8() + "\"\n");
        QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        write(desktopFile, "[Desktop Entry]\nType=Application\nName=Quillo\nExec=quillo\n");
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(folder.filePath(u"config"_s)));
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(folder.filePath(u"config-dirs"_s)));
        qputenv("XDG_DATA_HOME", QFile::encodeName(folder.filePath(u"data"_s)));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(folder.filePath(u"data-dirs"_s)));
        qputenv("XDG_CURRENT_DESKTOP", "XFCE:GTK");
    }

    QTemporaryDir folder;
    QString program = folder.filePath(u"bin/quillo"_s);
    QString ran = folder.filePath(u"ran"_s);
    QString desktopFile = folder.filePath(u"data-dirs/applications/"_s + applicationId + u".desktop"_s);
    QString entry = folder.filePath(u"config/autostart/"_s + applicationId + u".desktop"_s);
    LoginItem item{applicationId, program};
};

/// The text of the error that `change` throws, empty when it throws none.
QString failure(const std::function<void()>& change) {
    try {
        change();
    } catch (const LoginItemError& error) {
        return error.errorDescription();
    }
    return {};
}

/// Acts on files as a user without rights until it goes out of scope, also where the tests run as root.
class WithoutRights {
public:
    WithoutRights() { ::setfsuid(65534); }
    ~WithoutRights() { ::setfsuid(::geteuid()); }
};

/// Lets no file grow until it goes out of scope, so that writing fails the way it does on a full disk.
class NoSpace {
public:
    NoSpace() {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit none{0, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &none);
    }
    ~NoSpace() { ::setrlimit(RLIMIT_FSIZE, &before); }

private:
    rlimit before{};
};

} // namespace

class LoginItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutAnEntryItIsNotRegistered() {
        const Home home;
        QCOMPARE(home.item.status(), LoginItemStatus::notRegistered);
    }

    void withoutADesktopFileItIsNotFoundAndRegisteringFails() {
        const Home home;
        QVERIFY(QFile::remove(home.desktopFile));

        QCOMPARE(home.item.status(), LoginItemStatus::notFound);
        QCOMPARE(failure([&] { home.item.register_(); }),
                 u"Quillo is not installed (“app.quillo.Quillo.Test.desktop” was not found)."_s);
        QVERIFY(!QFile::exists(home.entry));
    }

    void registeringEnablesAndUnregisteringTakesTheEntryAway() {
        const Home home;
        home.item.register_();
        QCOMPARE(home.item.status(), LoginItemStatus::enabled);
        QCOMPARE(home.item.entryPath(), home.entry);
        QVERIFY(QFile::exists(home.entry));

        home.item.unregister();
        QCOMPARE(home.item.status(), LoginItemStatus::notRegistered);
        QVERIFY(!QFile::exists(home.entry));
    }

    void mainAppIsTheRunningProgramUnderTheApplicationId() {
        const Home home;
        const auto item = LoginItem::mainApp();
        QCOMPARE(item.entryPath(),
                 home.folder.filePath(u"config/autostart/"_s + build::applicationId + u".desktop"_s));
        write(home.folder.filePath(u"data/applications/"_s + build::applicationId + u".desktop"_s), {});
        item.register_();
        QVERIFY(read(item.entryPath()).contains(QCoreApplication::applicationFilePath().toUtf8()));
    }

    void unregisteringWithoutAnEntryDoesNothing() {
        const Home home;
        QCOMPARE(failure([&] { home.item.unregister(); }), QString());
    }

    void registeringLeavesAnEntryThatStartsSomethingAsTheUserMadeIt() {
        const Home home;
        const QByteArray edited =
            "[Desktop Entry]\nType=Application\nName=Mine\nExec=sh -c \"sleep 5; quillo\"\n";
        write(home.entry, edited);

        QCOMPARE(home.item.status(), LoginItemStatus::enabled);
        home.item.register_();
        QCOMPARE(read(home.entry), edited);
    }

    void switchedOffEntryRequiresApprovalAndStaysOff_data() {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("Hidden") << QByteArray("Hidden=true");
        QTest::newRow("GNOME") << QByteArray("X-GNOME-Autostart-enabled=false");
        QTest::newRow("MATE") << QByteArray("X-MATE-Autostart-enabled=false");
        QTest::newRow("only elsewhere") << QByteArray("OnlyShowIn=GNOME;KDE;");
        QTest::newRow("nowhere") << QByteArray("OnlyShowIn=");
        QTest::newRow("not here") << QByteArray("NotShowIn=GNOME;XFCE;");
    }
    void switchedOffEntryRequiresApprovalAndStaysOff() {
        QFETCH(const QByteArray, line);
        const Home home;
        const QByteArray off = "[Desktop Entry]\nType=Application\nName=Quillo\nExec=quillo\n" + line + '\n';
        write(home.entry, off);

        QCOMPARE(home.item.status(), LoginItemStatus::requiresApproval);
        QCOMPARE(failure([&] { home.item.register_(); }),
                 u"Quillo is switched off in the desktop’s list of startup applications."_s);
        home.item.unregister();
        QCOMPARE(read(home.entry), off);
        QCOMPARE(home.item.status(), LoginItemStatus::requiresApproval);
    }

    void entryForThisDesktopIsEnabled_data() {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("only here") << QByteArray("OnlyShowIn=GNOME;XFCE;");
        QTest::newRow("only on one that this is a kind of") << QByteArray("OnlyShowIn=GTK");
        QTest::newRow("not elsewhere") << QByteArray("NotShowIn=KDE;");
    }
    void entryForThisDesktopIsEnabled() {
        QFETCH(const QByteArray, line);
        const Home home;
        write(home.entry, "[Desktop Entry]\nType=Application\nName=Quillo\nExec=sh\n" + line + '\n');
        QCOMPARE(home.item.status(), LoginItemStatus::enabled);
    }

    void entryMaskedByALinkToNothingRequiresApproval() {
        const Home home;
        QVERIFY(QDir().mkpath(QFileInfo(home.entry).path()));
        QVERIFY(QFile::link(u"/dev/null"_s, home.entry));

        QCOMPARE(home.item.status(), LoginItemStatus::requiresApproval);
        QVERIFY(!failure([&] { home.item.register_(); }).isEmpty());
        QCOMPARE(QFile::symLinkTarget(home.entry), u"/dev/null"_s);
    }

    void entryThatStartsNothingIsNotRegisteredAndIsReplaced_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("nonsense") << QByteArray("what is this?\n\0\xff", 16);
        QTest::newRow("no group") << QByteArray("Type=Application\nExec=sh\n");
        QTest::newRow("another group") << QByteArray("[Entry]\nType=Application\nExec=sh\n");
        QTest::newRow("no program") << QByteArray("[Desktop Entry]\nType=Application\nName=Quillo\n");
        QTest::newRow("empty program") << QByteArray("[Desktop Entry]\nType=Application\nExec=\n");
        QTest::newRow("unbalanced quotes") << QByteArray("[Desktop Entry]\nType=Application\nExec=\"sh\n");
        QTest::newRow("a link") << QByteArray("[Desktop Entry]\nType=Link\nURL=https://quillo.example\n");
        QTest::newRow("program that has moved away")
            << QByteArray("[Desktop Entry]\nType=Application\nExec=/nonexistent/quillo\n");
        QTest::newRow("condition that fails")
            << QByteArray("[Desktop Entry]\nType=Application\nExec=sh\nTryExec=/nonexistent/quillo\n");
    }
    void entryThatStartsNothingIsNotRegisteredAndIsReplaced() {
        QFETCH(const QByteArray, text);
        const Home home;
        write(home.entry, text);

        QCOMPARE(home.item.status(), LoginItemStatus::notRegistered);
        home.item.register_();
        QCOMPARE(home.item.status(), LoginItemStatus::enabled);
    }

    void readOnlyFolderIsAClearFailure() {
        const Home home;
        home.item.register_();
        for (const auto& path : {home.folder.path(), QFileInfo(home.entry).path()}) {
            QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x5055)));
        }
        QCOMPARE(home.item.status(), LoginItemStatus::enabled);
        const LoginItem absent(applicationId + u"2"_s, home.program);
        write(home.folder.filePath(u"data/applications/"_s + applicationId + u"2.desktop"_s), {});
        QString removing;
        QString writing;
        {
            const WithoutRights noRights;
            removing = failure([&] { home.item.unregister(); });
            writing = failure([&] { absent.register_(); });
        }
        QVERIFY(QFile::setPermissions(QFileInfo(home.entry).path(), QFile::Permissions(0x7000)));

        QCOMPARE(removing, u"“%1” can’t be removed (Permission denied)."_s.arg(home.entry));
        QCOMPARE(writing, u"“%1” can’t be written (Permission denied)."_s.arg(absent.entryPath()));
        QCOMPARE(home.item.status(), LoginItemStatus::enabled);
        QCOMPARE(absent.status(), LoginItemStatus::notRegistered);
    }

    void entryThatCannotBeReadIsLeftAlone() {
        const Home home;
        write(home.entry, "secret");
        QVERIFY(QFile::setPermissions(home.folder.path(), QFile::Permissions(0x5055)));
        QVERIFY(QFile::setPermissions(home.entry, QFile::Permissions()));
        QString text;
        auto status = LoginItemStatus::enabled;
        {
            const WithoutRights noRights;
            status = home.item.status();
            text = failure([&] { home.item.register_(); });
        }
        QVERIFY(QFile::setPermissions(home.entry, QFile::ReadOwner));

        QCOMPARE(status, LoginItemStatus::notRegistered);
        QCOMPARE(text, u"“%1” can’t be read (Permission denied)."_s.arg(home.entry));
        QCOMPARE(read(home.entry), "secret");
    }

    void configurationFolderThatIsAFileIsAClearFailure() {
        const Home home;
        write(home.folder.filePath(u"config"_s), {});
        QCOMPARE(failure([&] { home.item.register_(); }),
                 u"“%1” can’t be written (Not a directory)."_s.arg(home.entry));
    }

    void fullDiskIsAClearFailureAndLeavesWhatWasThere() {
        const Home home;
        const QByteArray before = "[Desktop Entry]\nType=Application\nExec=/nonexistent/quillo\n";
        write(home.entry, before);
        QString text;
        {
            const NoSpace full;
            text = failure([&] { home.item.register_(); });
        }

        QCOMPARE(text, u"“%1” can’t be written (File too large)."_s.arg(home.entry));
        QCOMPARE(read(home.entry), before);
        QCOMPARE(QDir(QFileInfo(home.entry).path()).entryList(QDir::Files).size(), 1);
    }

    void entryIsValid() {
        const Home home;
        home.item.register_();
        ChildProcess validator(u"desktop-file-validate"_s, {home.entry});
        const int status = validator.waitForExit();
        const auto complaints = validator.readAll();
        QVERIFY2(status == 0 && complaints.isEmpty(), complaints.constData());
    }

    void starterStartsTheRegisteredProgramAtLogin() {
        const Home home;
        home.item.register_();
        ChildProcess starter(u"dex"_s, {u"--autostart"_s});
        QVERIFY(waitUntil([&] { return QFile::exists(home.ran); }));
    }

    void starterStartsNothingOnceUnregistered() {
        const Home home;
        const auto whatIsStarted = [] {
            ChildProcess starter(u"dex"_s, {u"--autostart"_s, u"--dry-run"_s});
            const int status = starter.waitForExit();
            return status == 0 ? starter.readAll() : QByteArray("the starter failed");
        };
        home.item.register_();
        QVERIFY(whatIsStarted().contains(home.program.toUtf8()));

        home.item.unregister();
        QCOMPARE(whatIsStarted(), QByteArray());
    }

    void percentSignInThePathIsNoFieldCode() {
        const Home home;
        const auto program = home.folder.filePath(u"100%f"_s);
        QVERIFY(QFile::copy(home.program, program));
        const LoginItem item(applicationId, program);

        item.register_();

        QVERIFY(read(home.entry).contains("Exec=\"" + home.folder.path().toUtf8() + "/100%%f\"\n"));
        QCOMPARE(item.status(), LoginItemStatus::enabled);
    }

    void pathWithAnyCharactersIsStartedAsItIs_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("space") << u"my programs"_s;
        QTest::newRow("shell characters") << u"a$HOME`id`;&|<>*?#()'~"_s;
        QTest::newRow("quote and backslash") << u"a\"b\\c\\\\d"_s;
        QTest::newRow("line break and tab") << u"a\nb\tc\r"_s;
        QTest::newRow("not Latin") << u"программы ﷽"_s;
    }
    void pathWithAnyCharactersIsStartedAsItIs() {
        QFETCH(const QString, name);
        const Home home;
        const auto program = home.folder.filePath(name + u"/quillo"_s);
        QVERIFY(QDir(home.folder.path()).mkpath(name));
        QVERIFY(QFile::copy(home.program, program));
        const LoginItem item(applicationId, program);

        item.register_();

        QCOMPARE(item.status(), LoginItemStatus::enabled);
        ChildProcess starter(u"gio"_s, {u"launch"_s, home.entry});
        QVERIFY(waitUntil([&] { return QFile::exists(home.ran); }));
        ChildProcess validator(u"desktop-file-validate"_s, {home.entry});
        QCOMPARE(validator.waitForExit(), 0);
    }
};

QUILLO_TEST(LoginItemTest, QCoreApplication)
#include "LoginItemTest.moc"
