#pragma once

#include "platform/tray/HostTable.h"
#include "platform/tray/MenuTree.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

namespace quillo {

/// The menu on the bus: `com.canonical.dbusmenu`, version 3, as com.canonical.dbusmenu.xml declares it. The
/// interface's properties are this object's dynamic ones. Members in upper camel case are the interface's
/// own. What the user does takes effect on a later turn of the event loop, so that the panel has its answer
/// first.
class DBusMenu final : public QObject, protected QDBusContext {
    Q_OBJECT
public:
    static constexpr QStringView path = u"/MenuBar";

    explicit DBusMenu(QObject* parent = nullptr);

    /// Answers on `connection` from now on. False when something else answers there already.
    bool exportOn(QDBusConnection connection);

    /// Replaces the menu and tells panels the difference, if there is one.
    void setMenu(Menu menu);

    /// How the panel that is about to ask says that the menu opens, and reads labels.
    void setHost(const HostTraits& traits) {
        openingSign = traits.openingSign;
        tree.setDoubled(traits.doubled);
    }

    uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                   quillo::dbus::MenuLayout& layout);
    quillo::dbus::MenuItems GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames);
    QDBusVariant GetProperty(int id, const QString& name);
    void Event(int id, const QString& eventId, const QDBusVariant& data, uint timestamp);
    QList<int> EventGroup(const quillo::dbus::MenuEvents& events);
    bool AboutToShow(int id);
    QList<int> AboutToShowGroup(const QList<int>& asked, QList<int>& idErrors);

Q_SIGNALS:
    void beganTracking();

    // Fully qualified, because Qt relays signals to the bus by the spelling of their parameters.
    void ItemsPropertiesUpdated(const quillo::dbus::MenuItems& updatedProperties,
                                const quillo::dbus::RemovedProperties& removedProperties);
    void LayoutUpdated(uint revision, int parent);
    void ItemActivationRequested(int id, uint timestamp);

private:
    enum class Sign { aboutToShow, aboutToShowGroup, openedEvent };

    void refuse(int id);
    bool handle(int id, const QString& eventId);
    void noteSign(Sign sign);

    MenuTree tree;
    OpeningSign openingSign = OpeningSign::any;
    /// The signs of the present opening that have come.
    std::vector<Sign> seen;
};

} // namespace quillo
