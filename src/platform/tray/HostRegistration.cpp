#include "platform/tray/HostRegistration.h"

#include "platform/desktop/Sandbox.h"
#include "platform/desktop/UntilAnswered.h"
#include "platform/tray/HostTable.h"
#include "platform/tray/WatcherInterface.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QFile>

#include <limits>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

using Watcher = OrgKdeStatusNotifierWatcherInterface;

const QString watcherService = u"org.kde.StatusNotifierWatcher"_s;

// proc(5): the link of a program whose file was replaced, as an upgrade does, ends in " (deleted)".
QString executableName(uint process) {
    auto target = QFile::symLinkTarget(u"/proc/%1/exe"_s.arg(process));
    const auto deleted = u" (deleted)"_s;
    if (target.endsWith(deleted)) {
        target.chop(deleted.size());
    }
    return target.section(u'/', -1);
}

QDBusMessage busCall(const QString& method, const QString& argument) {
    auto call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                               u"org.freedesktop.DBus"_s, method);
    call << argument;
    return call;
}

} // namespace

HostRegistration::HostRegistration(const QDBusConnection& bus, QObject* parent)
    : QObject(parent),
      connection(bus),
      ownership(watcherService, bus, QDBusServiceWatcher::WatchForOwnerChange) {
    connect(&ownership, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) { onOwnerChanged(newOwner); });
}

HostRegistration::~HostRegistration() = default;

void HostRegistration::start() {
    calls.spawn(findOwner());
}

Task<> HostRegistration::findOwner() {
    const QDBusPendingReply<QString> reply = connection.asyncCall(busCall(u"GetNameOwner"_s, watcherService));
    UntilAnswered answered(reply);
    co_await answered;
    // An error says that nobody owns the name, unless somebody took it in the meantime.
    if (reply.isValid() || owner.isEmpty()) {
        onOwnerChanged(reply.isValid() ? reply.value() : QString());
    }
}

void HostRegistration::onOwnerChanged(const QString& newOwner) {
    if (newOwner == owner && state != State::unknown) {
        return;
    }
    calls.cancelAll();
    watcher.reset();
    owner = newOwner;
    state = owner.isEmpty() ? State::noWatcher : State::unidentified;
    if (owner.isEmpty()) {
        Q_EMIT watcherLost();
        return;
    }
    watcher = std::make_unique<Watcher>(owner, u"/StatusNotifierWatcher"_s, connection);
    // A panel may be slow in starting; its answer is taken whenever it comes.
    watcher->setTimeout(std::numeric_limits<int>::max());
    connect(watcher.get(), &Watcher::StatusNotifierHostRegistered, this, [this] {
        if (state == State::refused) {
            calls.spawn(ask());
        }
    });
    if (isSandboxed()) {
        // The host's process numbers mean other programs here, or none.
        state = State::found;
        Q_EMIT watcherFound(usualHost(qEnvironmentVariable("XDG_CURRENT_DESKTOP")).toString());
    } else {
        calls.spawn(identify());
    }
}

Task<> HostRegistration::identify() {
    const QDBusPendingReply<uint> reply =
        connection.asyncCall(busCall(u"GetConnectionUnixProcessID"_s, owner));
    UntilAnswered answered(reply);
    co_await answered;
    state = State::found;
    Q_EMIT watcherFound(reply.isValid() ? executableName(reply.value()) : QString());
}

void HostRegistration::registerItem() {
    if (state == State::found) {
        calls.spawn(ask());
    }
}

Task<> HostRegistration::ask() {
    state = State::asking;
    // The connection's own name: no second one has to be owned, and a sandbox cannot own one.
    const auto reply = watcher->RegisterStatusNotifierItem(connection.baseService());
    UntilAnswered answered(reply);
    co_await answered;
    state = reply.isError() ? State::refused : State::registered;
}

} // namespace quillo
