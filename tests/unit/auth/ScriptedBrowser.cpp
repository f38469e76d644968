#include "auth/ScriptedBrowser.h"

#include "support/Wait.h"

#include <QDir>
#include <QFile>
#include <QUrlQuery>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace quillo::test {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr std::array<quint16, 2> fixedPorts{53682, 53683};

} // namespace

TurnAtFixedPorts::TurnAtFixedPorts() {
    const auto path = QDir::temp().filePath(u"quillo-fixed-ports-%1.lock"_s.arg(getuid()));
    descriptor = open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0 || !waitUntil([this] { return flock(descriptor, LOCK_EX | LOCK_NB) == 0; }, 240s)) {
        qFatal("no turn at the fixed ports");
    }
    // The system may have lent them to a connection of some other program for a while.
    const auto isFree = [](quint16 port) { return QTcpServer().listen(QHostAddress::LocalHost, port); };
    if (!waitUntil([&] { return std::ranges::all_of(fixedPorts, isFree); }, 120s)) {
        qFatal("the fixed ports are in use");
    }
}

TurnAtFixedPorts::~TurnAtFixedPorts() {
    close(descriptor);
}

std::unique_ptr<QTcpServer> occupy(quint16 port) {
    auto server = std::make_unique<QTcpServer>();
    if (!server->listen(QHostAddress::LocalHost, port)) {
        qFatal("port %d is taken already", port);
    }
    return server;
}

AuthorizationRequest::AuthorizationRequest(const QUrl& url)
    : items(QUrlQuery(url).queryItems(QUrl::FullyDecoded)) {}

QString AuthorizationRequest::value(const QString& name) const {
    for (const auto& item : items) {
        if (item.first == name) {
            return item.second;
        }
    }
    return {};
}

void ScriptedBrowser::get(quint16 port, const QByteArray& target) {
    received.clear();
    auto& socket = *connections.emplace_back(std::make_unique<QTcpSocket>());
    QObject::connect(&socket, &QTcpSocket::readyRead, &socket,
                     [this, &socket] { received += socket.readAll(); });
    QObject::connect(&socket, &QTcpSocket::connected, &socket, [&socket, target] {
        socket.write("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    });
    socket.connectToHost(QHostAddress::LocalHost, port);
}

void ScriptedBrowser::comeBack(const QUrl& authorizationUrl, const QByteArray& code) {
    const AuthorizationRequest request(authorizationUrl);
    get(request.port(), "/callback?code=" + code + "&state=" + request.value(u"state"_s).toUtf8() +
                            "&iss=https%3A%2F%2Flogin.quillo.example");
}

bool ScriptedBrowser::isDone() const {
    return connections.back()->state() == QAbstractSocket::UnconnectedState;
}

bool ScriptedBrowser::wasRefused() const {
    return connections.back()->error() == QAbstractSocket::ConnectionRefusedError;
}

QByteArray ScriptedBrowser::page() {
    return received;
}

} // namespace quillo::test
