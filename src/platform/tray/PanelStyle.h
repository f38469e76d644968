#pragma once

#include "core/Task.h"
#include "platform/tray/HostTable.h"
#include "platform/tray/PaintedIcon.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>

namespace quillo {

/// What painted icons look like: the desktop's font, and a colour for the panel's light or dark background.
///
/// No panel tells its colours over the bus. Plasma's are in a file of its theme. Elsewhere the user's
/// preference for light or dark ones decides (`org.freedesktop.appearance`, `color-scheme`, of the settings
/// portal), followed as it changes; without one, what is known of the panel, else the application's palette.
class PanelStyle final : public QObject {
    Q_OBJECT
public:
    /// Asks the portal, without waiting for its answer.
    PanelStyle(const QDBusConnection& connection, PanelLook look);

    [[nodiscard]] PaintStyle style() const;

Q_SIGNALS:
    /// `style` is another one now.
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private Q_SLOTS:
    // Qt connects D-Bus signals of services without a proxy object by name only.
    void onSettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    /// As the portal counts.
    enum class Preference : uint { none = 0, dark = 1, light = 2 };

    [[nodiscard]] Task<> ask();
    void prefer(const QVariant& value);
    void announceIfChanged();

    QDBusConnection bus;
    PanelLook look;
    Preference preference = Preference::none;
    PaintStyle announced;
    Task<> asking;
};

} // namespace quillo
