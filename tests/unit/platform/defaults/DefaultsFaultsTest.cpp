#include "platform/defaults/DefaultsFile.h"
#include "platform/defaults/UserDefaults.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <memory>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto patience = 20s;
constexpr auto betweenTries = 1ms;

/// Which of the system calls on files of one folder fail, and how.
struct Faults {
    enum class Call { open, read, status, write, sync, rename, lock };

    std::string folder;
    std::atomic<Call> call;
    std::atomic_int error = 0;
    std::atomic_int before = 0; ///< calls that succeed first
    std::atomic_int count = 0;  ///< calls that fail then

    [[nodiscard]] bool concerns(std::string_view path) const {
        return !folder.empty() && path.starts_with(folder);
    }

    /// Whether this call is to fail; errno is set then.
    [[nodiscard]] bool fails(Call made, std::string_view path) {
        if (count <= 0 || made != call || !concerns(path) || before-- > 0) {
            return false;
        }
        --count;
        errno = error;
        return true;
    }

    [[nodiscard]] bool fails(Call made, int descriptor) {
        if (count <= 0) {
            return false;
        }
        std::array<char, 4096> path{};
        const auto link = "/proc/self/fd/" + std::to_string(descriptor);
        const auto length = ::readlink(link.c_str(), path.data(), path.size());
        return length > 0 && fails(made, std::string_view(path.data(), static_cast<std::size_t>(length)));
    }
};

Faults faults;

template <typename Function>
Function* systemsOwn(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

mode_t modeOf(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
}

} // namespace

// The calls of this program and its libraries that reach the settings file. Libraries see what is exported.
#pragma GCC visibility push(default)
extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = modeOf(flags, arguments);
    va_end(arguments);
    static auto* const system = systemsOwn<int(const char*, int, ...)>("open");
    return faults.fails(Faults::Call::open, path) ? -1 : system(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = modeOf(flags, arguments);
    va_end(arguments);
    static auto* const system = systemsOwn<int(const char*, int, ...)>("open64");
    return faults.fails(Faults::Call::open, path) ? -1 : system(path, flags, mode);
}

ssize_t read(int descriptor, void* buffer, size_t size) {
    static auto* const system = systemsOwn<ssize_t(int, void*, size_t)>("read");
    return faults.fails(Faults::Call::read, descriptor) ? -1 : system(descriptor, buffer, size);
}

ssize_t write(int descriptor, const void* buffer, size_t size) {
    static auto* const system = systemsOwn<ssize_t(int, const void*, size_t)>("write");
    return faults.fails(Faults::Call::write, descriptor) ? -1 : system(descriptor, buffer, size);
}

int fstat(int descriptor, struct stat* status) noexcept {
    static auto* const system = systemsOwn<int(int, struct stat*)>("fstat");
    return faults.fails(Faults::Call::status, descriptor) ? -1 : system(descriptor, status);
}

int fsync(int descriptor) {
    static auto* const system = systemsOwn<int(int)>("fsync");
    return faults.fails(Faults::Call::sync, descriptor) ? -1 : system(descriptor);
}

int fdatasync(int descriptor) {
    static auto* const system = systemsOwn<int(int)>("fdatasync");
    return faults.fails(Faults::Call::sync, descriptor) ? -1 : system(descriptor);
}

int rename(const char* from, const char* to) noexcept {
    static auto* const system = systemsOwn<int(const char*, const char*)>("rename");
    return faults.fails(Faults::Call::rename, from) ? -1 : system(from, to);
}

int flock(int descriptor, int operation) noexcept {
    static auto* const system = systemsOwn<int(int, int)>("flock");
    return faults.fails(Faults::Call::lock, descriptor) ? -1 : system(descriptor, operation);
}
}
#pragma GCC visibility pop

Q_DECLARE_METATYPE(Faults::Call)

