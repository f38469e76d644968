#include "platform/tray/StatusNotifierItem.h"

#include "platform/tray/DBusMenu.h"

#include "StatusNotifierItemAdaptor.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

StatusNotifierItem::StatusNotifierItem(const QString& iconThemePath, QObject* parent) : QObject(parent) {
    dbus::registerTypes();
    new StatusNotifierItemAdaptor(this); // owned by this object; Qt finds it among the children
    setProperty("Category", u"ApplicationStatus"_s);
    setProperty("Id", u"quillo"_s);
    setProperty("Status", u"Active"_s);
    setProperty("IconThemePath", iconThemePath);
    setProperty("ItemIsMenu", true);
    setProperty("Menu", QVariant::fromValue(QDBusObjectPath(DBusMenu::path.toString())));
    setAppearance({});
}

bool StatusNotifierItem::exportOn(const QDBusConnection& connection) {
    bus = connection;
    return bus.registerObject(path.toString(), this, QDBusConnection::ExportAdaptors);
}

void StatusNotifierItem::setAppearance(const Appearance& next) {
    const dbus::ToolTip toolTip{.title = next.toolTip};
    const std::pair<const char*, QVariant> values[] = {
        {"Title", next.title},
        {"IconName", next.iconName},
        {"IconPixmap", QVariant::fromValue(next.iconPixmaps)},
        {"ToolTip", QVariant::fromValue(toolTip)},
        {"XAyatanaLabel", next.label},
        {"XAyatanaLabelGuide", next.labelGuide},
    };
    QVariantMap changed;
    for (const auto& [name, value] : values) {
        if (property(name) != value) {
            setProperty(name, value);
            changed[QLatin1StringView(name)] = value;
        }
    }
    if (changed.isEmpty()) {
        return;
    }
    QStringList invalidated;
    if (changed.remove(u"IconPixmap"_s) > 0) {
        // Some hundred kilobytes, which a panel that shows them asks for.
        invalidated.append(u"IconPixmap"_s);
    }
    if (changed.contains(u"IconName"_s) || !invalidated.isEmpty()) {
        Q_EMIT NewIcon();
    }
    if (changed.contains(u"Title"_s)) {
        Q_EMIT NewTitle();
    }
    if (changed.contains(u"ToolTip"_s)) {
        Q_EMIT NewToolTip();
    }
    if (changed.contains(u"XAyatanaLabel"_s) || changed.contains(u"XAyatanaLabelGuide"_s)) {
        Q_EMIT XAyatanaNewLabel(next.label, next.labelGuide);
    }
    // Panels listen to the interface's own signals or to this one, so both are sent.
    auto message = QDBusMessage::createSignal(path.toString(), u"org.freedesktop.DBus.Properties"_s,
                                              u"PropertiesChanged"_s);
    message << u"org.kde.StatusNotifierItem"_s << changed << invalidated;
    bus.send(message);
}

void StatusNotifierItem::Activate(int x, int y) {
    if (onActivate == OnActivate::refuse) {
        sendErrorReply(QDBusError::UnknownMethod, u"The item is a menu"_s);
        return;
    }
    ContextMenu(x, y);
}

void StatusNotifierItem::ContextMenu(int, int) {
    // On a later turn, so that the panel has its answer, and lets go of the pointer, before a menu opens.
    QMetaObject::invokeMethod(this, &StatusNotifierItem::menuRequested, Qt::QueuedConnection);
}

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token) {
    QMetaObject::invokeMethod(
        this, [this, token] { Q_EMIT activationTokenReceived(token); }, Qt::QueuedConnection);
}

} // namespace quillo
