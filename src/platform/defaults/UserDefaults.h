#pragma once

#include "core/Signal.h"
#include "core/Task.h"
#include "core/TaskScope.h"
#include "core/WorkQueue.h"

#include <QJsonObject>
#include <QString>
#include <QTimer>
#include <QVariant>

#include <chrono>
#include <optional>

namespace quillo {

/// The user's settings, kept by key with their types in one JSON object in a file (see `DefaultsFile`).
///
/// Values are read at construction or, where the file cannot be read then, as soon as it can be. A new value
/// holds at once and is written by a thread of its own, so that nothing here waits for a disk. What cannot be
/// written (a full disk, a read-only folder) still holds, and is tried again with the next change, after a
/// while, and at the end. For one thread, which has an event loop.
class UserDefaults {
public:
    static constexpr std::chrono::milliseconds pauseBetweenTries = std::chrono::seconds(10);

    explicit UserDefaults(QString path = standardPath(), std::chrono::milliseconds pause = pauseBetweenTries);
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// Tries to write what is not yet written, for five seconds.
    ~UserDefaults();

    /// `$XDG_CONFIG_HOME/quillo/defaults.json`, in `~/.config` when that is unset
    /// (XDG Base Directory Specification).
    [[nodiscard]] static QString standardPath();

    /// The text under the key; none when there is nothing or something else.
    [[nodiscard]] std::optional<QString> string(const QString& key) const;

    /// What is under the key with its own type: `bool`, `qlonglong` (whole numbers within 64 bits, however
    /// they are written), `double`, `QString`, or a list, map or null; invalid when there is nothing.
    [[nodiscard]] QVariant object(const QString& key) const { return values.value(key).toVariant(); }

    /// Whether it is known what is under the key, be it nothing: the file was read, or a value was set.
    [[nodiscard]] bool isKnown(const QString& key) const { return isRead || unwritten.contains(key); }

    /// What became of the last try to read or write the file, in one line; absent when it succeeded.
    [[nodiscard]] const std::optional<QString>& problem() const { return lastProblem; }

    /// After the file was read or written, or could not be.
    Signal<> tried;

    /// The file could not be read at construction, and now it was. What an observer sets is not stored: it
    /// came from here.
    Signal<> becameReadable;

    void setString(const QString& key, const QString& value);
    void setInteger(const QString& key, qint64 value) { set(key, value); }
    void setBoolean(const QString& key, bool value) { set(key, value); }

    /// Waits until the writing of everything set so far has been tried, at most `limit`; true when all of it
    /// is in the file.
    [[nodiscard]] bool synchronize(std::chrono::milliseconds limit);

private:
    /// `onceMore`: something was set that is not on its way yet.
    enum class Progress { none, writing, onceMore };

    void set(const QString& key, const QJsonValue& value);
    void start();
    [[nodiscard]] Task<> write();

    QString path;
    QJsonObject values;
    QJsonObject unwritten; ///< as far as this thread knows
    bool isRead = false;
    bool isArriving = false; ///< what was read late is handed on
    std::optional<QString> lastProblem;
    Progress progress = Progress::none;
    QTimer nextTry;
    TaskScope writing;
    WorkQueue writer;
};

} // namespace quillo
