#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>

namespace quillo::test {

/// What this process holds of the system right now (Linux, /proc/self).
struct ProcessResources {
    qsizetype descriptors = 0;
    qsizetype threads = 0;
    qint64 residentKiB = 0;

    [[nodiscard]] static ProcessResources now() {
        const auto entries = [](const QString& folder) {
            return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
        };
        ProcessResources held{.descriptors = entries(QStringLiteral("/proc/self/fd")),
                              .threads = entries(QStringLiteral("/proc/self/task"))};
        QFile status(QStringLiteral("/proc/self/status"));
        if (status.open(QIODevice::ReadOnly)) {
            const QByteArray text = status.readAll();
            held.residentKiB =
                text.sliced(text.indexOf("VmRSS:") + 6).trimmed().split(' ').first().toLongLong();
        }
        return held;
    }
};

} // namespace quillo::test
