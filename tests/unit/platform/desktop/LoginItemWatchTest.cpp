#include "platform/desktop/LoginItemWatch.h"

#include "support/Wait.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using namespace quillo::test;

namespace {

const auto applicationId = u"app.quillo.Quillo.Test"_s;
const QByteArray off = "Hidden=true\n";

void write(QFileDevice& file, const QByteArray& text) {
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        qFatal("cannot write %s", qPrintable(file.fileName()));
    }
}

} // namespace

class LoginItemWatchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        folder = std::make_unique<QTemporaryDir>();
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(folder->path()));
        qputenv("XDG_DATA_HOME", QFile::encodeName(folder->path()));
        QVERIFY(QDir().mkpath(folder->filePath(u"applications"_s)));
        QFile installed(folder->filePath(u"applications/%1.desktop"_s.arg(applicationId)));
        write(installed, "[Desktop Entry]\nType=Application\nName=Quillo\nExec=sh\n");
        changes = 0;
    }

    void theFirstRegistrationIsTold() {
        watch();
        item.register_();
        QVERIFY(waitUntil([&] { return changes == 1; }));
    }

    void theDesktopsOwnSwitchIsTold_data() {
        QTest::addColumn<bool>("replaced");
        QTest::newRow("written in place") << false;
        QTest::newRow("replaced as a whole") << true;
    }
    void theDesktopsOwnSwitchIsTold() {
        QFETCH(const bool, replaced);
        item.register_();
        const auto on = entryText();
        watch();
        for (int turn = 1; turn < 5; ++turn) {
            setEntry(turn % 2 == 1 ? on + off : on, replaced);
            QVERIFY(waitUntil([&] { return changes == turn; }));
            QCOMPARE(item.status(),
                     turn % 2 == 1 ? LoginItemStatus::requiresApproval : LoginItemStatus::enabled);
        }
    }

    void anEntryThatIsTakenAwayAndPutBackIsTold() {
        item.register_();
        watch();
        QVERIFY(QFile::remove(item.entryPath()));
        QVERIFY(waitUntil([&] { return changes == 1; }));
        item.register_();
        QVERIFY(waitUntil([&] { return changes == 2; }));
    }

    void anAutostartFolderThatGoesAndComesBackIsFollowed() {
        item.register_();
        watch();
        QVERIFY(QDir(QFileInfo(item.entryPath()).path()).removeRecursively());
        QVERIFY(waitUntil([&] { return changes == 1; }));
        item.register_();
        QVERIFY(waitUntil([&] { return changes == 2; }));
    }

    void whatOtherProgramsDoWithTheirEntriesIsNot() {
        item.register_();
        watch();
        QFile other(QFileInfo(item.entryPath()).path() + u"/other.desktop"_s);
        write(other, "[Desktop Entry]\n");
        other.close();
        QVERIFY(QFile::remove(item.entryPath()));
        QVERIFY(waitUntil([&] { return changes > 0; }));
        QCOMPARE(changes, 1);
    }

private:
    void watch() {
        watching = std::make_unique<LoginItemWatch>(item);
        observation = watching->changed.observe([this] { ++changes; });
    }

    [[nodiscard]] QByteArray entryText() const {
        QFile file(item.entryPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void setEntry(const QByteArray& text, bool replaced) const {
        if (replaced) {
            QSaveFile file(item.entryPath());
            write(file, text);
            QVERIFY(file.commit());
        } else {
            QFile file(item.entryPath());
            write(file, text);
        }
    }

    std::unique_ptr<QTemporaryDir> folder;
    LoginItem item{applicationId, u"/bin/sh"_s};
    std::unique_ptr<LoginItemWatch> watching;
    Observation observation;
    int changes = 0;
};

QTEST_GUILESS_MAIN(LoginItemWatchTest)
#include "LoginItemWatchTest.moc"
