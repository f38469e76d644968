#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

namespace quillo::test {

/// A panel's `org.kde.StatusNotifierWatcher` that behaves as the test says.
class ScriptedWatcher final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
public:
    enum class Answer { atOnce, withError, whenTold };

    explicit ScriptedWatcher(const QDBusConnection& connection, Answer answer = Answer::atOnce);
    ~ScriptedWatcher() override;

    /// Takes and gives up the watcher's name, as a panel that starts and ends.
    void start();
    void stop();

    void setAnswer(Answer next) { answer = next; }

    /// Answers what was left unanswered.
    void answerNow();

    void announceHost() { Q_EMIT StatusNotifierHostRegistered(); }

    /// What was registered since the last `start`, in order.
    [[nodiscard]] const QStringList& items() const { return registeredItems; }

    [[nodiscard]] bool isHostRegistered() const { return false; }
    [[nodiscard]] int protocolVersion() const { return 0; }

public Q_SLOTS:
    Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString& service);

Q_SIGNALS:
    Q_SCRIPTABLE void StatusNotifierHostRegistered();

private:
    QDBusConnection bus;
    Answer answer;
    QStringList registeredItems;
    QList<QDBusMessage> unanswered;
};

} // namespace quillo::test
