#pragma once

#include "platform/hotkey/PortalShortcut.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QList>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace quillo::test {

/// Owns a name on the bus and answers every call under every path by one function.
class ScriptedObject final : public QDBusVirtualObject {
public:
    /// Returns whether it answered; what it did not is answered with an error.
    using Answer = std::function<bool(const QDBusMessage& call)>;

    ScriptedObject(QDBusConnection bus, const QString& service, Answer answer);
    ~ScriptedObject() override;

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    QDBusConnection connection;
    QString name;
    Answer script;
};

/// A desktop's back end of the GlobalShortcuts portal, behind the real front end.
class ScriptedBackEnd {
public:
    explicit ScriptedBackEnd(QDBusConnection connection);

    /// Sends the press of a shortcut, in the session created last.
    void activate(const QString& id, const QVariantMap& options = {});
    void deactivate(const QString& id);

    // What it answers.
    uint createResponse = 0;
    uint bindResponse = 0;
    /// What it says is bound; absent: what it was asked for.
    std::optional<portal::Shortcuts> bound = {};
    /// Whether it answers BindShortcuts at all.
    bool answersBind = true;

    // What it was asked.
    int created = 0;
    int bindings = 0;
    int closed = 0;
    portal::Shortcuts atCreation = {};
    portal::Shortcuts atBinding = {};
    QString session = {};

    /// The name in the front end's description of the back end.
    [[nodiscard]] static QString service();

private:
    bool answer(const QDBusMessage& call);
    void emitSignal(const QString& name, const QString& id, const QVariantMap& options);

    QDBusConnection bus;
    ScriptedObject object;
};

/// A front end of the portal that does what a sound one would not.
class ScriptedFrontEnd {
public:
    explicit ScriptedFrontEnd(QDBusConnection connection);

    /// Answers the request that the call made.
    void respond(const QDBusMessage& call, uint response, const QVariantMap& results);
    void activate(const QString& session);

    /// What it does when asked, after having accepted the request.
    std::function<void(const QDBusMessage& call)> onCreate = {};
    std::function<void(const QDBusMessage& call)> onBind = {};
    /// Whether it refuses calls, as a front end without this portal does.
    bool refusesCalls = false;
    QStringList calls = {};

    [[nodiscard]] static QString sessionOf(const QDBusMessage& createCall);

private:
    bool answer(const QDBusMessage& call);

    QDBusConnection bus;
    ScriptedObject object;
};

} // namespace quillo::test
