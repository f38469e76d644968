#pragma once

#include "model/DecodingError.h"
#include "model/ItemStatus.h"
#include "model/SnapshotSummary.h"
#include "model/Timeline.h"

#include <QByteArray>

/// The backend's bodies as records, all or nothing: the first thing wrong throws DecodingError. Members that
/// the records do not have are passed over; what each has is in docs/backend-api.md.
///
/// The body is best moved in: it is then read where it lies and let go as soon as it was.
namespace quillo {

/// The body of the live ledger and of one day's snapshot.
[[nodiscard]] Timeline decodeTimeline(QByteArray body);

[[nodiscard]] StatusResponse decodeStatusResponse(QByteArray body);

[[nodiscard]] SnapshotListResponse decodeSnapshotListResponse(QByteArray body);

} // namespace quillo
