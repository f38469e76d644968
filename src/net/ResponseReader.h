#pragma once

#include "net/GzipDecoder.h"
#include "net/HTTPMessage.h"
#include "net/TransportError.h"

#include <QNetworkReply>
#include <QObject>

#include <memory>
#include <optional>

namespace quillo {

/// Reads one reply to its end, within bounds: in memory at most `bodyLimit` bytes of body and a little more,
/// and only a bounded piece on each turn of the event loop.
///
/// Destroying the reader aborts the request and closes its connection.
class ResponseReader : public QObject {
    Q_OBJECT

public:
    /// `running` has not been read from.
    ResponseReader(std::unique_ptr<QNetworkReply> running, qint64 bodyLimit);

    /// To be called once, after `ended`. Throws `TransportError` when there is no whole response.
    [[nodiscard]] HTTPResponse takeResponse();

Q_SIGNALS:
    /// Emitted once.
    void ended();

private:
    void readHead();
    void readBody();
    /// Appends a piece to the body; false when there is nothing to append now.
    [[nodiscard]] bool readPiece();
    void finish();
    void fail(TransportError::Reason reason, const QString& text);
    void end();

    std::unique_ptr<QNetworkReply> reply;
    qint64 limit;
    qint64 received = 0;
    std::unique_ptr<GzipDecoder> decoder;
    QList<QSslError> certificateErrors;
    HTTPResponse response;
    std::optional<TransportError> failure;
    bool headRead = false;
    bool turnScheduled = false;
    bool over = false;
};

} // namespace quillo
