#include "platform/defaults/UserDefaults.h"

#include "platform/defaults/DefaultsFile.h"

#include <QStandardPaths>

#include <atomic>
#include <memory>
#include <utility>

using namespace std::chrono_literals;

using namespace Qt::Literals::StringLiterals;

namespace quillo {

UserDefaults::UserDefaults(QString file) : path(std::move(file)), values(DefaultsFile(path).read()) {}

UserDefaults::~UserDefaults() {
    static_cast<void>(synchronize(2s));
}

QString UserDefaults::standardPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           u"/quillo/defaults.json"_s;
}

std::optional<QString> UserDefaults::string(const QString& key) const {
    const auto value = values.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

QVariant UserDefaults::object(const QString& key) const {
    return values.value(key).toVariant();
}

void UserDefaults::setString(const QString& key, const QString& value) {
    set(key, value.isNull() ? u""_s : value);
}

void UserDefaults::setInteger(const QString& key, qint64 value) {
    set(key, value);
}

void UserDefaults::setBoolean(const QString& key, bool value) {
    set(key, value);
}

bool UserDefaults::synchronize(std::chrono::milliseconds limit) {
    if (unwritten.isEmpty()) {
        return true;
    }
    const auto merged = std::make_shared<std::atomic<bool>>(false);
    const auto last = writer.run([merged, file = DefaultsFile(path), changes = unwritten] {
        *merged = file.merge(changes); //
    });
    return writer.waitForJobs(limit) && *merged;
}

void UserDefaults::set(const QString& key, const QJsonValue& value) {
    values.insert(key, value);
    unwritten.insert(key, value);
    const bool isWriting = std::exchange(progress, Progress::onceMore) != Progress::none;
    if (!isWriting) {
        writing.spawn(write());
    }
}

/// What fails stays, and is tried again with the next change.
Task<> UserDefaults::write() {
    while (std::exchange(progress, Progress::writing) == Progress::onceMore) {
        const auto changes = unwritten;
        auto merging = writer.run([file = DefaultsFile(path), changes] { return file.merge(changes); });
        const bool merged = co_await merging;
        for (auto change = changes.constBegin(); merged && change != changes.constEnd(); ++change) {
            if (unwritten.value(change.key()) == change.value()) {
                unwritten.remove(change.key());
            }
        }
    }
    progress = Progress::none;
}

} // namespace quillo
