#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace quillo {

/// The file of the user's settings: one JSON object, readable by its owner only.
///
/// Several processes may write it: each change is merged, under a lock beside the file, into what the file
/// holds at that moment, and the file is replaced as a whole, so that a reader, or a process that is killed,
/// leaves the old or the new one. Keys that nobody here knows are kept.
///
/// What is no regular file, is too large, or was read whole and is no JSON object is damaged: it counts as
/// empty and is never overwritten; the next change moves it aside, to the same name with ".damaged-" and a
/// number. What cannot be read at the moment (no permission, memory or descriptors, a disk that fails) is not
/// damaged, and stays as it is.
class DefaultsFile {
public:
    /// A larger file is taken for damaged.
    static constexpr qint64 largestSize = 1 << 20;

    explicit DefaultsFile(QString file) : path(std::move(file)) {}

    /// What the file holds; empty when there is none or when it is damaged. Throws a LocalizedError when it
    /// cannot be read at the moment.
    [[nodiscard]] QJsonObject read() const;

    /// Puts the changes in, and returns what the file holds then. Throws a LocalizedError when that could not
    /// be done, and then nothing that was there is lost. May wait for other processes and for the disk.
    QJsonObject merge(const QJsonObject& changes) const;

    /// The JSON object that `contents` is, if it is one. Of a repeated key the last counts.
    [[nodiscard]] static std::optional<QJsonObject> parse(const QByteArray& contents);

    /// `values` with the changes in.
    [[nodiscard]] static QJsonObject merged(QJsonObject values, const QJsonObject& changes);

    /// What a file with these values contains.
    [[nodiscard]] static QByteArray format(const QJsonObject& values);

private:
    /// As `read`, but absent when the file is damaged.
    [[nodiscard]] std::optional<QJsonObject> load() const;
    void moveAside() const;

    QString path;
};

} // namespace quillo
