#include "platform/secrets/SecretStore.h"

#include "platform/desktop/DBusStructure.h"
#include "platform/secrets/OpenCollection.h"
#include "platform/secrets/SecretServiceInterface.h"

#include <QDBusServiceWatcher>

#include <vector>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace quillo {

namespace {

using Collection = Keychain::Collection;

const auto busName = u"org.freedesktop.secrets"_s;

} // namespace

SecretStore::SecretStore(const QDBusConnection& sessionBus)
    : service(std::make_unique<OrgFreedesktopSecretServiceInterface>(busName, u"/org/freedesktop/secrets"_s,
                                                                     sessionBus)),
      serviceWatcher(std::make_unique<QDBusServiceWatcher>(busName, sessionBus,
                                                           QDBusServiceWatcher::WatchForRegistration)) {
    dbus::registerMetaTypes<>();
    const auto hint = [this] { work.spawn(look()); };
    QObject::connect(service.get(), &OrgFreedesktopSecretServiceInterface::CollectionChanged, service.get(),
                     hint);
    QObject::connect(service.get(), &OrgFreedesktopSecretServiceInterface::CollectionCreated, service.get(),
                     hint);
    QObject::connect(serviceWatcher.get(), &QDBusServiceWatcher::serviceRegistered, service.get(), hint);
}

SecretStore::~SecretStore() {
    std::vector<Task<Outcome>> last;
    for (const auto& [operation, answer] : requests) {
        const bool isWithWorker = &operation == &requests.front().operation && !collectionOpened;
        if (!isWithWorker && (operation.kind == Kind::set || operation.kind == Kind::delete_)) {
            last.push_back(worker.run([operation = operation] { return attempt(operation); }));
        }
    }
    static_cast<void>(worker.waitForJobs(2s));
    for (const auto& request : requests) {
        request.answer.fulfil({});
    }
}

Task<SecretReading> SecretStore::get(QString account) {
    if (collectionOpened) {
        co_return foresee(account, requests.size());
    }
    auto reading = request({Kind::get, std::move(account), {}});
    const auto outcome = co_await reading;
    co_return outcome.reading;
}

Task<bool> SecretStore::set(QString account, QString value) {
    auto setting = request({Kind::set, std::move(account), std::move(value)});
    const auto outcome = co_await setting;
    co_return outcome.done;
}

Task<bool> SecretStore::delete_(QString account) {
    auto deleting = request({Kind::delete_, std::move(account), {}});
    const auto outcome = co_await deleting;
    co_return outcome.done;
}

Task<bool> SecretStore::unlock() {
    refused = false;
    auto unlocking = request({Kind::unlock, {}, {}});
    const auto outcome = co_await unlocking;
    co_return outcome.done;
}

/// On the worker's thread.
SecretStore::Outcome SecretStore::attempt(const Operation& operation) {
    Outcome outcome;
    if (operation.kind == Kind::get) {
        outcome.reading = Keychain::read(operation.account);
        outcome.collection = outcome.reading.isUnavailable() ? Collection::unreachable : Collection::unlocked;
        return outcome;
    }
    outcome.collection = Keychain::defaultCollection();
    if (operation.kind == Kind::set) {
        outcome.done = Keychain::set(operation.account, operation.value);
    } else if (operation.kind == Kind::delete_) {
        outcome.done = Keychain::delete_(operation.account);
    } else {
        outcome.done = Keychain::isUsable(outcome.collection);
    }
    return outcome;
}

Task<SecretStore::Outcome> SecretStore::request(Operation operation) {
    requests.push_back({std::move(operation), {}});
    auto result = requests.back().answer.task();
    if (requests.size() == 1) {
        work.spawn(carryOut());
    }
    return result;
}

Task<> SecretStore::carryOut() {
    for (; !requests.empty(); requests.pop_front()) {
        auto first = tryFirst();
        auto outcome = co_await first;
        if (mayAskUser(outcome)) {
            auto asking = askUser();
            co_await asking;
            auto again = tryFirst();
            outcome = co_await again;
        }
        requests.front().answer.fulfil(outcome);
        note(outcome.collection);
    }
}

Task<SecretStore::Outcome> SecretStore::tryFirst() {
    return worker.run([operation = requests.front().operation] { return attempt(operation); });
}

bool SecretStore::mayAskUser(const Outcome& outcome) const {
    const auto kind = requests.front().operation.kind;
    const bool isClosed = outcome.collection == Collection::locked ||
                          (outcome.collection == Collection::missing && kind == Kind::set);
    return isClosed && !refused;
}

Task<> SecretStore::askUser() {
    note(Collection::locked);
    auto answer = collectionOpened.emplace().task();
    answerLookUps();
    opening.spawn(openCollection(*collectionOpened));
    const bool opened = co_await answer;
    collectionOpened.reset();
    opening.cancelAll();
    refused = !opened;
}

Task<> SecretStore::openCollection(Promise<bool> opened) {
    auto asking = openDefaultCollection(*service);
    opened.fulfil(co_await asking);
}

/// Those that stand behind a change that waits for the user.
void SecretStore::answerLookUps() {
    for (std::size_t position = 1; position < requests.size();) {
        const auto& [operation, answer] = requests[position];
        if (operation.kind == Kind::get) {
            answer.fulfil({.reading = foresee(operation.account, position)});
            requests.erase(requests.begin() + static_cast<std::ptrdiff_t>(position));
        } else {
            ++position;
        }
    }
}

SecretReading SecretStore::foresee(const QString& account, std::size_t position) const {
    while (position-- > 0) {
        const auto& operation = requests[position].operation;
        if (operation.account == account && operation.kind == Kind::set) {
            return SecretReading::found(operation.value);
        }
        if (operation.account == account && operation.kind == Kind::delete_) {
            return SecretReading::absent();
        }
    }
    return SecretReading::unavailable();
}

Task<> SecretStore::look() {
    if (!isUnusable) {
        co_return;
    }
    auto reading = worker.run(Keychain::defaultCollection);
    const auto collection = co_await reading;
    if (Keychain::isUsable(collection) && collectionOpened) {
        collectionOpened->fulfil(true);
    }
    note(collection);
}

void SecretStore::note(Collection collection) {
    const bool wasUnusable = std::exchange(isUnusable, !Keychain::isUsable(collection));
    if (wasUnusable && !isUnusable) {
        refused = false;
        becameAvailable.emit();
    }
}

} // namespace quillo
