#include "platform/defaults/UserDefaults.h"

#include "platform/defaults/DefaultsFile.h"
#include "support/ChildProcess.h"
#include "support/LoopStallProbe.h"
#include "support/Wait.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <memory>
#include <optional>

#include <csignal>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto patience = 20s;

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

void put(const QString& path, const QByteArray& contents) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

QJsonObject objectIn(const QString& path) {
    return QJsonDocument::fromJson(contentsOf(path)).object();
}

/// Limits the size of every file that this process writes, as a full disk would.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit{bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &before); }

private:
    rlimit before{};
};

/// Run by the tests in another process: sets `count` keys of its own.
int setKeys(const QString& path, const QString& prefix, int count) {
    UserDefaults defaults(path);
    for (int number = 0; number < count; ++number) {
        defaults.setInteger(prefix + QString::number(number), number);
        if (!defaults.synchronize(patience)) {
            return 1;
        }
    }
    return 0;
}

/// Run by the tests in another process until it is killed: writes pairs that belong together.
[[noreturn]] void writeForEver(const QString& path) {
    const QString filler(3000, u'x');
    for (int number = 0;; ++number) {
        const QJsonObject pair{{u"first"_s, number}, {u"filler"_s, filler}, {u"second"_s, number}};
        static_cast<void>(DefaultsFile(path).merge(pair));
        std::puts("written");
        std::fflush(stdout);
    }
}

} // namespace

class UserDefaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        folder = std::make_unique<QTemporaryDir>();
        path = folder->filePath(u"quillo/defaults.json"_s);
    }

    void whatWasNeverSetIsAbsent() {
        const UserDefaults defaults(path);
        QVERIFY(!defaults.object(u"backend"_s).isValid());
        QCOMPARE(defaults.string(u"backend"_s), std::nullopt);
        QVERIFY(!QFile::exists(path));
    }

    void valuesHoldAtOnceAndComeBackWithTheirTypes() {
        {
            UserDefaults defaults(path);
            defaults.setString(u"text"_s, u"\"ß\u0001\u2028"_s);
            defaults.setString(u"empty"_s, QString());
            defaults.setInteger(u"large"_s, 9007199254740993);
            defaults.setInteger(u"least"_s, std::numeric_limits<qint64>::min());
            defaults.setInteger(u"one"_s, 1);
            defaults.setBoolean(u"yes"_s, true);
            defaults.setBoolean(u"no"_s, false);
            QCOMPARE(defaults.object(u"large"_s), QVariant(9007199254740993LL));
        }
        const UserDefaults defaults(path);
        QCOMPARE(defaults.string(u"text"_s), std::optional(u"\"ß\u0001\u2028"_s));
        QCOMPARE(defaults.string(u"empty"_s), std::optional(u""_s));
        QCOMPARE(defaults.object(u"large"_s), QVariant(9007199254740993LL));
        QCOMPARE(defaults.object(u"least"_s), QVariant(std::numeric_limits<qlonglong>::min()));
        QCOMPARE(defaults.object(u"one"_s), QVariant(1LL));
        QCOMPARE(defaults.object(u"yes"_s), QVariant(true));
        QCOMPARE(defaults.object(u"no"_s), QVariant(false));
        QCOMPARE(defaults.string(u"one"_s), std::nullopt);
    }

    void typesAreToldApart_data() {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<int>("type");
        QTest::newRow("boolean") << QByteArray("true") << int(QMetaType::Bool);
        QTest::newRow("integer") << QByteArray("1") << int(QMetaType::LongLong);
        QTest::newRow("whole number") << QByteArray("300.0") << int(QMetaType::LongLong);
        QTest::newRow("fraction") << QByteArray("1.5") << int(QMetaType::Double);
        QTest::newRow("beyond 64 bits") << QByteArray("9223372036854775808") << int(QMetaType::Double);
        QTest::newRow("text") << QByteArray("\"1\"") << int(QMetaType::QString);
        QTest::newRow("null") << QByteArray("null") << int(QMetaType::Nullptr);
        QTest::newRow("list") << QByteArray("[1]") << int(QMetaType::QVariantList);
        QTest::newRow("map") << QByteArray("{\"a\":1}") << int(QMetaType::QVariantMap);
    }
    void typesAreToldApart() {
        QFETCH(QByteArray, json);
        QFETCH(int, type);
        put(plainPath(), "{\"key\":" + json + "}");
        const UserDefaults defaults(plainPath());
        QCOMPARE(defaults.object(u"key"_s).typeId(), type);
    }

    void ofARepeatedKeyTheLastCounts() {
        put(plainPath(), "{\"key\":1,\"other\":0,\"key\":2}");
        QCOMPARE(UserDefaults(plainPath()).object(u"key"_s), QVariant(2LL));
    }

    void keysThatNobodyHereKnowsAreKept() {
        put(plainPath(), "{\"a/b\":[1,2.5,null],\"\":{\"deep\":true},\"large\":9007199254740993}");
        {
            UserDefaults defaults(plainPath());
            defaults.setBoolean(u"verifyTLS"_s, false);
        }
        const auto kept = objectIn(plainPath());
        QCOMPARE(kept.value(u"a/b"_s), QJsonValue(QJsonArray{1, 2.5, QJsonValue::Null}));
        QCOMPARE(kept.value(u""_s), QJsonValue(QJsonObject{{u"deep"_s, true}}));
        QCOMPARE(kept.value(u"large"_s).toInteger(), 9007199254740993);
        QCOMPARE(kept.value(u"verifyTLS"_s), QJsonValue(false));
    }

    void onlyTheOwnerMayReadTheFileAndItsFolder() {
        { UserDefaults(path).setInteger(u"key"_s, 1); }
        struct stat status {};
        QCOMPARE(::stat(qPrintable(path), &status), 0);
        QCOMPARE(status.st_mode & 0777U, 0600U);
        QCOMPARE(::stat(qPrintable(folder->filePath(u"quillo"_s)), &status), 0);
        QCOMPARE(status.st_mode & 0777U, 0700U);
    }

    void anEqualValueLeavesTheFileUntouched() {
        UserDefaults defaults(path);
        defaults.setInteger(u"key"_s, 1);
        QVERIFY(defaults.synchronize(patience));
        struct stat before {};
        QCOMPARE(::stat(qPrintable(path), &before), 0);
        defaults.setInteger(u"key"_s, 1);
        QVERIFY(defaults.synchronize(patience));
        struct stat after {};
        QCOMPARE(::stat(qPrintable(path), &after), 0);
        QCOMPARE(after.st_ino, before.st_ino);
    }

    void aDamagedFileCountsAsEmptyAndIsKeptAside_data() {
        QTest::addColumn<QByteArray>("contents");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("cut short") << QByteArray("{\"verifyTLS\":fal");
        QTest::newRow("trailing text") << QByteArray("{\"verifyTLS\":false} x");
        QTest::newRow("no object") << QByteArray("[1]");
        QTest::newRow("not UTF-8") << QByteArray("{\"verifyTLS\":\"\xff\xfe\"}");
        QTest::newRow("deep") << QByteArray(100'000, '[');
        QTest::newRow("zeros") << QByteArray(4096, '\0');
        QTest::newRow("too large") << QByteArray("{\"a\":\"" + QByteArray(DefaultsFile::largestSize, 'x') +
                                                 "\"}");
    }
    void aDamagedFileCountsAsEmptyAndIsKeptAside() {
        QFETCH(QByteArray, contents);
        put(plainPath(), contents);
        {
            UserDefaults defaults(plainPath());
            QVERIFY(!defaults.object(u"verifyTLS"_s).isValid());
            QCOMPARE(contentsOf(plainPath()), contents);
            defaults.setInteger(u"key"_s, 1);
            QVERIFY(defaults.synchronize(patience));
            defaults.setInteger(u"key"_s, 2);
        }
        QCOMPARE(objectIn(plainPath()), (QJsonObject{{u"key"_s, 2}}));
        QCOMPARE(contentsOf(plainPath() + u".damaged-1"_s), contents);
        QVERIFY(!QFile::exists(plainPath() + u".damaged-2"_s));
    }

    void everyDamagedFileIsKept() {
        for (const auto* contents : {"first", "second"}) {
            put(plainPath(), contents);
            UserDefaults(plainPath()).setInteger(u"key"_s, 1);
        }
        QCOMPARE(contentsOf(plainPath() + u".damaged-1"_s), "first");
        QCOMPARE(contentsOf(plainPath() + u".damaged-2"_s), "second");
    }

    void aFolderInTheFilesPlaceIsMovedAsideWithWhatIsInIt() {
        QVERIFY(QDir().mkpath(path));
        put(path + u"/inside"_s, "kept");
        { UserDefaults(path).setInteger(u"key"_s, 1); }
        QCOMPARE(objectIn(path), (QJsonObject{{u"key"_s, 1}}));
        QCOMPARE(contentsOf(path + u".damaged-1/inside"_s), "kept");
    }

    void whatWouldBlockAReaderIsNotOpened() {
        QCOMPARE(::mkfifo(qPrintable(plainPath()), 0600), 0);
        {
            UserDefaults defaults(plainPath());
            QVERIFY(!defaults.object(u"key"_s).isValid());
            defaults.setInteger(u"key"_s, 1);
        }
        QCOMPARE(objectIn(plainPath()), (QJsonObject{{u"key"_s, 1}}));
    }

    void aLinkIsFollowedAndStays() {
        const auto target = folder->filePath(u"elsewhere.json"_s);
        QVERIFY(QFile::link(target, plainPath()));
        { UserDefaults(plainPath()).setInteger(u"key"_s, 1); }
        { UserDefaults(plainPath()).setInteger(u"other"_s, 2); }
        QVERIFY(QFileInfo(plainPath()).isSymLink());
        QCOMPARE(objectIn(target), (QJsonObject{{u"key"_s, 1}, {u"other"_s, 2}}));
    }

    void aLinkToADamagedFileIsMovedAsideAndTheFileStays() {
        const auto target = folder->filePath(u"elsewhere.json"_s);
        put(target, "damaged");
        QVERIFY(QFile::link(target, plainPath()));
        { UserDefaults(plainPath()).setInteger(u"key"_s, 1); }
        QCOMPARE(contentsOf(target), "damaged");
        QCOMPARE(objectIn(plainPath()), (QJsonObject{{u"key"_s, 1}}));
        QVERIFY(QFileInfo(plainPath() + u".damaged-1"_s).isSymLink());
    }

    void aFolderThatCannotBeWrittenLosesNothingAndIsTriedAgain() {
        const auto obstacle = folder->filePath(u"quillo"_s);
        put(obstacle, "a file where the folder should be");
        UserDefaults defaults(path);
        defaults.setInteger(u"key"_s, 1);
        QVERIFY(!defaults.synchronize(patience));
        QCOMPARE(defaults.object(u"key"_s), QVariant(1LL));
        QCOMPARE(contentsOf(obstacle), "a file where the folder should be");
        QVERIFY(QFile::remove(obstacle));
        defaults.setInteger(u"other"_s, 2);
        QVERIFY(defaults.synchronize(patience));
        QCOMPARE(objectIn(path), (QJsonObject{{u"key"_s, 1}, {u"other"_s, 2}}));
    }

    void aFullDiskLeavesTheOldFileAndIsTriedAgain() {
        UserDefaults defaults(path);
        defaults.setInteger(u"key"_s, 1);
        QVERIFY(defaults.synchronize(patience));
        const auto before = contentsOf(path);
        const QString large(2000, u'x');
        {
            const FullDisk full(500);
            defaults.setString(u"large"_s, large);
            QVERIFY(!defaults.synchronize(patience));
            QCOMPARE(defaults.string(u"large"_s), std::optional(large));
            QCOMPARE(contentsOf(path), before);
        }
        QVERIFY(defaults.synchronize(patience));
        QCOMPARE(objectIn(path).value(u"large"_s).toString(), large);
    }

    void aNewerValueIsNotUndoneByTheRetryOfAnOlderOne() {
        const auto obstacle = folder->filePath(u"quillo"_s);
        put(obstacle, "in the way");
        UserDefaults defaults(path);
        defaults.setInteger(u"key"_s, 1);
        QVERIFY(!defaults.synchronize(patience));
        QVERIFY(QFile::remove(obstacle));
        defaults.setInteger(u"key"_s, 2);
        QVERIFY(defaults.synchronize(patience));
        QCOMPARE(objectIn(path), (QJsonObject{{u"key"_s, 2}}));
    }

    void anotherProcessThatHoldsTheLockStallsNothing() {
        QVERIFY(QDir().mkpath(folder->filePath(u"quillo"_s)));
        QFile lock(path + u".lock"_s);
        QVERIFY(lock.open(QIODevice::ReadWrite));
        QCOMPARE(::flock(lock.handle(), LOCK_EX | LOCK_NB), 0);
        UserDefaults defaults(path);
        LoopStallProbe probe;
        for (int number = 0; number < 100; ++number) {
            defaults.setInteger(u"key"_s, number);
            drainEvents();
        }
        QVERIFY(probe.longestStall() < LoopStallProbe::budget);
        QVERIFY(!defaults.synchronize(10ms));
        QCOMPARE(defaults.object(u"key"_s), QVariant(99LL));
        lock.close();
        QVERIFY(defaults.synchronize(patience));
        QCOMPARE(objectIn(path), (QJsonObject{{u"key"_s, 99}}));
    }

    void twoProcessesThatWriteAtOnceLoseNothing() {
        constexpr int count = 40;
        ChildProcess one(QCoreApplication::applicationFilePath(),
                         {u"UserDefaultsTest"_s, u"--set-keys"_s, path, u"one"_s, QString::number(count)});
        ChildProcess two(QCoreApplication::applicationFilePath(),
                         {u"UserDefaultsTest"_s, u"--set-keys"_s, path, u"two"_s, QString::number(count)});
        QCOMPARE(one.waitForExit(60s), 0);
        QCOMPARE(two.waitForExit(60s), 0);
        const auto written = objectIn(path);
        QCOMPARE(written.size(), 2 * count);
        for (int number = 0; number < count; ++number) {
            QCOMPARE(written.value(u"one%1"_s.arg(number)), QJsonValue(number));
            QCOMPARE(written.value(u"two%1"_s.arg(number)), QJsonValue(number));
        }
    }

    void aProcessThatIsKilledLeavesTheOldOrTheNewFile() {
        for (int round = 0; round < 25; ++round) {
            ChildProcess writer(QCoreApplication::applicationFilePath(),
                                {u"UserDefaultsTest"_s, u"--write-for-ever"_s, path});
            for (int written = 0; written <= round % 5; ++written) {
                static_cast<void>(writer.readLine());
            }
            writer.kill();
            const auto left = objectIn(path);
            QVERIFY(left.contains(u"first"_s));
            QCOMPARE(left.value(u"first"_s), left.value(u"second"_s));
            // Whatever lock the killed process held is no obstacle.
            static_cast<void>(DefaultsFile(path).merge({{u"round"_s, round}}));
        }
        QCOMPARE(objectIn(path).value(u"round"_s), QJsonValue(24));
        QVERIFY(QDir(folder->filePath(u"quillo"_s)).entryList({u"*.damaged-*"_s}).isEmpty());
    }

    void theStandardPathFollowsTheEnvironment() {
        qputenv("XDG_CONFIG_HOME", folder->path().toUtf8());
        QCOMPARE(UserDefaults::standardPath(), path);
        qunsetenv("XDG_CONFIG_HOME");
        qputenv("HOME", folder->path().toUtf8());
        QCOMPARE(UserDefaults::standardPath(), folder->filePath(u".config/quillo/defaults.json"_s));
    }

private:
    /// In a folder that is there already.
    [[nodiscard]] QString plainPath() const { return folder->filePath(u"defaults.json"_s); }

    std::unique_ptr<QTemporaryDir> folder;
    QString path;
};

/// Started by its own tests, too, to write as another process.
int UserDefaultsTestMain(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    if (arguments.value(1) == u"--set-keys"_s) {
        return setKeys(arguments.at(2), arguments.at(3), arguments.at(4).toInt());
    }
    if (arguments.value(1) == u"--write-for-ever"_s) {
        writeForEver(arguments.at(2));
    }
    UserDefaultsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "UserDefaultsTest.moc"
