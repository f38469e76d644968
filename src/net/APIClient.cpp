#include "net/APIClient.h"

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
        co_return decodeTimeline(std::move(body));
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
    co_return decodeStatusResponse(std::move(body));
}

Task<std::vector<SnapshotSummary>> APIClient::snapshots(QString backend, APIAuth auth, bool verifyTLS) const {
    HTTPRequest get = request(HTTPMethod::get, backend + u"/api/snapshots"_s, auth, verifyTLS);
    QByteArray body = co_await bodyOf(*session, std::move(get));
    SnapshotListResponse list = decodeSnapshotListResponse(std::move(body));
    co_return std::move(list.snapshots);
}

Task<Timeline> APIClient::snapshot(QString backend, QString date, APIAuth auth, bool verifyTLS) const {
    HTTPRequest get = request(HTTPMethod::get, backend + u"/api/snapshot/"_s + date, auth, verifyTLS);
    QByteArray body = co_await bodyOf(*session, std::move(get));
    co_return decodeTimeline(std::move(body));
}

HTTPRequest APIClient::request(HTTPMethod method, const QString& address, const APIAuth& auth,
                               bool verifyTLS) const {
    const QUrl url(address, QUrl::StrictMode); // the tolerant mode would mend what the user has to mend
    if (!url.isValid()) {
        throw APIError::badURL();
    }
    HTTPRequest made;
    made.method = method;
    made.url = url;
    made.idleTimeout = method == HTTPMethod::get ? timeouts.get : timeouts.post;
    made.certificateCheck = verifyTLS ? CertificateCheck::required : CertificateCheck::none;
    auth.apply(made);
    return made;
}

} // namespace quillo
