#include "support/RoutedServer.h"

#include <algorithm>
#include <utility>

namespace quillo::test {

RoutedServer::RoutedServer(std::optional<ServerIdentity> identity)
    : server(
          [this](const ReceivedRequest& request) {
              const auto route = routes.constFind(request.target);
              return route == routes.constEnd() ? Answer::http(404) : (*route)(request);
          },
          std::move(identity)) {}

void RoutedServer::answer(const QByteArray& target, const Answer& answer) {
    routes.insert(target, [answer](const ReceivedRequest&) { return answer; });
}

void RoutedServer::answer(const QByteArray& target, ScriptedServer::Script script) {
    routes.insert(target, std::move(script));
}

void RoutedServer::answerInTurn(const QByteArray& target, const QList<Answer>& answers) {
    routes.insert(target, [answers, next = qsizetype{0}](const ReceivedRequest&) mutable {
        return answers.at(std::min(next++, answers.size() - 1));
    });
}

std::vector<ReceivedRequest> RoutedServer::requests(const QByteArray& target) const {
    std::vector<ReceivedRequest> found;
    for (const auto& request : server.requests()) {
        if (request.target == target) {
            found.push_back(request);
        }
    }
    return found;
}

int RoutedServer::count(const QByteArray& target) const {
    return static_cast<int>(requests(target).size());
}

void RoutedServer::goDown() {
    server.stopListening();
    server.closeConnections();
}

} // namespace quillo::test
