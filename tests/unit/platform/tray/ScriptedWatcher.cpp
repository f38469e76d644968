#include "ScriptedWatcher.h"

#include <QDBusError>

using namespace Qt::Literals::StringLiterals;

namespace quillo::test {

namespace {

const auto watcherName = u"org.kde.StatusNotifierWatcher"_s;

} // namespace

ScriptedWatcher::ScriptedWatcher(const QDBusConnection& connection, Answer first)
    : bus(connection), answer(first) {
    const auto exports = QDBusConnection::ExportScriptableContents | QDBusConnection::ExportAllProperties;
    if (!bus.registerObject(u"/StatusNotifierWatcher"_s, this, exports)) {
        qFatal("the watcher's path is taken");
    }
}

ScriptedWatcher::~ScriptedWatcher() {
    bus.unregisterObject(u"/StatusNotifierWatcher"_s);
    bus.unregisterService(watcherName);
}

void ScriptedWatcher::start() {
    registeredItems.clear();
    if (!bus.registerService(watcherName)) {
        qFatal("the watcher's name is taken");
    }
}

void ScriptedWatcher::stop() {
    if (!bus.unregisterService(watcherName)) {
        qFatal("the watcher does not own its name");
    }
}

void ScriptedWatcher::answerNow() {
    for (const auto& call : std::as_const(unanswered)) {
        bus.send(call.createReply());
    }
    unanswered.clear();
}

void ScriptedWatcher::RegisterStatusNotifierItem(const QString& service) {
    registeredItems.append(service);
    switch (answer) {
    case Answer::atOnce:
        break;
    case Answer::withError:
        sendErrorReply(QDBusError::Failed, u"not today"_s);
        break;
    case Answer::whenTold:
        setDelayedReply(true);
        unanswered.append(message());
        break;
    }
}

} // namespace quillo::test
