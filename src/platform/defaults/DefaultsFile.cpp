#include "platform/defaults/DefaultsFile.h"

#include "core/LocalizedError.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

#include <cerrno>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace quillo {

namespace {

constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner;

/// Others hold the lock for milliseconds; one that holds it for longer has hung.
constexpr auto longestWaitForLock = 5s;

const auto notSaved = u"Settings could not be saved: "_s;
const auto notRead = u"Settings cannot be read: "_s;

/// Keeps others from the work that `file` stands for, for as long as it is open: the lock is the kernel's
/// (flock(2)) and ends with its process, however that ends. The file is made where it is missing and stays.
void lock(QFile& file) {
    if (!file.open(QIODevice::ReadWrite, ownerOnly)) {
        throw LocalizedError(notSaved + file.errorString());
    }
    // flock knows no time limit.
    const QDeadlineTimer deadline(longestWaitForLock);
    while (::flock(file.handle(), LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || deadline.hasExpired()) {
            throw LocalizedError(notSaved + qt_error_string(errno));
        }
        std::this_thread::sleep_for(2ms);
    }
}

} // namespace

QJsonObject DefaultsFile::read() const {
    return load().value_or(QJsonObject());
}

QJsonObject DefaultsFile::merge(const QJsonObject& changes) const {
    // Parents are made as the system likes, the last folder for its owner only. Another process may be
    // faster; without a folder the lock fails.
    const auto folder = QFileInfo(path).path();
    QDir().mkpath(QFileInfo(folder).path());
    QDir().mkdir(folder, ownerOnly | QFile::ExeOwner);
    QFile lockFile(path + ".lock"_L1);
    lock(lockFile);
    const auto before = load();
    auto values = merged(before.value_or(QJsonObject()), changes);
    if (values == before) {
        return values;
    }
    if (!before) {
        moveAside();
    }
    // Complete and on the disk under another name before it takes the old one's place. Follows a link. In
    // Qt 6.4, commit() alone would put a file in place whose last bytes found no room.
    QSaveFile file(path);
    const auto contents = format(values);
    const bool isWritten = file.open(QIODevice::WriteOnly) && file.setPermissions(ownerOnly) &&
                           file.write(contents) == contents.size() && file.flush() && file.commit();
    if (!isWritten) {
        throw LocalizedError(notSaved + file.errorString());
    }
    return values;
}

std::optional<QJsonObject> DefaultsFile::parse(const QByteArray& contents) {
    const auto document = QJsonDocument::fromJson(contents);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

QJsonObject DefaultsFile::merged(QJsonObject values, const QJsonObject& changes) {
    for (auto change = changes.constBegin(); change != changes.constEnd(); ++change) {
        values.insert(change.key(), change.value());
    }
    return values;
}

QByteArray DefaultsFile::format(const QJsonObject& values) {
    return QJsonDocument(values).toJson();
}

std::optional<QJsonObject> DefaultsFile::load() const {
    // Without waiting, because a pipe would have that done for ever.
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0 && (errno == ENOENT || errno == ENOTDIR)) {
        return QJsonObject(); // nothing, or a link that leads nowhere yet
    }
    if (descriptor < 0 && (errno == ELOOP || errno == ENXIO)) {
        return std::nullopt; // links in a circle, a socket
    }
    QFile file;
    struct stat status {};
    if (descriptor < 0 || !file.open(descriptor, QIODevice::ReadOnly, QFile::AutoCloseHandle) ||
        ::fstat(descriptor, &status) != 0) {
        throw LocalizedError(notRead + qt_error_string(errno));
    }
    if (!S_ISREG(status.st_mode) || status.st_size > largestSize) {
        return std::nullopt;
    }
    errno = 0;
    const auto contents = file.read(largestSize + 1);
    if (file.error() != QFile::NoError) {
        throw LocalizedError(notRead + qt_error_string(errno));
    }
    return parse(contents);
}

void DefaultsFile::moveAside() const {
    for (int number = 1;; ++number) {
        const QFileInfo aside(u"%1.damaged-%2"_s.arg(path).arg(number));
        if (!aside.exists() && !aside.isSymLink()) {
            // Of a link, the link: what it leads to stays where it is.
            if (!QFile::rename(path, aside.filePath())) {
                throw LocalizedError(notSaved + qt_error_string());
            }
            return;
        }
    }
}

} // namespace quillo
