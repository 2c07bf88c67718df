// Measures the server's answers over the loopback interface, relative to bare servers in the same
// run. Arguments:
//   --quick        fewer chunks and requests; the limits are reported, but not enforced
//   --rounds N     number of rounds, of which the median counts
// Server and client run in separate processes. All servers are measured with the same client.

#include "Arguments.h"
#include "BareSeal.h"
#include "BareServer.h"
#include "Child.h"
#include "ClientProcess.h"
#include "Loopback.h"
#include "OfferingServer.h"

#include "pairing/TransferLink.h"
#include "server/Routes.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <iostream>
#include <optional>
#include <stdexcept>

using namespace korvane;

namespace {

constexpr std::int64_t mebi = std::int64_t{1024} * 1024;

void require(bool good, const char* what)
{
    if (!good)
        throw std::runtime_error(what);
}

// One transfer.

double fetchTransfer(Client& client, const Scene& scene)
{
    const std::string request
        = "GET " + std::string(TransferLink::path) + client.secret() + " HTTP/1.1\r\n\r\n";
    return secondsOf(
        [&] { require(client.fetch(request) > scene.size, "the transfer is not whole"); });
}

double servedTransfer(const Scene& scene)
{
    ClientProcess client([&](Client& each) { return fetchTransfer(each, scene); });
    OfferingServer server(scene);
    return client.secondsWith(server.withTicket());
}

double bareRead(const Scene& scene)
{
    std::optional<BareSeal> body; // destroyed outside the measured time
    return secondsOf([&] {
        body.emplace(static_cast<std::size_t>(scene.size));
        body->read(scene.open().get(), 0);
    });
}

double bareSeal(const Scene& scene)
{
    BareSeal body(static_cast<std::size_t>(scene.size));
    body.read(scene.open().get(), 0);
    return secondsOf([&] { body.seal(); });
}

double bareSend(const Scene& scene)
{
    ClientProcess client([&](Client& each) { return fetchTransfer(each, scene); });
    BareSeal body(static_cast<std::size_t>(scene.size));
    body.read(scene.open().get(), 0);
    const BareServer server(
        [&](const Descriptor& connection) { Loopback::sendAll(connection, body.bytes()); });
    return client.secondsWith(Invitation(server.port()));
}

bool measureTransfer(const Scene& scene, int rounds)
{
    const auto costs
        = medians({[&] { return bareRead(scene); }, [&] { return bareSeal(scene); },
                      [&] { return bareSend(scene); }, [&] { return servedTransfer(scene); }},
            rounds);
    std::cout << scene.size / mebi << " MiB: reading " << costs[0].seconds * 1000 << " ms, sealing "
              << costs[1].seconds * 1000 << " ms, sending " << costs[2].seconds * 1000 << " ms\n";
    const double floor = costs[0].seconds + costs[1].seconds + costs[2].seconds;
    const auto inMebi
        = [](std::int64_t bytes) { return static_cast<double>(bytes) / static_cast<double>(mebi); };
    const bool quick
        = report("  transfer / reading, sealing and sending it", costs[3].seconds / floor, 1.3);
    const bool lean = report("  peak memory of the server (2.2 times the body)",
        inMebi(costs[3].peakBytes), 2.2 * inMebi(scene.size), "MiB");
    return quick && lean;
}

// A file in chunks.

std::string authorized(const std::string& target, const std::string& token)
{
    return "GET " + target + " HTTP/1.1\r\nAuthorization: Bearer " + token + "\r\n\r\n";
}

double fetchChunks(Client& client, const Scene& scene)
{
    const std::string file = "/v1/files/Team%20(1)%20Korvane%20Wrapped.jsonl.txt?offset=";
    return secondsOf([&] {
        std::int64_t got = client.fetch(authorized("/v1/manifest", client.secret()));
        for (std::int64_t offset = 0; offset < scene.size; offset += maxChunk)
            got += client.fetch(authorized(file + std::to_string(offset), client.secret()));
        require(got > scene.size, "the chunks are not whole");
    });
}

double servedChunks(const Scene& scene)
{
    ClientProcess client([&](Client& each) { return fetchChunks(each, scene); });
    const OfferingServer server(scene);
    return client.secondsWith(server.withToken());
}

void sendChunks(const Descriptor& connection, const Scene& scene)
{
    const Descriptor file = scene.open();
    BareSeal chunk(maxChunk);
    for (std::int64_t offset = 0; offset < scene.size; offset += maxChunk) {
        chunk.read(file.get(), offset);
        chunk.seal();
        Loopback::sendAll(connection, chunk.bytes());
    }
}

double bareChunks(const Scene& scene)
{
    ClientProcess client([&](Client& each) { return fetchTransfer(each, scene); });
    const BareServer server([&](const Descriptor& connection) { sendChunks(connection, scene); });
    return client.secondsWith(Invitation(server.port()));
}

bool measureChunks(const Scene& scene, int rounds)
{
    const auto costs
        = medians({[&] { return bareChunks(scene); }, [&] { return servedChunks(scene); }}, rounds);
    std::cout << scene.size / mebi << " MiB in chunks: bare loop " << costs[0].seconds << " s\n";
    return report("  manifest and chunks, a connection each / one bare loop",
        costs[1].seconds / costs[0].seconds, 1 / 0.6);
}

// Small answers.

const std::string refused = HttpResponse::unauthorized().head();

double fetchRefusals(Client& client, int requests)
{
    const std::string request = "GET /v1/manifest HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    return secondsOf([&] {
        for (int i = 0; i < requests; ++i) {
            require(client.fetch(request) == static_cast<std::int64_t>(refused.size()),
                "this is no refusal");
        }
    });
}

double servedRefusals(const Scene& scene, int requests)
{
    ClientProcess client([=](Client& each) { return fetchRefusals(each, requests); });
    const OfferingServer server(scene);
    return client.secondsWith(server.withToken());
}

double bareRefusals(int requests)
{
    ClientProcess client([=](Client& each) { return fetchRefusals(each, requests); });
    const BareQtServer server(QByteArray::fromStdString(refused));
    return client.secondsWith(Invitation(server.port()));
}

bool measureRefusals(const Scene& scene, int requests, int rounds)
{
    const auto costs = medians(
        {[=] { return bareRefusals(requests); }, [&] { return servedRefusals(scene, requests); }},
        rounds);
    std::cout << requests << " requests: bare server " << requests / costs[0].seconds
              << " a second\n";
    return report("  requests refused / a bare server's", costs[1].seconds / costs[0].seconds, 1.5);
}

} // namespace

int main(int argc, char* argv[])
{
    const Arguments arguments(argc, argv);
    const QCoreApplication application(argc, argv);
    const bool quick = arguments.has("--quick");
    const int rounds = std::stoi(arguments.value("--rounds", "5"));
    const QTemporaryDir temporary;
    const std::string folder = temporary.path().toStdString();

    const Scene transfer = Scene::prepared(
        folder + "/transfer", TransferTicket::largestFile, TransferTicket::largestFile);
    const Scene chunks = Scene::prepared(folder + "/chunks", (quick ? 64 : 1024) * mebi, mebi);
    bool good = measureTransfer(transfer, rounds);
    good = measureChunks(chunks, rounds) && good;
    good = measureRefusals(transfer, quick ? 2'000 : 20'000, rounds) && good;
    return good || quick ? 0 : 1; // a small sample proves nothing about speed
}
