#include "net/ResponseReader.h"

#include <QThreadPool>

#include <utility>

namespace quillo {

using namespace Qt::Literals::StringLiterals;
using Reason = TransportError::Reason;

namespace {

/// What Qt may hold for us at a time; the connection waits while it is full.
constexpr qint64 readAhead = qint64{256} * 1024;
/// Read from the reply at a time.
constexpr qint64 pieceSize = qint64{32} * 1024;
/// Added to the body on one turn of the loop: half a millisecond of decompressing and of touching new memory.
constexpr qsizetype turnSize = qsizetype{256} * 1024;

/// Smaller bodies grow and go in no time.
constexpr qsizetype large = qsizetype{1024} * 1024;

/// Growing by doubling copies tens of megabytes at once and blocks the loop. Memory that is reserved but
/// never written costs only addresses.
void makeRoom(QByteArray& body, qint64 limit) {
    if (body.size() >= large && body.capacity() < limit + 2 * pieceSize) {
        body.reserve(static_cast<qsizetype>(limit + 2 * pieceSize));
    }
}

/// Whether the error only restates the status of a complete response. Qt has an error for every status from
/// 400 on, outside the range of the network's own errors.
bool restatesStatus(const QNetworkReply& reply) {
    const auto error = reply.error();
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() >= 400 &&
           error > QNetworkReply::UnknownNetworkError && error != QNetworkReply::ContentReSendError &&
           error != QNetworkReply::ProtocolFailure && error != QNetworkReply::ProtocolUnknownError;
}

/// Whether this is a redirect of a POST that would have to be sent again. Qt tries to rewind the body of such
/// a POST even where redirects are not followed, and reports that it cannot instead of reading on.
bool isUnfollowedRedirect(const QNetworkReply& reply) {
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    return reply.error() == QNetworkReply::ContentReSendError && (status == 307 || status == 308);
}

} // namespace

ResponseReader::ResponseReader(std::unique_ptr<QNetworkReply> running, qint64 bodyLimit)
    : reply(std::move(running)), limit(bodyLimit) {
    reply->setReadBufferSize(readAhead);
    connect(reply.get(), &QNetworkReply::sslErrors, this,
            [this](const QList<QSslError>& errors) { certificateErrors = errors; });
    connect(reply.get(), &QNetworkReply::metaDataChanged, this, &ResponseReader::readHead);
    connect(reply.get(), &QNetworkReply::readyRead, this, &ResponseReader::readBody);
    connect(reply.get(), &QNetworkReply::finished, this, &ResponseReader::readBody);
}

HTTPResponse ResponseReader::takeResponse() {
    if (failure) {
        throw TransportError(*failure);
    }
    return std::move(response);
}

void ResponseReader::readHead() {
    const auto status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (over || headRead || !status.isValid()) {
        return;
    }
    headRead = true;
    response.status = status.toInt();
    if (reply->header(QNetworkRequest::ContentLengthHeader).toLongLong() > limit) {
        fail(Reason::tooLarge, u"The answer from %1 is too large."_s.arg(serverName(reply->url())));
        return;
    }
    const QByteArray encoding = reply->rawHeader("Content-Encoding").trimmed().toLower();
    if (encoding == "gzip" || encoding == "x-gzip") {
        decoder = std::make_unique<GzipDecoder>();
    } else if (!encoding.isEmpty() && encoding != "identity") {
        fail(Reason::damaged,
             u"%1 answered in a compression that was not asked for."_s.arg(serverName(reply->url())));
    }
}

void ResponseReader::readBody() {
    readHead();
    if (over) {
        return;
    }
    if (reply->isFinished() && isUnfollowedRedirect(*reply)) {
        end(); // with the status, which is all that anybody wants of it
        return;
    }
    if (reply->isFinished() && reply->error() != QNetworkReply::NoError && !restatesStatus(*reply)) {
        failure = transportError(*reply, certificateErrors);
        end();
        return;
    }
    const auto before = response.body.size();
    while (response.body.size() - before < turnSize) {
        if (!readPiece()) {
            if (!over && reply->isFinished()) {
                finish();
            }
            return;
        }
    }
    if (!turnScheduled) {
        turnScheduled = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                turnScheduled = false;
                readBody();
            },
            Qt::QueuedConnection);
    }
}

bool ResponseReader::readPiece() {
    makeRoom(response.body, limit);
    if (!decoder || decoder->needsInput()) {
        QByteArray piece = reply->read(pieceSize);
        if (piece.isEmpty()) {
            return false;
        }
        received += piece.size();
        if (decoder) {
            decoder->feed(std::move(piece));
        } else {
            response.body += piece;
        }
    }
    if (decoder && decoder->decode(response.body) == GzipDecoder::Result::damaged) {
        fail(Reason::damaged, u"The compressed answer from %1 is damaged."_s.arg(serverName(reply->url())));
        return false;
    }
    if (received > limit || response.body.size() > limit) {
        fail(Reason::tooLarge, u"The answer from %1 is too large."_s.arg(serverName(reply->url())));
        return false;
    }
    return true;
}

void ResponseReader::finish() {
    const auto announced = reply->header(QNetworkRequest::ContentLengthHeader);
    if ((announced.isValid() && received > 0 && received < announced.toLongLong()) ||
        (decoder && !decoder->isComplete())) {
        fail(Reason::interrupted, u"The answer from %1 was cut short."_s.arg(serverName(reply->url())));
        return;
    }
    end();
}

void ResponseReader::fail(Reason reason, const QString& text) {
    failure.emplace(reason, text);
    if (response.body.size() >= large) {
        // Giving tens of megabytes back to the system blocks for milliseconds.
        QThreadPool::globalInstance()->start([body = std::exchange(response.body, {})] {});
    }
    end();
}

void ResponseReader::end() {
    over = true;
    reply->disconnect(this);
    Q_EMIT ended();
}

} // namespace quillo
