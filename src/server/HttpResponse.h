#pragma once

#include <QByteArray>

#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// An answer: after it the connection is closed. A plain value.
struct HttpResponse {
    int status = 0;
    std::string reason;
    std::vector<std::pair<std::string, std::string>> headers; ///< besides those that all have
    QByteArray body;

    bool operator==(const HttpResponse&) const = default;

    /// Everything before the body, the blank line included.
    std::string head() const;

    static HttpResponse ok(
        std::vector<std::pair<std::string, std::string>> headers, QByteArray body);
    static HttpResponse unauthorized();
    static HttpResponse notFound();
    static HttpResponse methodNotAllowed();
    static HttpResponse transferExpired();
    static HttpResponse rangeNotSatisfiable();
    static HttpResponse serverError();
    static HttpResponse transferFailed();
};

} // namespace korvane
