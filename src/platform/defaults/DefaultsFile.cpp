#include "platform/defaults/DefaultsFile.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include <sys/file.h>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace quillo {

namespace {

constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner;

/// Others hold the lock for milliseconds; one that holds it for longer has hung.
constexpr auto longestWaitForLock = 5s;

/// Keeps others from the work that `file` stands for, for as long as it is open: the lock is the kernel's
/// (flock(2)) and ends with its process, however that ends. The file is made where it is missing and stays.
bool lock(QFile& file) {
    if (!file.open(QIODevice::ReadWrite, ownerOnly)) {
        return false;
    }
    // flock knows no time limit.
    const QDeadlineTimer deadline(longestWaitForLock);
    while (::flock(file.handle(), LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || deadline.hasExpired()) {
            return false;
        }
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

/// Parents are made as the system likes, the last folder for its owner only. Another process may be faster.
bool makeFolder(const QFileInfo& file) {
    const auto folder = file.path();
    const bool made =
        QDir().mkpath(QFileInfo(folder).path()) && QDir().mkdir(folder, ownerOnly | QFile::ExeOwner);
    return made || QFileInfo(folder).isDir();
}

} // namespace

QJsonObject DefaultsFile::read() const {
    return load().value_or(QJsonObject());
}

bool DefaultsFile::merge(const QJsonObject& changes) const {
    QFile lockFile(path + ".lock"_L1);
    if (!makeFolder(QFileInfo(path)) || !lock(lockFile)) {
        return false;
    }
    const auto before = load();
    const auto values = merged(before.value_or(QJsonObject()), changes);
    if (values == before) {
        return true;
    }
    if (!before && !moveAside()) {
        return false;
    }
    // Complete and on the disk under another name before it takes the old one's place. Follows a link. In
    // Qt 6.4, commit() alone would put a file in place whose last bytes found no room.
    QSaveFile file(path);
    const auto contents = format(values);
    return file.open(QIODevice::WriteOnly) && file.setPermissions(ownerOnly) &&
           file.write(contents) == contents.size() && file.flush() && file.commit();
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
    const QFileInfo info(path);
    if (!info.exists()) {
        return QJsonObject(); // nothing, or a link that leads nowhere yet
    }
    QFile file(path);
    // Anything but a file might block or never end.
    if (!info.isFile() || info.size() > largestSize || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const auto contents = file.read(largestSize + 1);
    return file.error() == QFile::NoError ? parse(contents) : std::nullopt;
}

bool DefaultsFile::moveAside() const {
    for (int number = 1;; ++number) {
        const QFileInfo aside(u"%1.damaged-%2"_s.arg(path).arg(number));
        if (!aside.exists() && !aside.isSymLink()) {
            // Of a link, the link: what it leads to stays where it is.
            std::error_code error;
            std::filesystem::rename(QFile::encodeName(path).toStdString(),
                                    QFile::encodeName(aside.filePath()).toStdString(), error);
            return !error;
        }
    }
}

} // namespace quillo
