#include "platform/symbols/IconFolder.h"
#include "support/TestMain.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;

namespace {

const QStringList symbols{u"network.slash"_s,
                          u"exclamationmark.triangle.fill"_s,
                          u"creditcard.trianglebadge.exclamationmark"_s,
                          u"exclamationmark.circle"_s,
                          u"hourglass"_s,
                          u"creditcard"_s};

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString iconFile(const QString& symbol) {
    return symbolIconName(symbol) + u".svg"_s;
}

} // namespace

class IconFolderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anIconIsNamedAfterItsSymbol() {
        QCOMPARE(symbolIconName(u"network.slash"_s), u"quillo-network-slash-symbolic"_s);
        QCOMPARE(symbolIconName(u"creditcard"_s), u"quillo-creditcard-symbolic"_s);
    }

    void theProgramCarriesAnIconForEverySymbol() {
        for (const auto& symbol : symbols) {
            QXmlStreamReader svg(contents(u":/icons/hicolor/symbolic/apps/"_s + iconFile(symbol)));
            QVERIFY2(svg.readNextStartElement() && svg.name() == u"svg", qPrintable(symbol));
            while (!svg.atEnd()) {
                svg.readNext();
            }
            QVERIFY2(!svg.hasError(), qPrintable(symbol));
        }
        QVERIFY(QFile::exists(u":/icons/hicolor/scalable/apps/app.quillo.Quillo.svg"_s));
    }

    void writesEveryIconForTheUserAlone() {
        const QTemporaryDir base;
        const auto folder = base.filePath(u"quillo/icons"_s);
        QVERIFY(writeIcons(folder));
        for (const auto& symbol : symbols) {
            QCOMPARE(contents(folder + u'/' + iconFile(symbol)),
                     contents(u":/icons/hicolor/symbolic/apps/"_s + iconFile(symbol)));
        }
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), symbols.size());
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                            QFile::WriteOther | QFile::ExeOther;
        QVERIFY(!(QFile::permissions(folder) & others));
    }

    void aFlatpaksIconsLieWhereTheHostHasThemUnderTheSamePath() {
        const QTemporaryDir runtime;
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        qputenv("FLATPAK_ID", "app.quillo.Quillo");
        const auto folder = iconThemePath();
        qunsetenv("FLATPAK_ID");
        QCOMPARE(folder, runtime.filePath(u"app/app.quillo.Quillo/icons"_s));
        QVERIFY(QFile::exists(folder + u'/' + iconFile(u"creditcard"_s)));
    }

    void aPipeAmongTheIconsIsReplacedAndNotWaitedFor() {
        const QTemporaryDir base;
        const auto path = base.filePath(iconFile(u"creditcard"_s));
        QCOMPARE(mkfifo(qPrintable(path), 0600), 0);
        // Reading a pipe without a writer would wait for ever; a signal ends that.
        alarm(20);
        QVERIFY(writeIcons(base.path()));
        alarm(0);
        QVERIFY(QFileInfo(path).isFile());
        QCOMPARE(contents(path), contents(carriedIcon(u"creditcard"_s)));
    }

    void mendsWhatIsDamagedAndLeavesWhatIsRight() {
        const QTemporaryDir base;
        const auto folder = base.path();
        QVERIFY(writeIcons(folder));
        const auto right = folder + u'/' + iconFile(u"creditcard"_s);
        const auto damaged = folder + u'/' + iconFile(u"hourglass"_s);
        const auto before = QFileInfo(right).fileTime(QFile::FileModificationTime);
        QFile file(damaged);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("<svg");
        file.close();
        QVERIFY(writeIcons(folder));
        QCOMPARE(contents(damaged), contents(u":/icons/hicolor/symbolic/apps/"_s + iconFile(u"hourglass"_s)));
        QCOMPARE(QFileInfo(right).fileTime(QFile::FileModificationTime), before);
    }

    void saysWhenTheIconsCannotBeWritten() {
        const QTemporaryDir base;
        QFile obstacle(base.filePath(u"quillo"_s));
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        obstacle.close();
        QVERIFY(!writeIcons(base.filePath(u"quillo/icons"_s)));
    }

    void anInstalledProgramUsesTheIconsItCameWith() {
        const QTemporaryDir prefix;
        QCOMPARE(installedIconFolder(prefix.filePath(u"bin"_s)), QString());
        const auto apps = prefix.filePath(u"share/icons/hicolor/symbolic/apps"_s);
        QVERIFY(QDir().mkpath(apps) && QDir().mkpath(prefix.filePath(u"bin"_s)));
        QVERIFY(QFile::copy(u":/icons/hicolor/symbolic/apps/"_s + iconFile(u"creditcard"_s),
                            apps + u'/' + iconFile(u"creditcard"_s)));
        QCOMPARE(installedIconFolder(prefix.filePath(u"bin"_s)), prefix.filePath(u"share/icons"_s));
    }

    void aProgramThatIsNotInstalledKeepsItsIconsInTheRuntimeFolder() {
        const QTemporaryDir runtime;
        QFile::setPermissions(runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime.path().toUtf8());
        QCOMPARE(iconThemePath(), runtime.filePath(u"quillo/icons"_s));
        QVERIFY(QFile::exists(iconThemePath() + u'/' + iconFile(u"network.slash"_s)));
    }

    void theCacheFolderStandsInForARuntimeFolderThatCannotBeWritten() {
        const QTemporaryDir cache;
        const QTemporaryDir runtime;
        QFile obstacle(runtime.filePath(u"quillo"_s));
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        obstacle.close();
        QFile::setPermissions(runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime.path().toUtf8());
        qputenv("XDG_CACHE_HOME", cache.path().toUtf8());
        QCOMPARE(iconThemePath(), cache.filePath(u"quillo/icons"_s));
    }
};

QUILLO_TEST(IconFolderTest, QCoreApplication)
#include "IconFolderTest.moc"
