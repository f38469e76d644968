#include "platform/desktop/ActivationToken.h"
#include "platform/desktop/SingleInstance.h"

#include <QCoreApplication>

#include <chrono>
#include <iostream>

/// Claims to be the one instance under the id of the first argument, waiting for another one as many
/// milliseconds as the second says. Says how that ended; as the first, or alone, goes on and says what it is
/// asked, until it is asked to quit.
int main(int argc, char** argv) {
    using namespace quillo;
    const auto token = ActivationToken::ofLaunch();
    const QCoreApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    SingleInstance instance(QDBusConnection::sessionBus(), arguments.at(1),
                            std::chrono::milliseconds(arguments.at(2).toInt()));
    const auto say = [](const char* what) {
        return [what] { std::cout << what << ' ' << qPrintable(ActivationToken::take()) << std::endl; };
    };
    instance.setRequests(
        {say("open-ledger"), say("refresh"), say("settings"), [] { QCoreApplication::quit(); }});
    switch (instance.claim(token)) {
    case SingleInstance::Claim::first:
        std::cout << "first" << std::endl;
        break;
    case SingleInstance::Claim::alone:
        std::cout << "alone" << std::endl;
        break;
    case SingleInstance::Claim::second:
        std::cout << "second" << std::endl;
        return 0;
    case SingleInstance::Claim::taken:
        std::cout << "taken" << std::endl;
        return 0;
    }
    return QCoreApplication::exec();
}
