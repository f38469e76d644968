#include "platform/secrets/SecretStore.h"

#include "core/Awaiters.h"
#include "platform/secrets/Keychain.h"
#include "platform/secrets/SecretServiceInterface.h"

#include <QDBusObjectPath>
#include <QDBusServiceWatcher>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace quillo {

namespace {

const auto busName = u"org.freedesktop.secrets"_s;

Keychain::Change make(const QString& account, const std::optional<QString>& value) {
    return value ? Keychain::write(account, *value) : Keychain::remove(account);
}

} // namespace

SecretStore::SecretStore(const QDBusConnection& sessionBus)
    : service(std::make_unique<OrgFreedesktopSecretServiceInterface>(busName, u"/org/freedesktop/secrets"_s,
                                                                     sessionBus)),
      serviceWatcher(std::make_unique<QDBusServiceWatcher>(busName, sessionBus,
                                                           QDBusServiceWatcher::WatchForRegistration)),
      opener(*service) {
    watchService();
}

SecretStore::~SecretStore() {
    scope.cancelAll();
    const auto firstWaiting = requests.begin() + (working ? 1 : 0);
    for (auto request = firstWaiting; request != requests.end(); ++request) {
        if (const auto* write = std::get_if<Write>(&request->what)) {
            work([account = write->account, value = write->value] { return make(account, value); },
                 [](auto) {});
        }
    }
    static_cast<void>(worker.waitForJobs(2s));
    while (!requests.empty()) {
        if (std::holds_alternative<Read>(requests.front().what)) {
            finish<Read>(SecretReading::unavailable());
        } else if (std::holds_alternative<Write>(requests.front().what)) {
            finish<Write>(false);
        } else {
            finish<Unlock>(Availability::unreachable);
        }
    }
}

/// Has the worker do the work, and gives the result to `then`.
void SecretStore::work(auto what, auto then) {
    const auto finish = [](auto result, auto use) -> Task<> { use(co_await result); };
    jobs.spawn(finish(worker.run(std::move(what)), std::move(then)));
}

template <typename T>
auto SecretStore::enqueue(T request) {
    auto future = request.answer.future();
    requests.push_back(Request{std::move(request)});
    proceed();
    return future;
}

Task<SecretReading> SecretStore::get(QString account) {
    UntilFinished answered(enqueue(Read{account, {}}));
    auto reading = co_await answered;
    co_return reading;
}

Task<bool> SecretStore::set(QString account, QString value) {
    UntilFinished answered(enqueue(Write{account, value, {}}));
    const bool stored = co_await answered;
    co_return stored;
}

Task<bool> SecretStore::delete_(QString account) {
    UntilFinished answered(enqueue(Write{account, std::nullopt, {}}));
    const bool deleted = co_await answered;
    co_return deleted;
}

void SecretStore::enqueueSet(const QString& account, const QString& value) {
    enqueue(Write{account, value, {}});
}

void SecretStore::enqueueDelete(const QString& account) {
    enqueue(Write{account, std::nullopt, {}});
}

Task<SecretStore::Availability> SecretStore::unlock() {
    refused = false;
    UntilFinished answered(enqueue(Unlock{}));
    const auto availability = co_await answered;
    co_return availability;
}

void SecretStore::proceed() {
    if (prompting) {
        answerReadsWhilePrompting();
    } else if (!working && !requests.empty()) {
        working = true;
        std::visit([this](const auto& request) { start(request); }, requests.front().what);
    }
}

void SecretStore::start(const Read& read) {
    work([account = read.account] { return Keychain::read(account); },
         [this](const SecretReading& reading) {
             working = false;
             finish<Read>(reading);
             note(reading.isUnavailable() ? Usability::unusable : Usability::usable);
             proceed();
         });
}

void SecretStore::start(const Write& write) {
    const auto change = [account = write.account, value = write.value] { return make(account, value); };
    work(change, [this](Keychain::Change outcome) {
        working = false;
        const bool locked = outcome == Keychain::Change::needsUnlock;
        if (locked) {
            note(Usability::unusable);
        }
        if ((locked || outcome == Keychain::Change::needsCollection) && mayAskUser()) {
            askUser();
        } else {
            finish<Write>(outcome == Keychain::Change::made);
        }
        if (outcome == Keychain::Change::made) {
            note(Usability::usable);
        }
        proceed();
    });
}

