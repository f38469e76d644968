#pragma once

#include "platform/desktop/DesktopApplication.h"

#include <QDBusConnection>
#include <QString>

#include <chrono>
#include <memory>

class OrgFreedesktopDBusLocalInterface;

namespace quillo {

/// Lets one instance of the program run in a session: the owner of the application's name on the session bus.
/// The bus gives the name to one of those that ask in the same instant, and takes it from one that crashed.
///
/// When the bus goes away, the session is over: nobody could reach the instance any more, and the next launch
/// would not know of it. It is then asked to quit, as by another program.
class SingleInstance {
public:
    enum class Claim {
        /// This is the one; others' requests arrive here until it ends.
        first,
        /// Another one runs and was asked to open the ledger: this one is to end.
        second,
        /// There is no session bus to ask on: this one runs by itself.
        alone,
    };

    /// Longest wait for a running instance to answer; after that it counts as asked all the same.
    static constexpr std::chrono::milliseconds answerLimit = std::chrono::seconds(5);

    SingleInstance(QDBusConnection sessionBus, QString applicationId,
                   std::chrono::milliseconds limit = answerLimit);
    ~SingleInstance();

    /// Asks for the name, and the other instance if there is one. To be called once, before the program shows
    /// anything: it waits for the bus, and for the other instance at most the limit.
    /// `launchToken` is passed on to the other instance, so that its window can come to the front.
    [[nodiscard]] Claim claim(const QString& launchToken);

    /// Who answers what others ask. Requests wait in the event loop, so none is lost when this is called
    /// before the loop runs.
    void setRequests(ApplicationRequests handlers) { application.setRequests(std::move(handlers)); }

private:
    [[nodiscard]] bool ownsName();
    [[nodiscard]] bool askOther(const QString& launchToken);
    void quitWithBus();

    QDBusConnection bus;
    QString applicationId;
    std::chrono::milliseconds limit;
    DesktopApplication application;
    std::unique_ptr<OrgFreedesktopDBusLocalInterface> connectionState;
};

} // namespace quillo
