#include "platform/defaults/UserDefaults.h"

#include "platform/defaults/DefaultsFile.h"

#include <QStandardPaths>

#include <mutex>

using namespace std::chrono_literals;

namespace quillo {

/// The changes that the file does not have yet. Shared with the writer, which may outlive the defaults.
class UserDefaults::Unwritten {
public:
    void add(const QString& key, const QJsonValue& value) {
        const std::lock_guard lock(mutex);
        changes.insert(key, value);
    }

    [[nodiscard]] bool isEmpty() {
        const std::lock_guard lock(mutex);
        return changes.isEmpty();
    }

    /// Writes everything there is to write; what fails stays, unless it was changed again meanwhile.
    void writeTo(const DefaultsFile& file) {
        QJsonObject taken;
        {
            const std::lock_guard lock(mutex);
            taken = std::exchange(changes, {});
        }
        if (taken.isEmpty() || file.merge(taken)) {
            return;
        }
        const std::lock_guard lock(mutex);
        for (auto change = taken.constBegin(); change != taken.constEnd(); ++change) {
            if (!changes.contains(change.key())) {
                changes.insert(change.key(), change.value());
            }
        }
    }

private:
    std::mutex mutex;
    QJsonObject changes;
};

UserDefaults::UserDefaults(QString file)
    : path(std::move(file)), values(DefaultsFile(path).read()), unwritten(std::make_shared<Unwritten>()) {}

UserDefaults::~UserDefaults() {
    static_cast<void>(synchronize(2s));
}

QString UserDefaults::standardPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/quillo/defaults.json");
}

std::optional<QString> UserDefaults::string(const QString& key) const {
    const auto value = values.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

QVariant UserDefaults::object(const QString& key) const {
    return values.value(key).toVariant();
}

void UserDefaults::setString(const QString& key, const QString& value) {
    set(key, value.isNull() ? QStringLiteral("") : value);
}

void UserDefaults::setInteger(const QString& key, qint64 value) {
    set(key, value);
}

void UserDefaults::setBoolean(const QString& key, bool value) {
    set(key, value);
}

bool UserDefaults::synchronize(std::chrono::milliseconds limit) {
    if (!unwritten->isEmpty()) {
        scheduleWriting();
    }
    return writer.waitForJobs(limit) && unwritten->isEmpty();
}

void UserDefaults::set(const QString& key, const QJsonValue& value) {
    values.insert(key, value);
    unwritten->add(key, value);
    scheduleWriting();
}

void UserDefaults::scheduleWriting() {
    writing.spawn(writer.run([changes = unwritten, file = DefaultsFile(path)] { changes->writeTo(file); }));
}

} // namespace quillo
