#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace quillo {

/// An error that carries the text the user is shown. Error types derive from it and define their texts where
/// they are defined; operations throw them by value.
class LocalizedError : public std::exception {
public:
    explicit LocalizedError(QString description);

    /// The text for the user, complete and without any prefix.
    [[nodiscard]] const QString& errorDescription() const noexcept { return description; }

    /// The same text in UTF-8, for code that knows only the standard's exceptions.
    [[nodiscard]] const char* what() const noexcept override { return utf8.constData(); }

private:
    QString description;
    QByteArray utf8;
};

/// The text for the user of any exception: `errorDescription` where there is one, else `what()`.
[[nodiscard]] QString errorDescription(const std::exception& error);

} // namespace quillo
