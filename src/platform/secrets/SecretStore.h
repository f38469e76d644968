#pragma once

#include "core/Promise.h"
#include "core/Signal.h"
#include "core/Task.h"
#include "core/TaskScope.h"
#include "core/WorkQueue.h"
#include "platform/secrets/Keychain.h"

#include <QDBusConnection>
#include <QString>

#include <deque>
#include <memory>
#include <optional>

class OrgFreedesktopSecretServiceInterface;
class QDBusServiceWatcher;

namespace quillo {

/// The program's secrets (see `Keychain`), for the main thread, which is never blocked.
///
/// Operations are carried out one after the other in the order given, on a thread of their own. A change that
/// finds the default collection locked, or missing, has the user asked once to open it and waits for the
/// answer; meanwhile a look-up tells what a waiting change will make of its account, and otherwise
/// `unavailable`. A look-up never asks. After the user has refused, changes fail without asking again, until
/// `unlock` is called or the collection was opened elsewhere.
class SecretStore {
public:
    explicit SecretStore(const QDBusConnection& sessionBus = QDBusConnection::sessionBus());
    SecretStore(const SecretStore&) = delete;
    SecretStore& operator=(const SecretStore&) = delete;

    /// Changes not yet made get two seconds. A prompt without an answer or a daemon that hangs is left
    /// behind; tasks that still wait end with `unavailable` or false.
    ~SecretStore();

    [[nodiscard]] Task<SecretReading> get(QString account);

    /// True when the value was stored. Dropping the task does not take the change back, here and below.
    Task<bool> set(QString account, QString value);

    /// True when an item was deleted.
    Task<bool> delete_(QString account);

    /// Asks the user to unlock the default collection if it is locked, and waits for the answer, for hours if
    /// need be. True when it is open then, or there is none; a collection that does not exist is not made.
    Task<bool> unlock();

    /// The store could not be used before, and now it can: it was unlocked, by whomever, or its service came
    /// up. Not emitted when it could be used from the start.
    Signal<> becameAvailable;

private:
    enum class Kind { get, set, delete_, unlock };
    struct Operation {
        Kind kind;
        QString account;
        QString value;
    };
    struct Outcome {
        Keychain::Collection collection = Keychain::Collection::unreachable;
        SecretReading reading = SecretReading::unavailable();
        bool done = false;
    };
    struct Request {
        Operation operation;
        Promise<Outcome> answer;
    };

    [[nodiscard]] static Outcome attempt(const Operation& operation);
    [[nodiscard]] Task<Outcome> request(Operation operation);
    [[nodiscard]] Task<Outcome> tryFirst();
    [[nodiscard]] Task<> carryOut();
    [[nodiscard]] bool mayAskUser(const Outcome& outcome) const;
    [[nodiscard]] Task<> askUser();
    [[nodiscard]] Task<> openCollection(Promise<bool> opened);
    void answerLookUps();
    [[nodiscard]] SecretReading foresee(const QString& account, std::size_t position) const;
    [[nodiscard]] Task<> look();
    void note(Keychain::Collection collection);

    std::unique_ptr<OrgFreedesktopSecretServiceInterface> service;
    std::unique_ptr<QDBusServiceWatcher> serviceWatcher;
    std::deque<Request> requests;                  ///< the first is with the worker or waits for the user
    std::optional<Promise<bool>> collectionOpened; ///< only while the first waits for the user
    bool refused = false;                          ///< the last prompt was dismissed
    bool isUnusable = false;                       ///< as far as it is known
    TaskScope opening;
    TaskScope work;
    WorkQueue worker;
};

} // namespace quillo
