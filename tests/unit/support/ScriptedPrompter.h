#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>
#include <QVariantMap>

namespace quillo::test {

/// The program that shows gnome-keyring's prompts, without a display and without anybody who answers, until
/// the test refuses for them. Serves a private bus while it lives.
class ScriptedPrompter : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.keyring.internal.Prompter")

public:
    explicit ScriptedPrompter(QDBusConnection bus);
    ScriptedPrompter(const ScriptedPrompter&) = delete;
    ScriptedPrompter& operator=(const ScriptedPrompter&) = delete;
    ~ScriptedPrompter() override;

    /// How many prompts have been put up.
    [[nodiscard]] int shown() const noexcept { return count; }

    /// Whether a prompt is up.
    [[nodiscard]] bool isUp() const noexcept { return !asking.path().isEmpty(); }

    /// From now on every prompt, one that is up included, is dismissed by the user.
    void refuse();

public Q_SLOTS:
    void BeginPrompting(const QDBusObjectPath& callback, const QDBusMessage& message);
    void PerformPrompt(const QDBusObjectPath& callback, const QString& type, const QVariantMap& properties,
                       const QString& exchange);
    void StopPrompting(const QDBusObjectPath& callback);

private:
    void tell(const QDBusObjectPath& callback, const QString& method, const QVariantList& arguments);

    QDBusConnection connection;
    QString keyring;
    QDBusObjectPath asking;
    int count = 0;
    bool refusing = false;
};

} // namespace quillo::test
