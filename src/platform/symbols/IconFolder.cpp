#include "platform/symbols/IconFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

const QString carriedIcons = u":/icons/hicolor/symbolic/apps"_s;

QByteArray contents(const QString& path) {
    QFile file(path); // A pipe would be waited for.
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeIcon(const QString& path, const QByteArray& icon) {
    if (contents(path) == icon) {
        return true;
    }
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(icon) == icon.size() && file.commit();
}

} // namespace

QString symbolIconName(const QString& symbol) {
    auto name = symbol;
    return u"quillo-%1-symbolic"_s.arg(name.replace(u'.', u'-'));
}

QString carriedIcon(const QString& symbol) {
    return carriedIcons + u'/' + symbolIconName(symbol) + u".svg"_s;
}

QString iconThemePath() {
    // The one folder that a Flatpak shares with the host under the host's own path ("Sandbox Permissions").
    if (const auto id = qEnvironmentVariable("FLATPAK_ID"); !id.isEmpty()) {
        auto folder =
            QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + u"/app/"_s + id + u"/icons"_s;
        return writeIcons(folder) ? folder : QString();
    }
    if (auto installed = installedIconFolder(QCoreApplication::applicationDirPath()); !installed.isEmpty()) {
        return installed;
    }
    for (const auto location : {QStandardPaths::RuntimeLocation, QStandardPaths::GenericCacheLocation}) {
        const auto base = QStandardPaths::writableLocation(location);
        auto folder = base + u"/quillo/icons"_s;
        if (!base.isEmpty() && writeIcons(folder)) {
            return folder;
        }
    }
    return {};
}

QString installedIconFolder(const QString& executableFolder) {
    const auto folder =
        QDir::cleanPath(executableFolder + u'/' + QString::fromUtf8(QUILLO_ICONS_FROM_EXECUTABLE));
    const auto icon = folder + u"/hicolor/symbolic/apps/quillo-creditcard-symbolic.svg"_s;
    return QFileInfo::exists(icon) ? folder : QString();
}

bool writeIcons(const QString& folder) {
    if (!QDir().mkpath(folder) ||
        !QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner)) {
        return false;
    }
    const QDir icons(carriedIcons);
    const auto names = icons.entryList(QDir::Files);
    for (const auto& name : names) {
        if (!writeIcon(folder + u'/' + name, contents(icons.filePath(name)))) {
            return false;
        }
    }
    return !names.isEmpty();
}

} // namespace quillo
