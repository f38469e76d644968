#pragma once

#include "support/ScriptedServer.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

#include <optional>
#include <vector>

namespace quillo::test {

/// A `ScriptedServer` with an answer for each request target; 404 for every other one.
class RoutedServer {
public:
    /// With an identity it speaks HTTPS.
    explicit RoutedServer(std::optional<ServerIdentity> identity = {});

    [[nodiscard]] QString origin() const { return server.origin(); }

    /// From now on `target` is answered so. What is on its way stays as it was.
    void answer(const QByteArray& target, const Answer& answer);
    void answer(const QByteArray& target, ScriptedServer::Script script);

    /// `answers` one after the other, the last one for all that follow.
    void answerInTurn(const QByteArray& target, const QList<Answer>& answers);

    /// The requests for this target so far, in the order of their arrival.
    [[nodiscard]] std::vector<ReceivedRequest> requests(const QByteArray& target) const;
    [[nodiscard]] int count(const QByteArray& target) const;
    /// All requests so far.
    [[nodiscard]] int count() const { return static_cast<int>(server.requests().size()); }

    [[nodiscard]] int openConnections() const { return server.openConnections(); }
    [[nodiscard]] int acceptedConnections() const { return server.acceptedConnections(); }

    /// Later connections are refused, and those that are open end.
    void goDown();

private:
    QMap<QByteArray, ScriptedServer::Script> routes;
    ScriptedServer server;
};

} // namespace quillo::test
