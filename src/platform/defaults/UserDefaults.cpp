#include "platform/defaults/UserDefaults.h"

#include "core/LocalizedError.h"
#include "platform/defaults/DefaultsFile.h"

#include <QDeadlineTimer>
#include <QStandardPaths>

#include <atomic>
#include <memory>
#include <thread>
#include <utility>

using namespace std::chrono_literals;

using namespace Qt::Literals::StringLiterals;

namespace quillo {

UserDefaults::UserDefaults(QString file, std::chrono::milliseconds pause) : path(std::move(file)) {
    nextTry.setSingleShot(true);
    nextTry.setInterval(pause);
    nextTry.callOnTimeout([this] { start(); });
    try {
        values = DefaultsFile(path).read();
        isRead = true;
    } catch (const std::exception& error) {
        lastProblem = errorDescription(error);
        nextTry.start();
    }
}

UserDefaults::~UserDefaults() {
    const QDeadlineTimer end(5s);
    // What fails now may succeed a moment later: another program's lock, descriptors that ran out.
    while (!synchronize(std::chrono::milliseconds(end.remainingTime())) && !end.hasExpired()) {
        std::this_thread::sleep_for(50ms);
    }
}

QString UserDefaults::standardPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           u"/quillo/defaults.json"_s;
}

std::optional<QString> UserDefaults::string(const QString& key) const {
    const auto value = values.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

void UserDefaults::setString(const QString& key, const QString& value) {
    set(key, value.isNull() ? u""_s : value);
}

bool UserDefaults::synchronize(std::chrono::milliseconds limit) {
    if (unwritten.isEmpty()) {
        return true;
    }
    const auto merged = std::make_shared<std::atomic<bool>>(false);
    const auto last = writer.run([merged, file = DefaultsFile(path), changes = unwritten] {
        file.merge(changes);
        *merged = true;
    });
    return writer.waitForJobs(limit) && *merged;
}

void UserDefaults::set(const QString& key, const QJsonValue& value) {
    if (isArriving) {
        return;
    }
    values.insert(key, value);
    unwritten.insert(key, value);
    start();
}

void UserDefaults::start() {
    nextTry.stop();
    const bool isWriting = std::exchange(progress, Progress::onceMore) != Progress::none;
    if (!isWriting) {
        writing.spawn(write());
    }
}

/// What fails stays, and is tried again with the next change or after a while.
Task<> UserDefaults::write() {
    while (std::exchange(progress, Progress::writing) == Progress::onceMore) {
        const auto changes = unwritten;
        auto work = writer.run([file = DefaultsFile(path), changes] {
            return changes.isEmpty() ? file.read() : file.merge(changes);
        });
        try {
            const auto stored = co_await work;
            lastProblem = std::nullopt;
            for (auto change = changes.constBegin(); change != changes.constEnd(); ++change) {
                if (unwritten.value(change.key()) == change.value()) {
                    unwritten.remove(change.key());
                }
            }
            if (!std::exchange(isRead, true)) {
                values = DefaultsFile::merged(stored, unwritten); // what was set since wins
                isArriving = true;
                becameReadable.emit();
                isArriving = false;
            }
        } catch (const std::exception& error) {
            lastProblem = errorDescription(error);
            nextTry.start();
        }
        tried.emit();
    }
    progress = Progress::none;
}

} // namespace quillo
