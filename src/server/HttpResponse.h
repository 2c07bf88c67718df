#pragma once

#include <QByteArray>

#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// An HTTP response, after which the connection is closed. A plain value.
struct HttpResponse {
    int status = 0;
    std::string reason;
    std::vector<std::pair<std::string, std::string>> headers; ///< besides those of every response
    QByteArray body;

    bool operator==(const HttpResponse&) const = default;

    /// Everything before the body, including the blank line.
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
