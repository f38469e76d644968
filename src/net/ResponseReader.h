#pragma once

#include "net/GzipDecoder.h"
#include "net/HTTPMessage.h"
#include "platform/network/TransportError.h"

#include <QString>

#include <memory>
#include <optional>

namespace quillo {

/// Reads one HTTP/1.1 response (RFC 9112), whatever the pieces in which it comes, and knows no socket.
/// Interim responses are passed over. Heads are bounded at 64 KiB together, and room is taken as bytes come.
class ResponseReader {
public:
    /// A body over `bodyLimit` bytes, as sent or decompressed, is an error, and of a refusal 64 KiB are read.
    /// `server` is named in errors.
    ResponseReader(QString server, BodyUse bodyUse, qint64 bodyLimit);
    ~ResponseReader();

    /// Takes the next bytes; nothing at all is the end of the connection. What is behind a complete response
    /// is ignored. Throws `TransportError` when this can become no response any more; it is over then.
    void feed(const QByteArray& bytes);

    /// Whether all that anybody wants has come, so that the connection may be closed.
    [[nodiscard]] bool isComplete() const noexcept { return complete; }

    /// To be called once, when complete.
    [[nodiscard]] HTTPResponse takeResponse() { return std::move(response); }

private:
    class Parser;

    void parse();
    void readHead();
    void readBody(QByteArrayView piece);
    bool append(QByteArrayView decoded);
    void finish();
    /// Of a refusal a body that cannot be decoded is none; of any other response it is an error.
    void giveUpBody(TransportError::Reason reason, const QString& text);
    [[noreturn]] void fail(TransportError::Reason reason, const QString& text) const;

    QString serverName;
    BodyUse use;
    qint64 limit;
    std::unique_ptr<Parser> parser;
    std::optional<GzipDecoder> decoder;
    QByteArray unread; ///< not enough of a line yet
    qint64 headSize = 0;
    qint64 received = 0;
    HTTPResponse response;
    bool complete = false;
};

} // namespace quillo
