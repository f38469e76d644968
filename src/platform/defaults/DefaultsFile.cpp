#include "platform/defaults/DefaultsFile.h"

#include "platform/defaults/FileLock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

#include <chrono>
#include <filesystem>
#include <system_error>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace quillo {

namespace {

constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner;

/// Others hold the lock for milliseconds; one that holds it for longer has hung.
constexpr auto longestWaitForLock = 5s;

/// Parents are made as the system likes, the last folder for its owner only. Another process may be faster.
bool makeFolder(const QFileInfo& file) {
    const auto folder = file.path();
    const bool made =
        QDir().mkpath(QFileInfo(folder).path()) && QDir().mkdir(folder, ownerOnly | QFile::ExeOwner);
    return made || QFileInfo(folder).isDir();
}

} // namespace

QJsonObject DefaultsFile::read() const {
    return load().values;
}

bool DefaultsFile::merge(const QJsonObject& changes) const {
    if (!makeFolder(QFileInfo(path))) {
        return false;
    }
    const FileLock lock(path + ".lock"_L1, longestWaitForLock);
    if (!lock.isHeld()) {
        return false;
    }
    const auto before = load();
    const auto values = merged(before.values, changes);
    if (before.state == State::readable && values == before.values) {
        return true;
    }
    if (before.state == State::damaged && !moveAside()) {
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

DefaultsFile::Contents DefaultsFile::load() const {
    const QFileInfo info(path);
    if (!info.exists()) {
        return {}; // nothing, or a link that leads nowhere yet
    }
    // Anything else might block or never end.
    if (!info.isFile() || info.size() > largestSize) {
        return {State::damaged, {}};
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {State::damaged, {}};
    }
    const auto contents = file.read(largestSize + 1);
    if (file.error() != QFile::NoError) {
        return {State::damaged, {}};
    }
    auto values = parse(contents);
    return values ? Contents{State::readable, *values} : Contents{State::damaged, {}};
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
