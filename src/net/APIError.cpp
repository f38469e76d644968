#include "net/APIError.h"

#include <utility>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Description {
    QString operator()(const APIError::HTTP& error) const { return u"HTTP %1"_s.arg(error.status); }
    QString operator()(const APIError::Decode& error) const { return u"Decode error: "_s + error.text; }
    QString operator()(const APIError::BadURL&) const { return u"Bad backend URL"_s; }
    QString operator()(const APIError::Unauthorized&) const { return u"Sign-in rejected (401)"_s; }
};

} // namespace

APIError::APIError(Case which) : LocalizedError(std::visit(Description{}, which)), choice(std::move(which)) {}

} // namespace quillo