void SecretStore::start(const Unlock&) {
    work(Keychain::defaultCollection, [this](Keychain::Collection collection) {
        working = false;
        const bool usable =
            collection == Keychain::Collection::unlocked || collection == Keychain::Collection::missing;
        if (usable) {
            finish<Unlock>(Availability::available);
        } else if (collection == Keychain::Collection::unreachable) {
            finish<Unlock>(Availability::unreachable);
        } else if (mayAskUser()) {
            askUser();
        } else {
            finish<Unlock>(Availability::locked);
        }
        note(usable ? Usability::usable : Usability::unusable);
        proceed();
    });
}

template <typename T, typename Result>
void SecretStore::finish(Result result) {
    auto request = std::move(requests.front());
    requests.pop_front();
    std::get<T>(request.what).answer.give(std::move(result));
}

bool SecretStore::mayAskUser() const {
    return !refused && !requests.front().userWasAsked;
}

void SecretStore::askUser() {
    requests.front().userWasAsked = true;
    prompting = true;
    scope.spawn(openCollection());
}

Task<void> SecretStore::openCollection() {
    auto opening = opener.open();
    const bool opened = co_await opening;
    prompting = false;
    refused = !opened;
    if (refused) {
        refuseWaitingUnlocks();
    }
    proceed();
}

void SecretStore::refuseWaitingUnlocks() {
    std::erase_if(requests, [](Request& request) {
        auto* const unlock = std::get_if<Unlock>(&request.what);
        if (unlock) {
            unlock->answer.give(Availability::locked);
        }
        return unlock != nullptr;
    });
}

void SecretStore::answerReadsWhilePrompting() {
    for (std::size_t position = 0; position < requests.size();) {
        auto* const read = std::get_if<Read>(&requests[position].what);
        if (read) {
            read->answer.give(foresee(read->account, position));
            requests.erase(requests.begin() + static_cast<std::ptrdiff_t>(position));
        } else {
            ++position;
        }
    }
}

SecretReading SecretStore::foresee(const QString& account, std::size_t position) const {
    while (position-- > 0) {
        const auto* const write = std::get_if<Write>(&requests[position].what);
        if (write && write->account == account) {
            return write->value ? SecretReading::found(*write->value) : SecretReading::absent();
        }
    }
    return SecretReading::unavailable();
}

void SecretStore::watchService() {
    // Qt knows its own type by name only once somebody has asked for its number, and connects to no signal
    // that carries a type whose name it does not know.
    qRegisterMetaType<QDBusObjectPath>();
    const auto look = [this] { lookAgain(); };
    QObject::connect(service.get(), &OrgFreedesktopSecretServiceInterface::CollectionChanged, service.get(),
                     look);
    QObject::connect(service.get(), &OrgFreedesktopSecretServiceInterface::CollectionCreated, service.get(),
                     look);
    QObject::connect(serviceWatcher.get(), &QDBusServiceWatcher::serviceRegistered, service.get(), look);
}

void SecretStore::lookAgain() {
    if (usability != Usability::unusable) {
        return;
    }
    if (looking != Looking::no) {
        looking = Looking::onceMore; // what is being read now may be older than this hint
        return;
    }
    looking = Looking::now;
    work(Keychain::defaultCollection, [this](Keychain::Collection collection) {
        const bool onceMore = std::exchange(looking, Looking::no) == Looking::onceMore;
        if (collection == Keychain::Collection::unlocked || collection == Keychain::Collection::missing) {
            forgetPrompt();
            note(Usability::usable);
            proceed();
        } else if (onceMore) {
            lookAgain();
        }
    });
}

void SecretStore::forgetPrompt() {
    scope.cancelAll();
    prompting = false;
}

void SecretStore::note(Usability now) {
    const auto before = std::exchange(usability, now);
    if (before == Usability::unusable && now == Usability::usable) {
        refused = false;
        becameAvailable.emit();
    }
}

} // namespace quillo
