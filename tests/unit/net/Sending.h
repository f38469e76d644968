#pragma once

#include "net/HTTPSession.h"
#include "support/Wait.h"

#include <QString>

#include <optional>
#include <utility>

namespace quillo::test {

[[nodiscard]] inline HTTPRequest getRequest(const QString& address) {
    HTTPRequest request;
    request.setAddress(address);
    return request;
}

[[nodiscard]] inline HTTPRequest postRequest(const QString& address, const QByteArray& body = {}) {
    HTTPRequest request = getRequest(address);
    request.method = HTTPMethod::post;
    request.body = body;
    return request;
}

/// Waits for the task and gives the error that it threw; absent when it threw none.
template <typename Error, typename T>
[[nodiscard]] std::optional<Error> failureOf(Task<T> task) {
    try {
        static_cast<void>(await(std::move(task)));
    } catch (const Error& error) {
        return error;
    }
    return std::nullopt;
}

} // namespace quillo::test
