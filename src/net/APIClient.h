#pragma once

#include "core/Task.h"
#include "model/ItemStatus.h"
#include "model/SnapshotSummary.h"
#include "model/Timeline.h"
#include "net/APIAuth.h"
#include "net/APIError.h"
#include "net/HTTPSession.h"

#include <QString>

#include <chrono>
#include <memory>
#include <vector>

namespace quillo {

class WorkQueue;

/// Asks the backend. Keeps nothing between calls; for the main thread only.
///
/// Every operation takes
/// - `backend`, the origin, to which the path is appended as it is;
/// - `auth`, written as the request's one header;
/// - `verifyTLS`, which when false accepts any certificate for that one request.
///
/// It fails with the first of these that holds:
/// 1. `APIError::badURL`: origin and path make no URL.
/// 2. `TransportError`: nothing was sent, or no whole response came.
/// 3. `APIError::unauthorized` for status 401, `APIError::http` for any other that is not 200 to 299.
/// 4. `DecodingError`: the body is not what it should be. `timeline` throws it as `APIError::decode`.
///
/// Nothing is retried. A large body is decoded on another thread. Dropping a task ends its request. The
/// client may go while its requests run.
class APIClient {
public:
    /// How long nothing may arrive; see `HTTPRequest::idleTimeout`.
    struct Timeouts {
        std::chrono::milliseconds get = std::chrono::seconds(20);
        std::chrono::milliseconds post = std::chrono::seconds(30);
    };

    /// The program's client.
    [[nodiscard]] static APIClient& shared();

    explicit APIClient(HTTPSession& httpSession) : APIClient(httpSession, Timeouts{}) {}
    APIClient(HTTPSession& httpSession, Timeouts idleTimeouts);

    /// The live ledger. Nobody else has it yet.
    [[nodiscard]] Task<std::shared_ptr<Timeline>> timeline(QString backend, APIAuth auth,
                                                           bool verifyTLS) const;

    /// Has the backend read the aggregator's cached copy again: fast and free.
    [[nodiscard]] Task<void> sync(QString backend, APIAuth auth, bool verifyTLS) const;

    /// Has the bank pulled anew: slow, and billed for each call. Sent once at most.
    [[nodiscard]] Task<void> refreshFromBank(QString backend, APIAuth auth, bool verifyTLS) const;

    /// The state of every bank link.
    [[nodiscard]] Task<StatusResponse> status(QString backend, APIAuth auth, bool verifyTLS) const;

    /// The stored daily snapshots, in the backend's order.
    [[nodiscard]] Task<std::vector<SnapshotSummary>> snapshots(QString backend, APIAuth auth,
                                                               bool verifyTLS) const;

    /// One day's ledger. `date` is appended to the path as it is, as `SnapshotSummary::snapshotDate` has it.
    [[nodiscard]] Task<std::shared_ptr<Timeline>> snapshot(QString backend, QString date, APIAuth auth,
                                                           bool verifyTLS) const;

private:
    [[nodiscard]] HTTPRequest request(HTTPMethod method, const QString& address, const APIAuth& auth,
                                      bool verifyTLS) const;

    HTTPSession* session;
    Timeouts timeouts;
    std::shared_ptr<WorkQueue> decoding; ///< of large bodies
};

} // namespace quillo
