#include "platform/tray/HostRegistration.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>

#include <limits>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

const QString watcherService = u"org.kde.StatusNotifierWatcher"_s;
const QString watcherPath = u"/StatusNotifierWatcher"_s;
const QString watcherInterface = u"org.kde.StatusNotifierWatcher"_s;

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
      watcher(watcherService, bus, QDBusServiceWatcher::WatchForOwnerChange) {
    connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) { onOwnerChanged(newOwner); });
}

void HostRegistration::start() {
    auto* call =
        new QDBusPendingCallWatcher(connection.asyncCall(busCall(u"GetNameOwner"_s, watcherService)), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        const QDBusPendingReply<QString> reply = *call;
        // An error says that nobody owns the name, unless somebody took it in the meantime.
        if (reply.isValid() || owner.isEmpty()) {
            onOwnerChanged(reply.isValid() ? reply.value() : QString());
        }
    });
}

void HostRegistration::onOwnerChanged(const QString& newOwner) {
    if (newOwner == owner && state != State::unknown) {
        return;
    }
    if (!owner.isEmpty()) {
        connection.disconnect(owner, watcherPath, watcherInterface, u"StatusNotifierHostRegistered"_s, this,
                              SLOT(onHostRegistered()));
    }
    owner = newOwner;
    state = owner.isEmpty() ? State::noWatcher : State::unidentified;
    if (owner.isEmpty()) {
        Q_EMIT watcherLost();
        return;
    }
    connection.connect(owner, watcherPath, watcherInterface, u"StatusNotifierHostRegistered"_s, this,
                       SLOT(onHostRegistered()));
    identify();
}

void HostRegistration::identify() {
    auto* call = new QDBusPendingCallWatcher(
        connection.asyncCall(busCall(u"GetConnectionUnixProcessID"_s, owner)), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, asked = owner] {
        call->deleteLater();
        if (owner != asked) {
            return;
        }
        const QDBusPendingReply<uint> reply = *call;
        state = State::found;
        Q_EMIT watcherFound(reply.isValid() ? executableName(reply.value()) : QString());
    });
}

void HostRegistration::registerItem() {
    if (state == State::found) {
        ask();
    }
}

void HostRegistration::ask() {
    state = State::asking;
    auto message =
        QDBusMessage::createMethodCall(owner, watcherPath, watcherInterface, u"RegisterStatusNotifierItem"_s);
    // The connection's own name: no second one has to be owned, and a sandbox cannot own one.
    message << connection.baseService();
    // A panel may be slow in starting; its answer is taken whenever it comes.
    const auto pending = connection.asyncCall(message, std::numeric_limits<int>::max());
    auto* call = new QDBusPendingCallWatcher(pending, this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, asked = owner] {
        call->deleteLater();
        if (owner != asked) {
            return;
        }
        state = call->isError() ? State::refused : State::registered;
        if (state == State::registered) {
            Q_EMIT registered();
        }
    });
}

void HostRegistration::onHostRegistered() {
    if (state == State::refused) {
        ask();
    }
}

} // namespace quillo
