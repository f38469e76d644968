#include "ItemProxy.h"

#include "support/Wait.h"

#include <QDBusPendingCall>

using namespace Qt::Literals::StringLiterals;

namespace quillo::test {

namespace {

const auto itemPath = u"/StatusNotifierItem"_s;
const auto itemInterface = u"org.kde.StatusNotifierItem"_s;
const auto menuPath = u"/MenuBar"_s;
const auto menuInterface = u"com.canonical.dbusmenu"_s;
const auto propertiesInterface = u"org.freedesktop.DBus.Properties"_s;

} // namespace

ItemProxy::ItemProxy(const QDBusConnection& connection, const QString& itemService)
    : bus(connection), service(itemService) {
    dbus::registerTypes();
    const std::vector<std::pair<QString, QStringList>> signalsOf{
        {itemInterface,
         {u"NewIcon"_s, u"NewTitle"_s, u"NewToolTip"_s, u"NewStatus"_s, u"XAyatanaNewLabel"_s}},
        {menuInterface, {u"ItemsPropertiesUpdated"_s, u"LayoutUpdated"_s, u"ItemActivationRequested"_s}},
        {propertiesInterface, {u"PropertiesChanged"_s}},
    };
    for (const auto& [interface, names] : signalsOf) {
        for (const auto& name : names) {
            if (!bus.connect(service, QString(), interface, name, this, SLOT(onSignal(QDBusMessage)))) {
                qFatal("cannot listen to %s", qPrintable(name));
            }
        }
    }
}

QDBusMessage ItemProxy::call(const QString& path, const QString& interface, const QString& method,
                             const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    const auto pending = bus.asyncCall(message);
    if (!waitUntil([&pending] { return pending.isFinished(); })) {
        qFatal("no answer to %s", qPrintable(method));
    }
    return pending.reply();
}

QDBusMessage ItemProxy::callItem(const QString& method, const QVariantList& arguments) {
    return call(itemPath, itemInterface, method, arguments);
}

QDBusMessage ItemProxy::callMenu(const QString& method, const QVariantList& arguments) {
    return call(menuPath, menuInterface, method, arguments);
}

QVariantMap ItemProxy::itemProperties() {
    const auto reply = call(itemPath, propertiesInterface, u"GetAll"_s, {itemInterface});
    return qdbus_cast<QVariantMap>(reply.arguments().value(0));
}

QVariantMap ItemProxy::menuProperties() {
    const auto reply = call(menuPath, propertiesInterface, u"GetAll"_s, {menuInterface});
    return qdbus_cast<QVariantMap>(reply.arguments().value(0));
}

ItemProxy::Layout ItemProxy::layout(int parent, int depth, const QStringList& names) {
    const auto reply = callMenu(u"GetLayout"_s, {parent, depth, names});
    if (reply.type() != QDBusMessage::ReplyMessage) {
        return {};
    }
    return {reply.arguments().value(0).toUInt(), qdbus_cast<dbus::MenuLayout>(reply.arguments().value(1))};
}

int ItemProxy::idOf(const QString& label) {
    const auto root = layout().root;
    for (const auto& child : root.children) {
        if (child.properties.value(u"label"_s).toString() == label) {
            return child.id;
        }
    }
    qFatal("the menu has no \"%s\"", qPrintable(label));
}

std::vector<QDBusMessage> ItemProxy::takeSignals() {
    // The bus keeps the order of messages between two connections, so the answer comes after all signals.
    (void)itemProperties();
    drainEvents();
    return std::exchange(received, {});
}

} // namespace quillo::test
