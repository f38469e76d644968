#include "net/APIClient.h"

#include "core/WorkQueue.h"
#include "model/Decoding.h"

#include <utility>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

void checkStatus(int status) {
    if (status == 401) {
        throw APIError::unauthorized();
    }
    if (status < 200 || status > 299) {
        throw APIError::http(status);
    }
}

/// Sends, and gives the body of a successful response.
Task<QByteArray> bodyOf(HTTPSession& session, HTTPRequest request) {
    HTTPResponse response = co_await session.send(std::move(request));
    checkStatus(response.status);
    co_return std::move(response.body);
}

/// From this many bytes on a body is decoded on a thread of its own: a megabyte takes some two milliseconds,
/// and the largest body that is accepted would hold up the event loop for longer than it may be.
constexpr qsizetype decodedAside = qsizetype{1} << 20;

template <typename T>
Task<T> decodedHere(QByteArray body, T (*decode)(QByteArray)) {
    // clang takes the move of the parameter into the coroutine's frame for one of what the frame holds.
    co_return decode(std::move(body)); // NOLINT(clang-analyzer-cplusplus.Move)
}

template <typename T>
Task<T> decodedThere(QByteArray body, T (*decode)(QByteArray)) {
    WorkQueue worker;
    auto work = worker.run([body = std::move(body), decode]() mutable { return decode(std::move(body)); });
    co_return co_await work;
}

/// What `decode` makes of the body, or throws, without holding up the event loop.
template <typename T>
Task<T> decoded(QByteArray body, T (*decode)(QByteArray)) {
    const bool isLarge = body.size() >= decodedAside;
    return isLarge ? decodedThere(std::move(body), decode) : decodedHere(std::move(body), decode);
}

} // namespace

APIClient& APIClient::shared() {
    static APIClient client(HTTPSession::shared());
    return client;
}

APIClient::APIClient(HTTPSession& httpSession) : APIClient(httpSession, Timeouts{}) {}

APIClient::APIClient(HTTPSession& httpSession, Timeouts idleTimeouts)
    : session(&httpSession), timeouts(idleTimeouts) {}

Task<Timeline> APIClient::timeline(QString backend, APIAuth auth, bool verifyTLS) const {
    HTTPRequest get = request(HTTPMethod::get, backend + u"/api/timeline"_s, auth, verifyTLS);
    QByteArray body = co_await bodyOf(*session, std::move(get));
    try {
        Timeline ledger = co_await decoded(std::move(body), decodeTimeline);
        co_return ledger;
    } catch (const DecodingError& error) {
        throw APIError::decode(error.errorDescription());
    }
}

Task<void> APIClient::sync(QString backend, APIAuth auth, bool verifyTLS) const {
    HTTPRequest post = request(HTTPMethod::post, backend + u"/api/sync"_s, auth, verifyTLS);
    co_await bodyOf(*session, std::move(post));
}

Task<void> APIClient::refreshFromBank(QString backend, APIAuth auth, bool verifyTLS) const {
    HTTPRequest post = request(HTTPMethod::post, backend + u"/api/refresh"_s, auth, verifyTLS);
    co_await bodyOf(*session, std::move(post));
}

Task<StatusResponse> APIClient::status(QString backend, APIAuth auth, bool verifyTLS) const {
    HTTPRequest get = request(HTTPMethod::get, backend + u"/api/status"_s, auth, verifyTLS);
    QByteArray body = co_await bodyOf(*session, std::move(get));
    StatusResponse links = co_await decoded(std::move(body), decodeStatusResponse);
    co_return links;
}

Task<std::vector<SnapshotSummary>> APIClient::snapshots(QString backend, APIAuth auth, bool verifyTLS) const {
    HTTPRequest get = request(HTTPMethod::get, backend + u"/api/snapshots"_s, auth, verifyTLS);
    QByteArray body = co_await bodyOf(*session, std::move(get));
    SnapshotListResponse list = co_await decoded(std::move(body), decodeSnapshotListResponse);
    co_return std::move(list.snapshots);
}

Task<Timeline> APIClient::snapshot(QString backend, QString date, APIAuth auth, bool verifyTLS) const {
    HTTPRequest get = request(HTTPMethod::get, backend + u"/api/snapshot/"_s + date, auth, verifyTLS);
    QByteArray body = co_await bodyOf(*session, std::move(get));
    Timeline ledger = co_await decoded(std::move(body), decodeTimeline);
    co_return ledger;
}

HTTPRequest APIClient::request(HTTPMethod method, const QString& address, const APIAuth& auth,
                               bool verifyTLS) const {
    HTTPRequest made;
    made.setAddress(address);
    if (!made.url.isValid()) {
        throw APIError::badURL();
    }
    made.method = method;
    made.bodyUse = method == HTTPMethod::get ? BodyUse::onSuccess : BodyUse::never;
    made.idleTimeout = method == HTTPMethod::get ? timeouts.get : timeouts.post;
    made.certificateCheck = verifyTLS ? CertificateCheck::required : CertificateCheck::none;
    auth.apply(made);
    return made;
}

} // namespace quillo