namespace {

/// Makes calls fail for as long as it lives.
class Failing {
public:
    Failing(Faults::Call call, int error, int before = 0, int count = 1'000'000) {
        faults.call = call;
        faults.error = error;
        faults.before = before;
        faults.count = count;
    }
    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;
    ~Failing() { faults.count = 0; }
};

} // namespace

class DefaultsFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        folder = std::make_unique<QTemporaryDir>();
        faults.folder = folder->path().toStdString();
        path = folder->filePath(u"defaults.json"_s);
        static_cast<void>(DefaultsFile(path).merge(stored));
    }
    void cleanup() { faults.count = 0; }

    void aFileThatCannotBeReadNowIsNoDamagedOne_data() { reading(); }
    void aFileThatCannotBeReadNowIsNoDamagedOne() {
        QFETCH(Faults::Call, call);
        QFETCH(int, error);
        UserDefaults defaults(path, betweenTries);
        {
            const Failing failing(call, error);
            defaults.setInteger(u"first"_s, 1);
            defaults.setInteger(u"second"_s, 2);
            QVERIFY(!defaults.synchronize(patience));
            QVERIFY(waitUntil([&] { return defaults.problem().has_value(); }));
            QVERIFY(defaults.problem()->startsWith(u"Settings c"));
        }
        QCOMPARE(DefaultsFile(path).read(), stored);
        QVERIFY(waitUntil([&] { return !defaults.problem(); }));
        QCOMPARE(DefaultsFile(path).read(), withChanges());
        QVERIFY(nothingWasMovedAside());
    }

    void aFileThatCannotBeReadAtTheStartIsReadLater_data() { reading(); }
    void aFileThatCannotBeReadAtTheStartIsReadLater() {
        QFETCH(Faults::Call, call);
        QFETCH(int, error);
        std::unique_ptr<UserDefaults> defaults;
        {
            const Failing failing(call, error);
            defaults = std::make_unique<UserDefaults>(path, betweenTries);
            QVERIFY(defaults->problem()->startsWith(u"Settings cannot be read: "));
            QVERIFY(!defaults->isKnown(u"backend"_s));
            QVERIFY(!defaults->object(u"backend"_s).isValid());
        }
        int arrivals = 0;
        const auto arrival = defaults->becameReadable.observe([&] { ++arrivals; });
        QVERIFY(waitUntil([&] { return !defaults->problem(); }));
        QCOMPARE(arrivals, 1);
        QVERIFY(defaults->isKnown(u"backend"_s));
        QCOMPARE(defaults->string(u"backend"_s), std::optional(u"https://own.example"_s));
        QCOMPARE(DefaultsFile(path).read(), stored);
        QVERIFY(nothingWasMovedAside());
    }

    void whatIsSetBeforeTheFileCouldBeReadWinsAndTheRestIsKept() {
        std::unique_ptr<UserDefaults> defaults;
        {
            const Failing failing(Faults::Call::open, EMFILE);
            defaults = std::make_unique<UserDefaults>(path, betweenTries);
            defaults->setInteger(u"refreshInterval"_s, 60);
            QVERIFY(defaults->isKnown(u"refreshInterval"_s));
            QVERIFY(!defaults->isKnown(u"backend"_s));
        }
        QVERIFY(waitUntil([&] { return !defaults->problem(); }));
        QCOMPARE(defaults->object(u"refreshInterval"_s), QVariant(60LL));
        QCOMPARE(defaults->string(u"backend"_s), std::optional(u"https://own.example"_s));
        auto expected = stored;
        expected.insert(u"refreshInterval"_s, 60);
        QTRY_COMPARE(DefaultsFile(path).read(), expected);
    }

    void noFailingCallLosesASettingOrMovesTheFileAside_data() {
        reading();
        const auto row = [](const char* name, Faults::Call call, int error) {
            QTest::newRow(name) << call << error;
        };
        row("write ENOSPC", Faults::Call::write, ENOSPC);
        row("write EIO", Faults::Call::write, EIO);
        row("fsync EIO", Faults::Call::sync, EIO);
        row("rename EACCES", Faults::Call::rename, EACCES);
        row("flock ENOLCK", Faults::Call::lock, ENOLCK);
    }

    /// One failing call after the other, at the start, in a change and at the end, up to the last one made.
    void noFailingCallLosesASettingOrMovesTheFileAside() {
        QFETCH(Faults::Call, call);
        QFETCH(int, error);
        bool wasReached = true;
        for (int before = 0; wasReached; ++before) {
            QVERIFY(QFile::remove(path));
            static_cast<void>(DefaultsFile(path).merge(stored));
            {
                const Failing failing(call, error, before, 1);
                UserDefaults defaults(path, betweenTries);
                defaults.setInteger(u"first"_s, 1);
                drainEvents();
                defaults.setInteger(u"second"_s, 2);
            }
            wasReached = faults.before <= -1;
            QVERIFY(before > 0 || wasReached);
            QCOMPARE(DefaultsFile(path).read(), withChanges());
            QVERIFY(nothingWasMovedAside());
        }
    }

    void aWriteThatKeepsFailingIsToldAndTriedUntilItSucceeds() {
        UserDefaults defaults(path, betweenTries);
        QStringList told;
        const auto observation =
            defaults.tried.observe([&] { told.append(defaults.problem().value_or(QString())); });
        {
            const Failing failing(Faults::Call::write, ENOSPC);
            defaults.setInteger(u"first"_s, 1);
            defaults.setInteger(u"second"_s, 2);
            QVERIFY(waitUntil([&] { return told.size() >= 3; }));
            QVERIFY(told.last().startsWith(u"Settings could not be saved: No space left"));
            QVERIFY(!told.last().contains(u'\n'));
        }
        QVERIFY(waitUntil([&] { return told.last().isEmpty(); }));
        QCOMPARE(DefaultsFile(path).read(), withChanges());
    }

    void aLockThatAnotherHoldsAtTheEndIsWaitedFor() {
        // The lock is asked for every two milliseconds: so long that the end once gave up.
        const Failing heldByAnother(Faults::Call::lock, EWOULDBLOCK, 0, 1300);
        {
            UserDefaults defaults(path, betweenTries);
            defaults.setInteger(u"first"_s, 1);
            defaults.setInteger(u"second"_s, 2);
        }
        QVERIFY(faults.count <= 0);
        QCOMPARE(DefaultsFile(path).read(), withChanges());
    }

