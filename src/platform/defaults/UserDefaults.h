#pragma once

#include "core/Task.h"
#include "core/TaskScope.h"
#include "core/WorkQueue.h"

#include <QJsonObject>
#include <QString>
#include <QVariant>

#include <chrono>
#include <optional>

namespace quillo {

/// The user's settings, kept by key with their types in one JSON object in a file (see `DefaultsFile`).
///
/// Values are read once, at construction. A new value holds at once and is written by a thread of its own, so
/// that nothing here waits for a disk. What cannot be written (a full disk, a read-only folder) still holds,
/// and is tried again with the next change and at the end. For one thread.
class UserDefaults {
public:
    explicit UserDefaults(QString path = standardPath());
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// Gives what is not yet written two seconds.
    ~UserDefaults();

    /// `$XDG_CONFIG_HOME/quillo/defaults.json`, in `~/.config` when that is unset
    /// (XDG Base Directory Specification).
    [[nodiscard]] static QString standardPath();

    /// The text under the key; none when there is nothing or something else.
    [[nodiscard]] std::optional<QString> string(const QString& key) const;

    /// What is under the key with its own type: `bool`, `qlonglong` (whole numbers within 64 bits, however
    /// they are written), `double`, `QString`, or a list, map or null; invalid when there is nothing.
    [[nodiscard]] QVariant object(const QString& key) const;

    void setString(const QString& key, const QString& value);
    void setInteger(const QString& key, qint64 value);
    void setBoolean(const QString& key, bool value);

    /// Waits until the writing of everything set so far has been tried, at most `limit`; true when all of it
    /// is in the file.
    [[nodiscard]] bool synchronize(std::chrono::milliseconds limit);

private:
    /// `onceMore`: something was set that is not on its way yet.
    enum class Progress { none, writing, onceMore };

    void set(const QString& key, const QJsonValue& value);
    [[nodiscard]] Task<> write();

    QString path;
    QJsonObject values;
    QJsonObject unwritten; ///< as far as this thread knows
    Progress progress = Progress::none;
    TaskScope writing;
    WorkQueue writer;
};

} // namespace quillo
