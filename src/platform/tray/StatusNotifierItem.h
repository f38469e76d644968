#pragma once

#include "platform/tray/DBusTypes.h"
#include "platform/tray/HostTable.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>

namespace quillo {

/// The item on the bus: `org.kde.StatusNotifierItem`, as org.kde.StatusNotifierItem.xml declares it. The
/// interface's properties are this object's dynamic ones; one that is not set is empty, or zero. Members in
/// upper camel case are the interface's own.
class StatusNotifierItem final : public QObject, protected QDBusContext {
    Q_OBJECT
public:
    static constexpr QStringView path = u"/StatusNotifierItem";

    /// What of the item changes; every text as panels may have it.
    struct Appearance {
        QString title = {};
        QString iconName = {};
        /// One picture in several sizes; panels prefer an icon's name to it.
        dbus::Pixmaps iconPixmaps = {};
        QString toolTip = {};
        QString label = {};
        QString labelGuide = {};
    };

    explicit StatusNotifierItem(const QString& iconThemePath, QObject* parent = nullptr);

    /// Answers on `connection` from now on, and announces changes there. False when something else answers
    /// there already.
    bool exportOn(const QDBusConnection& connection);

    /// Announces what is different from before, and nothing when nothing is.
    void setAppearance(const Appearance& next);

    void setOnActivate(OnActivate answer) noexcept { onActivate = answer; }

    void Activate(int, int);
    void SecondaryActivate(int, int) {}
    void XAyatanaSecondaryActivate(uint) {}
    void ContextMenu(int, int);
    void Scroll(int, const QString&) {}
    void ProvideXdgActivationToken(const QString& token);

Q_SIGNALS:
    void menuRequested();
    void activationTokenReceived(const QString& token);

    void NewTitle();
    void NewIcon();
    void NewToolTip();
    void XAyatanaNewLabel(const QString& label, const QString& guide);

private:
    OnActivate onActivate = OnActivate::requestMenu;
    QDBusConnection bus{QString()};
};

} // namespace quillo
