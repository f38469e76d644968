#include "net/APIClient.h"

#include "core/WorkQueue.h"
#include "model/Decoding.h"

#include <utility>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Sends, and gives the body of a successful response.
Task<QByteArray> bodyOf(HTTPSession& session, HTTPRequest request) {
    HTTPResponse response = co_await session.send(std::move(request));
    if (response.status == 401) {
        throw APIError::unauthorized();
    }
    if (response.status < 200 || response.status > 299) {
        throw APIError::http(response.status);
    }
    co_return std::move(response.body);
}

/// From this many bytes on a body is decoded on a thread of its own: a megabyte takes some two milliseconds,
/// and the largest body that is accepted would hold up the event loop for longer than it may be.
constexpr qsizetype decodedAside = qsizetype{1} << 20;

/// Sends, and gives what `decode` makes of the body, or throws, without holding up the event loop. Something
/// large is let go on the queue's thread, too.
template <typename T>
Task<std::shared_ptr<T>> fetched(HTTPSession& session, HTTPRequest request, std::shared_ptr<WorkQueue> worker,
                                 T (*decode)(QByteArray)) {
    QByteArray body = co_await bodyOf(session, std::move(request));
    if (body.size() < decodedAside) {
        // clang takes the move of the parameter into the coroutine's frame for one of what the frame holds.
        co_return std::make_shared<T>(decode(std::move(body))); // NOLINT(clang-analyzer-cplusplus.Move)
    } else { // NOLINT(readability-else-after-return): cppcheck does not know that a coroutine ended above
        auto work =
            worker->run([body = std::move(body), decode]() mutable { return decode(std::move(body)); });
        auto value = co_await work;
        co_return worker->share(std::move(value));
    }
}

} // namespace

APIClient& APIClient::shared() {
    static APIClient client(HTTPSession::shared());
    return client;
}

APIClient::APIClient(HTTPSession& httpSession, Timeouts idleTimeouts)
    : session(&httpSession), timeouts(idleTimeouts), decoding(std::make_shared<WorkQueue>()) {}

Task<std::shared_ptr<Timeline>> APIClient::timeline(QString backend, APIAuth auth, bool verifyTLS) const {
    HTTPRequest get = request(HTTPMethod::get, backend + u"/api/timeline"_s, auth, verifyTLS);
    auto fetching = fetched(*session, std::move(get), decoding, decodeTimeline);
    try {
        auto ledger = co_await fetching;
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
    auto links = co_await fetched(*session, std::move(get), decoding, decodeStatusResponse);
    co_return std::move(*links);
}

Task<std::vector<SnapshotSummary>> APIClient::snapshots(QString backend, APIAuth auth, bool verifyTLS) const {
    HTTPRequest get = request(HTTPMethod::get, backend + u"/api/snapshots"_s, auth, verifyTLS);
    auto list = co_await fetched(*session, std::move(get), decoding, decodeSnapshotListResponse);
    co_return std::move(list->snapshots);
}

Task<std::shared_ptr<Timeline>> APIClient::snapshot(QString backend, QString date, APIAuth auth,
                                                    bool verifyTLS) const {
    HTTPRequest get = request(HTTPMethod::get, backend + u"/api/snapshot/"_s + date, auth, verifyTLS);
    auto ledger = co_await fetched(*session, std::move(get), decoding, decodeTimeline);
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
