#include "platform/tray/StatusNotifierItem.h"

#include "platform/tray/DBusMenu.h"

#include "StatusNotifierItemAdaptor.h"

#include <QDBusError>
#include <QDBusMessage>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

StatusNotifierItem::StatusNotifierItem(QString iconThemePath, QObject* parent)
    : QObject(parent), themePath(std::move(iconThemePath)), bus(QString()) {
    dbus::registerTypes();
    new StatusNotifierItemAdaptor(this); // owned by this object; Qt finds it among the children
}

bool StatusNotifierItem::exportOn(const QDBusConnection& connection) {
    bus = connection;
    exported = bus.registerObject(path.toString(), this, QDBusConnection::ExportAdaptors);
    return exported;
}

void StatusNotifierItem::setAppearance(Appearance next) {
    const auto before = std::exchange(appearance, std::move(next));
    if (!exported || appearance == before) {
        return;
    }
    QVariantMap changed;
    QStringList invalidated;
    if (appearance.iconName != before.iconName) {
        changed[u"IconName"_s] = appearance.iconName;
    }
    if (appearance.iconPixmaps != before.iconPixmaps) {
        // Some hundred kilobytes, which a panel that shows them asks for.
        invalidated.append(u"IconPixmap"_s);
    }
    if (!changed.isEmpty() || !invalidated.isEmpty()) {
        Q_EMIT NewIcon();
    }
    if (appearance.title != before.title) {
        changed[u"Title"_s] = appearance.title;
        Q_EMIT NewTitle();
    }
    if (appearance.toolTip != before.toolTip) {
        changed[u"ToolTip"_s] = QVariant::fromValue(toolTip());
        Q_EMIT NewToolTip();
    }
    if (appearance.label != before.label) {
        changed[u"XAyatanaLabel"_s] = appearance.label;
    }
    if (appearance.labelGuide != before.labelGuide) {
        changed[u"XAyatanaLabelGuide"_s] = appearance.labelGuide;
    }
    if (appearance.label != before.label || appearance.labelGuide != before.labelGuide) {
        Q_EMIT XAyatanaNewLabel(appearance.label, appearance.labelGuide);
    }
    announceProperties(changed, invalidated);
}

// Panels listen to the interface's own signals or to this one, so both are sent.
void StatusNotifierItem::announceProperties(const QVariantMap& changed, const QStringList& invalidated) {
    auto message = QDBusMessage::createSignal(path.toString(), u"org.freedesktop.DBus.Properties"_s,
                                              u"PropertiesChanged"_s);
    message << u"org.kde.StatusNotifierItem"_s << changed << invalidated;
    bus.send(message);
}

QString StatusNotifierItem::category() const {
    return u"ApplicationStatus"_s;
}

QString StatusNotifierItem::id() const {
    return u"quillo"_s;
}

QString StatusNotifierItem::status() const {
    return u"Active"_s;
}

QDBusObjectPath StatusNotifierItem::menu() const {
    return QDBusObjectPath(DBusMenu::path.toString());
}

void StatusNotifierItem::Activate(int x, int y) {
    if (onActivate == OnActivate::refuse && calledFromDBus()) {
        sendErrorReply(QDBusError::UnknownMethod, u"The item is a menu"_s);
        return;
    }
    ContextMenu(x, y);
}

void StatusNotifierItem::ContextMenu(int x, int y) {
    // On a later turn, so that the panel has its answer, and lets go of the pointer, before a menu opens.
    QMetaObject::invokeMethod(
        this,
        [this, x, y] {
            Q_EMIT menuRequested({x, y});
        },
        Qt::QueuedConnection);
}

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token) {
    QMetaObject::invokeMethod(
        this, [this, token] { Q_EMIT activationTokenReceived(token); }, Qt::QueuedConnection);
}

} // namespace quillo
