#include "server/HttpResponse.h"

namespace korvane {

std::string HttpResponse::head() const
{
    std::string text = "HTTP/1.1 " + std::to_string(status) + ' ' + reason + "\r\nContent-Length: "
        + std::to_string(body.size()) + "\r\nConnection: close\r\nCache-Control: no-store\r\n";
    for (const auto& [name, value] : headers)
        text.append(name).append(": ").append(value).append("\r\n");
    return text + "\r\n";
}

HttpResponse HttpResponse::ok(
    std::vector<std::pair<std::string, std::string>> headers, QByteArray body)
{
    return {200, "OK", std::move(headers), std::move(body)};
}

HttpResponse HttpResponse::unauthorized()
{
    return {401, "Unauthorized", {}, {}};
}

HttpResponse HttpResponse::notFound()
{
    return {404, "Not Found", {}, {}};
}

HttpResponse HttpResponse::methodNotAllowed()
{
    return {405, "Method Not Allowed", {}, {}};
}

HttpResponse HttpResponse::transferExpired()
{
    return {410, "Transfer Expired", {}, {}};
}

HttpResponse HttpResponse::rangeNotSatisfiable()
{
    return {416, "Range Not Satisfiable", {}, {}};
}

HttpResponse HttpResponse::serverError()
{
    return {500, "Server Error", {}, {}};
}

HttpResponse HttpResponse::transferFailed()
{
    return {500, "Transfer Failed", {}, {}};
}

} // namespace korvane
