#pragma once

#include "platform/tray/DBusTypes.h"
#include "platform/tray/HostTable.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QObject>
#include <QPoint>

namespace quillo {

/// The item on the bus: `org.kde.StatusNotifierItem`. Members in upper camel case are the interface's own;
/// org.kde.StatusNotifierItem.xml declares it.
class StatusNotifierItem final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_PROPERTY(QString Category READ category CONSTANT)
    Q_PROPERTY(QString Id READ id CONSTANT)
    Q_PROPERTY(QString Title READ title NOTIFY NewTitle)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(int WindowId READ windowId CONSTANT)
    Q_PROPERTY(QString IconThemePath READ iconThemePath CONSTANT)
    Q_PROPERTY(QString IconName READ iconName NOTIFY NewIcon)
    Q_PROPERTY(quillo::dbus::Pixmaps IconPixmap READ iconPixmap NOTIFY NewIcon)
    Q_PROPERTY(QString OverlayIconName READ noIconName CONSTANT)
    Q_PROPERTY(QString AttentionIconName READ noIconName CONSTANT)
    Q_PROPERTY(quillo::dbus::ToolTip ToolTip READ toolTip NOTIFY NewToolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)
    Q_PROPERTY(QString XAyatanaLabel READ label NOTIFY XAyatanaNewLabel)
    Q_PROPERTY(QString XAyatanaLabelGuide READ labelGuide NOTIFY XAyatanaNewLabel)
    Q_PROPERTY(uint XAyatanaOrderingIndex READ orderingIndex CONSTANT)
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

        [[nodiscard]] friend bool operator==(const Appearance&, const Appearance&) = default;
    };

    explicit StatusNotifierItem(QString iconThemePath, QObject* parent = nullptr);

    /// Answers on `connection` from now on, and announces changes there. False when something else answers
    /// there already.
    bool exportOn(const QDBusConnection& connection);

    /// Announces what is different from before, and nothing when nothing is.
    void setAppearance(Appearance next);

    void setOnActivate(OnActivate answer) noexcept { onActivate = answer; }

    [[nodiscard]] QString category() const;
    [[nodiscard]] QString id() const;
    [[nodiscard]] QString title() const { return appearance.title; }
    [[nodiscard]] QString status() const;
    [[nodiscard]] int windowId() const noexcept { return 0; }
    [[nodiscard]] QString iconThemePath() const { return themePath; }
    [[nodiscard]] QString iconName() const { return appearance.iconName; }
    [[nodiscard]] quillo::dbus::Pixmaps iconPixmap() const { return appearance.iconPixmaps; }
    [[nodiscard]] QString noIconName() const { return {}; }
    [[nodiscard]] quillo::dbus::ToolTip toolTip() const { return {{}, {}, appearance.toolTip, {}}; }
    [[nodiscard]] bool itemIsMenu() const noexcept { return true; }
    [[nodiscard]] QDBusObjectPath menu() const;
    [[nodiscard]] QString label() const { return appearance.label; }
    [[nodiscard]] QString labelGuide() const { return appearance.labelGuide; }
    [[nodiscard]] uint orderingIndex() const noexcept { return 0; }

    void Activate(int x, int y);
    void SecondaryActivate(int, int) {}
    void XAyatanaSecondaryActivate(uint) {}
    void ContextMenu(int x, int y);
    void Scroll(int, const QString&) {}
    void ProvideXdgActivationToken(const QString& token);

Q_SIGNALS:
    void menuRequested(const QPoint& position);
    void activationTokenReceived(const QString& token);

    void NewTitle();
    void NewIcon();
    void NewToolTip();
    void XAyatanaNewLabel(const QString& label, const QString& guide);

private:
    void announceProperties(const QVariantMap& changed, const QStringList& invalidated);

    QString themePath;
    Appearance appearance;
    OnActivate onActivate = OnActivate::requestMenu;
    QDBusConnection bus;
    bool exported = false;
};

} // namespace quillo
