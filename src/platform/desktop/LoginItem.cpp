#include "platform/desktop/LoginItem.h"

#include "BuildConfiguration.h"
#include "platform/desktop/AutostartEntry.h"
#include "platform/desktop/PortalAutostart.h"
#include "platform/desktop/Sandbox.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <optional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

namespace {

using autostart::Meaning;

/// Far more than any entry; what lies beyond is not read.
constexpr qint64 entryLimit = qint64{1024} * 1024;

/// Absent when there is no entry. Throws `LoginItemError` when there is a file that cannot be read.
std::optional<Meaning> meaningOfEntry(const QString& path) {
    const QFileInfo info(path);
    if (!info.exists()) {
        return std::nullopt;
    }
    if (!info.isFile()) {
        // A link to /dev/null is how people mask an entry; whatever else lies there is not ours to replace.
        return Meaning::switchedOff;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw LoginItemError(u"“%1” can’t be read (%2)."_s.arg(path, file.errorString()));
    }
    return autostart::meaning(file.read(entryLimit));
}

} // namespace

LoginItem::LoginItem(QString id, QString executable)
    : applicationId(std::move(id)), program(std::move(executable)) {}

LoginItem LoginItem::mainApp() {
    LoginItem item(build::applicationId, QCoreApplication::applicationFilePath());
    if (isSandboxed()) {
        item.portal = std::make_shared<PortalAutostart>(QDBusConnection::sessionBus());
    }
    return item;
}

QString LoginItem::entryPath() const {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u"/autostart/"_s +
           applicationId + u".desktop"_s;
}

bool LoginItem::isInstalled() const {
    return !QStandardPaths::locate(QStandardPaths::ApplicationsLocation, applicationId + u".desktop"_s)
                .isEmpty();
}

Observation LoginItem::observeAnswers(std::function<void()> observer) const {
    return portal ? portal->changed.observe(std::move(observer)) : Observation();
}

LoginItemStatus LoginItem::status() const {
    if (portal) {
        return portal->status();
    }
    try {
        switch (meaningOfEntry(entryPath()).value_or(Meaning::nonsense)) {
        case Meaning::starts:
            return LoginItemStatus::enabled;
        case Meaning::switchedOff:
            return LoginItemStatus::requiresApproval;
        case Meaning::nonsense:
            break;
        }
    } catch (const LoginItemError&) {
        // What this user cannot read, the user's desktop cannot start either.
    }
    return isInstalled() ? LoginItemStatus::notRegistered : LoginItemStatus::notFound;
}

void LoginItem::register_() const {
    if (portal) {
        return portal->request(true);
    }
    const auto path = entryPath();
    const auto present = meaningOfEntry(path);
    if (present == Meaning::starts) {
        return;
    }
    if (present == Meaning::switchedOff) {
        throw LoginItemError(u"Quillo is switched off in the desktop’s list of startup applications."_s);
    }
    if (!isInstalled()) {
        throw LoginItemError(u"Quillo is not installed (“%1.desktop” was not found)."_s.arg(applicationId));
    }
    // The error of mkdir shows again, with its reason, when the file is opened.
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    const auto text = autostart::entry(applicationId, program);
    // Flushed by hand, because commit() overlooks that the last of the text could not be written.
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush() ||
        !file.commit()) {
        throw LoginItemError(u"“%1” can’t be written (%2)."_s.arg(path, file.errorString()));
    }
}

void LoginItem::unregister() const {
    if (portal) {
        return portal->request(false);
    }
    QFile file(entryPath());
    const auto present = meaningOfEntry(file.fileName());
    if (!present || present == Meaning::switchedOff) {
        return;
    }
    if (!file.remove() && file.exists()) {
        throw LoginItemError(u"“%1” can’t be removed (%2)."_s.arg(file.fileName(), file.errorString()));
    }
}

} // namespace quillo
