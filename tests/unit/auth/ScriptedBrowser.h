#pragma once

#include <QByteArray>
#include <QList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>

#include <memory>
#include <vector>

namespace quillo::test {

/// The ports of the sign-in's redirect are the same for every process of the machine: a test that uses them
/// waits for its turn, and keeps it while this lives.
class TurnAtFixedPorts {
public:
    TurnAtFixedPorts();
    TurnAtFixedPorts(const TurnAtFixedPorts&) = delete;
    TurnAtFixedPorts& operator=(const TurnAtFixedPorts&) = delete;
    ~TurnAtFixedPorts();

private:
    int descriptor;
};

/// Something else that listens on a port of the loopback interface.
[[nodiscard]] std::unique_ptr<QTcpServer> occupy(quint16 port);

/// What an authorization request says.
struct AuthorizationRequest {
    explicit AuthorizationRequest(const QUrl& url);

    /// The query's items in their order, with decoded values.
    QList<std::pair<QString, QString>> items;

    [[nodiscard]] QString value(const QString& name) const;
    [[nodiscard]] quint16 port() const {
        return static_cast<quint16>(QUrl(value(QStringLiteral("redirect_uri"))).port());
    }
};

/// A browser in which the user has signed in: it goes back to the program's loopback port.
class ScriptedBrowser {
public:
    /// Asks `port` for `target`, in the event loop.
    void get(quint16 port, const QByteArray& target);

    /// Comes back from the authorization request with this code and the request's own state.
    void comeBack(const QUrl& authorizationUrl, const QByteArray& code = "code-1");

    /// Whether the last request was answered and its connection closed, or refused.
    [[nodiscard]] bool isDone() const;
    [[nodiscard]] bool wasRefused() const;
    /// What came back for the last request, head and page.
    [[nodiscard]] QByteArray page();

private:
    std::vector<std::unique_ptr<QTcpSocket>> connections;
    QByteArray received;
};

} // namespace quillo::test
