#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace quillo {

/// What other programs can ask of this one.
struct ApplicationRequests {
    std::function<void()> openLedger = {};
    std::function<void()> refresh = {};
    std::function<void()> settings = {};
    std::function<void()> quit = {};
};

/// Lets one instance of the program run in a session: the owner of the application's name on the session bus.
/// The bus gives the name to one of those that ask in the same instant, and takes it from one that crashed.
///
/// That instance answers there as `org.freedesktop.Application`: members in upper camel case are the
/// interface's own; org.freedesktop.Application.xml declares it. A request runs on a later turn of the loop
/// than its call, so that the caller is answered at once. The activation token that came with it is offered
/// (`ActivationToken`) just before.
///
/// When the bus goes away, the session is over: nobody could reach the instance any more, and the next launch
/// would not know of it. It is then asked to quit, as by another program.
class SingleInstance final : public QObject, protected QDBusContext {
    Q_OBJECT
public:
    enum class Claim {
        /// This is the one; others' requests arrive here until it ends.
        first,
        /// Another one runs and was asked to open the ledger: this one is to end.
        second,
        /// There is no session bus to ask on: this one runs by itself.
        alone,
        /// The name belongs to a program of another kind: this one is to end.
        taken,
    };

    /// Longest wait for a running instance to answer; after that it counts as asked all the same.
    static constexpr std::chrono::milliseconds answerLimit = std::chrono::seconds(5);

    SingleInstance(QDBusConnection sessionBus, QString applicationId,
                   std::chrono::milliseconds limit = answerLimit);

    /// Gives the name back before the object goes: who owns the name always answers.
    ~SingleInstance() override;

    /// Asks for the name, and the other instance if there is one. To be called once, before the program shows
    /// anything: it waits for the bus, and for the other instance at most the limit.
    /// `launchToken` is passed on to the other instance, so that its window can come to the front.
    [[nodiscard]] Claim claim(const QString& launchToken);

    /// Who answers what others ask. Requests wait in the event loop, so none is lost when this is called
    /// before the loop runs.
    void setRequests(ApplicationRequests handlers) { requests = std::move(handlers); }

    /// Opens the ledger.
    void Activate(const QVariantMap& platformData);

    /// Does nothing: the program has no documents.
    void Open(const QStringList& uris, const QVariantMap& platformData);

    /// Takes `open-ledger`, `refresh`, `settings` and `quit`; answers any other name with an error.
    void ActivateAction(const QString& name, const QVariantList& parameter, const QVariantMap& platformData);

private:
    using Request = std::function<void()> ApplicationRequests::*;

    [[nodiscard]] bool ownsName();
    [[nodiscard]] std::optional<Claim> askOther(const QString& launchToken);
    void quitWithBus();
    void schedule(Request request, const QVariantMap& platformData);

    QDBusConnection bus;
    QString applicationId;
    QString objectPath; ///< the id with "/" for "." and "_" for "-"
    std::chrono::milliseconds limit;
    ApplicationRequests requests;
    std::unique_ptr<QObject> connectionState;
};

} // namespace quillo
