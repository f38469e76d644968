#pragma once

#include "core/Signal.h"

#include <QByteArray>
#include <QList>
#include <QSsl>
#include <QSslCertificate>
#include <QSslKey>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quillo::test {

/// One request as it came over the wire.
struct ReceivedRequest {
    struct Header {
        QByteArray name;
        QByteArray value;
    };

    /// Counts the server's connections from 0, in the order in which they were accepted.
    int connection = 0;
    /// Head and body, byte for byte.
    QByteArray raw;
    QByteArray method;
    QByteArray target;
    std::vector<Header> headers;
    QByteArray body;

    /// The values of every header of this name, whatever its case.
    [[nodiscard]] QList<QByteArray> values(QByteArrayView name) const;
};

/// Holds answers back until the test lets them go, which decides what comes before what. Copies are the same
/// gate.
class Gate {
public:
    /// Answers that wait at the gate are sent, and those that come to it later at once.
    void open() const {
        state->isOpen = true;
        state->opened.emit();
    }

    [[nodiscard]] bool isOpen() const { return state->isOpen; }

    /// Calls `action` when the gate opens, for as long as the handle lives.
    [[nodiscard]] Observation whenOpened(std::function<void()> action) const {
        return state->opened.observe(std::move(action));
    }

private:
    struct State {
        bool isOpen = false;
        Signal<> opened;
    };
    std::shared_ptr<State> state = std::make_shared<State>();
};

/// What goes back for one request.
struct Answer {
    enum class Then { keepOpen, close, reset };

    /// Everything that is sent, status line and headers included.
    QByteArray bytes;
    /// What happens to the connection afterwards; `reset` loses what the client has not read yet.
    Then then = Then::keepOpen;
    /// Sends so many bytes at a time; 0 sends everything at once.
    qsizetype pieceSize = 0;
    /// Passes between two pieces.
    std::chrono::milliseconds between{0};
    /// Called for further bytes whenever everything before has left; an empty array ends the answer.
    std::function<QByteArray()> more = {};
    /// Nothing is sent until it opens.
    std::optional<Gate> gate = {};

    /// A complete answer with its Content-Length. `headers` are whole lines without their ends.
    [[nodiscard]] static Answer http(int status, QByteArrayView body = {},
                                     const QList<QByteArray>& headers = {});

    /// Bytes as they are, and the connection closed after them.
    [[nodiscard]] static Answer andClose(QByteArray bytes);

    /// Nothing, with the connection left open.
    [[nodiscard]] static Answer silence() { return {}; }

    /// The same answer, held back until the gate opens.
    [[nodiscard]] Answer behind(Gate closed) const {
        Answer held = *this;
        held.gate = std::move(closed);
        return held;
    }
};

/// The key and the certificate that a server shows.
struct ServerIdentity {
    QSslKey key;
    QSslCertificate certificate;
    /// The versions of TLS it speaks.
    QSsl::SslProtocol protocol = QSsl::SecureProtocols;
};

/// An HTTP server on 127.0.0.1, in the test's own event loop, that keeps what it received and answers by
/// script. With an identity it speaks HTTPS.
class ScriptedServer {
public:
    using Script = std::function<Answer(const ReceivedRequest&)>;

    explicit ScriptedServer(Script script, std::optional<ServerIdentity> identity = {});
    /// The same answer for every request.
    explicit ScriptedServer(Answer answer, std::optional<ServerIdentity> identity = {});
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    /// "http://127.0.0.1:PORT" or "https://127.0.0.1:PORT".
    [[nodiscard]] QString origin() const;
    [[nodiscard]] quint16 port() const;

    /// Closes what is open, forgets what came so far, and answers so from now on: as good as a new server,
    /// which takes longer.
    void startOver(Script script);
    void startOver(const Answer& answer);

    /// Answers so from now on.
    void setScript(Script script);

    [[nodiscard]] const std::vector<ReceivedRequest>& requests() const;
    /// Connections accepted so far, and those that are open now.
    [[nodiscard]] int acceptedConnections() const;
    [[nodiscard]] int openConnections() const;
    /// What came over every connection, complete requests or not. With HTTPS what was decrypted.
    [[nodiscard]] qint64 receivedBytes() const;
    /// The first TLS record of every connection, in order; only with an identity.
    [[nodiscard]] const QList<QByteArray>& clientHellos() const;

    /// Closes the port: later connections are refused. Open ones stay.
    void stopListening();
    void closeConnections();

private:
    class Connection;
    class Listener;
    struct State;

    std::unique_ptr<State> state;
};

} // namespace quillo::test
