#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace quillo::test {

class ChildProcess;
class PrivateBus;

/// A gnome-keyring-daemon of the test's own on a private bus, serving `org.freedesktop.secrets`, with an
/// empty home of its own. The operations block; they stop the test when the daemon does not do what it is
/// asked.
///
/// Makes the bus the session bus of this process, so it is to be made before anything asks for that.
class PrivateKeyring {
public:
    explicit PrivateKeyring(PrivateBus& bus);
    PrivateKeyring(const PrivateKeyring&) = delete;
    PrivateKeyring& operator=(const PrivateKeyring&) = delete;
    ~PrivateKeyring();

    /// Starts the daemon with the default collection unlocked. What earlier runs stored is still there.
    void start();

    /// Starts the daemon as a desktop without a login password does: what is stored stays locked, and a fresh
    /// home has no default collection.
    void startWithoutPassword();

    void stop();

    /// The daemon keeps its name on the bus but answers nothing until `resume`.
    void suspend();
    void resume();

    /// Without any prompt.
    void lock();
    void unlock();

    [[nodiscard]] bool isRunning() const { return daemon != nullptr; }

    /// How many items have these two attributes.
    [[nodiscard]] int itemCount(const QString& service, const QString& account) const;

private:
    void launch(const QStringList& arguments, const QByteArray& input);
    [[nodiscard]] bool isOnTheBus() const;
    [[nodiscard]] QString defaultCollection() const;

    QDBusConnection connection;
    QTemporaryDir home;
    std::unique_ptr<ChildProcess> daemon;
};

/// Runs `secret-tool` with `input` on its standard input; its standard output.
QByteArray secretTool(const QStringList& arguments, const QByteArray& input = {});

} // namespace quillo::test
