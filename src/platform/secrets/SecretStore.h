#pragma once

#include "core/Signal.h"
#include "core/Task.h"
#include "core/TaskScope.h"
#include "core/WorkQueue.h"
#include "platform/secrets/CollectionOpener.h"
#include "platform/secrets/SecretReading.h"

#include <QDBusConnection>
#include <QFuture>
#include <QPromise>
#include <QString>

#include <deque>
#include <memory>
#include <optional>
#include <variant>

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
    enum class Availability {
        available,   ///< open, or with nothing in it yet
        locked,      ///< and the user did not unlock it
        unreachable, ///< no service, or one that does not answer
    };

    explicit SecretStore(const QDBusConnection& sessionBus = QDBusConnection::sessionBus());
    SecretStore(const SecretStore&) = delete;
    SecretStore& operator=(const SecretStore&) = delete;

    /// Changes not yet made get two seconds. A prompt without an answer or a daemon that hangs is left
    /// behind; tasks that still wait end with `unavailable`, false or `unreachable`.
    ~SecretStore();

    [[nodiscard]] Task<SecretReading> get(QString account);

    /// True when the value was stored. Dropping the task does not take the change back, here and below.
    [[nodiscard]] Task<bool> set(QString account, QString value);

    /// True when an item was deleted.
    [[nodiscard]] Task<bool> delete_(QString account);

    /// The same for those who do not ask what became of it.
    void enqueueSet(const QString& account, const QString& value);
    void enqueueDelete(const QString& account);

    /// Asks the user to unlock the default collection if it is locked, and waits for the answer, for hours if
    /// need be. A collection that does not exist is not made.
    [[nodiscard]] Task<Availability> unlock();

    /// The store could not be used before, and now it can: it was unlocked, by whomever, or its service came
    /// up. Not emitted when it could be used from the start.
    Signal<> becameAvailable;

private:
    /// One answer to one waiting task.
    template <typename T>
    class Answer {
    public:
        Answer() { promise.start(); }
        [[nodiscard]] QFuture<T> future() const { return promise.future(); }
        void give(T result) {
            promise.addResult(std::move(result));
            promise.finish();
        }

    private:
        QPromise<T> promise;
    };

    struct Read {
        QString account;
        Answer<SecretReading> answer;
    };
    struct Write {
        QString account;
        std::optional<QString> value; ///< none: delete
        Answer<bool> answer;
    };
    struct Unlock {
        Answer<Availability> answer;
    };
    struct Request {
        std::variant<Read, Write, Unlock> what;
        bool userWasAsked = false;
    };
    enum class Usability { unknown, usable, unusable };

    /// `onceMore`: something happened while the worker was looking.
    enum class Looking { no, now, onceMore };

    void work(auto what, auto then);
    template <typename T>
    auto enqueue(T request);
    void proceed();
    void start(const Read& read);
    void start(const Write& write);
    void start(const Unlock& unlock);
    template <typename T, typename Result>
    void finish(Result result);
    [[nodiscard]] bool mayAskUser() const;
    void askUser();
    [[nodiscard]] Task<void> openCollection();
    void refuseWaitingUnlocks();
    void forgetPrompt();
    void answerReadsWhilePrompting();
    [[nodiscard]] SecretReading foresee(const QString& account, std::size_t position) const;
    void watchService();
    void lookAgain();
    void note(Usability now);

    std::unique_ptr<OrgFreedesktopSecretServiceInterface> service;
    std::unique_ptr<QDBusServiceWatcher> serviceWatcher;
    CollectionOpener opener;
    std::deque<Request> requests;
    bool working = false;   ///< the first request is with the worker
    bool prompting = false; ///< the first request waits for the user
    bool refused = false;   ///< the last prompt was dismissed
    Looking looking = Looking::no;
    Usability usability = Usability::unknown;
    TaskScope scope;
    TaskScope jobs;
    WorkQueue worker;
};

} // namespace quillo