private:
    static void reading() {
        QTest::addColumn<Faults::Call>("call");
        QTest::addColumn<int>("error");
        const auto row = [](const char* name, Faults::Call call, int error) {
            QTest::newRow(name) << call << error;
        };
        row("open EMFILE", Faults::Call::open, EMFILE);
        row("open EACCES", Faults::Call::open, EACCES);
        row("open EIO", Faults::Call::open, EIO);
        row("open ENOMEM", Faults::Call::open, ENOMEM);
        row("read EIO", Faults::Call::read, EIO);
        row("read ENOMEM", Faults::Call::read, ENOMEM);
        row("fstat ENOMEM", Faults::Call::status, ENOMEM);
        row("fstat EIO", Faults::Call::status, EIO);
    }

    [[nodiscard]] QJsonObject withChanges() const {
        return DefaultsFile::merged(stored, {{u"first"_s, 1}, {u"second"_s, 2}});
    }

    [[nodiscard]] bool nothingWasMovedAside() const {
        return QDir(folder->path()).entryList({u"*.damaged-*"_s}).isEmpty();
    }

    const QJsonObject stored{{u"backend"_s, u"https://own.example"_s}, {u"verifyTLS"_s, false}};
    std::unique_ptr<QTemporaryDir> folder;
    QString path;
};

QUILLO_TEST(DefaultsFaultsTest, QCoreApplication)
#include "DefaultsFaultsTest.moc"
