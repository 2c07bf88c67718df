// Measures loading the names of 5,000 contacts, relative to baselines that only read the same data,
// in the same run. Arguments:
//   --quick        fewer contacts; the limits are reported, but not enforced
//   --rounds N     number of rounds, of which the median counts
// The store is a real Evolution Data Server on a private message bus. If it is not installed, this
// part is skipped with a message.

#include "Arguments.h"
#include "Child.h"

#include "contacts/ContactNames.h"
#include "contacts/EvolutionSource.h"
#include "contacts/FilledStore.h"
#include "contacts/PrivateDesktop.h"
#include "contacts/VCardSource.h"

#include <QCoreApplication>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>

using namespace korvane;
namespace fs = std::filesystem;

namespace {

void require(bool good, const char* what)
{
    if (!good)
        throw std::runtime_error(what);
}

/// The mean of a few runs of `work`, because the time in which cooperating processes wake each
/// other varies.
double secondsOfEach(const std::function<void()>& work)
{
    constexpr int times = 4;
    return secondsOf([&] {
        for (int i = 0; i < times; ++i)
            work();
    }) / times;
}

double namesFrom(std::unique_ptr<ContactSource> source, int contacts)
{
    ContactSources sources;
    sources.push_back(std::move(source));
    return secondsOfEach([&] {
        const ContactNames names = ContactNames::load(sources).names;
        require(names.map.size() == std::size_t(2) * contacts, "names are missing");
    });
}

// Files.

std::string numberedCard(int number)
{
    return FilledStore::numberedCard(number).toStdString();
}

void writeBook(const fs::path& file, int contacts)
{
    std::ofstream book(file, std::ios::binary);
    for (int number = 0; number < contacts; ++number)
        book << numberedCard(number);
}

void writeCards(const fs::path& folder, int contacts)
{
    fs::create_directory(folder);
    for (int number = 0; number < contacts; ++number) {
        std::ofstream card(folder / (std::to_string(number) + ".vcf"), std::ios::binary);
        card << numberedCard(number);
    }
}

std::size_t countLines(const fs::path& file)
{
    std::ifstream bytes(file, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(bytes, line);)
        lines.push_back(std::move(line));
    return lines.size();
}

std::size_t countLinesIn(const fs::path& place)
{
    if (!fs::is_directory(place))
        return countLines(place);
    std::size_t lines = 0;
    for (const auto& card : fs::directory_iterator(place))
        lines += countLines(card.path());
    return lines;
}

double bareLines(const fs::path& place, int contacts)
{
    return secondsOfEach(
        [&] { require(countLinesIn(place) == std::size_t(16) * contacts, "lines are missing"); });
}

bool measureFiles(const char* what, const fs::path& place, int contacts, int rounds)
{
    const auto costs
        = medians({[&] { return bareLines(place, contacts); },
                      [&] { return namesFrom(std::make_unique<VCardSource>(place), contacts); }},
            rounds);
    std::cout << what << ": lines " << costs[0].seconds * 1000 << " ms\n";
    return report(
        "  names / reading and splitting into lines", costs[1].seconds / costs[0].seconds, 2);
}

// The store.

double bareCalls(int contacts)
{
    return secondsOfEach(
        [=] { require(FilledStore().cards().size() == contacts, "cards are missing"); });
}

bool measureStore(int contacts, int rounds)
{
    const PrivateDesktop desktop;
    inChild([=] { return secondsOf([=] { FilledStore().addNumberedCards(contacts); }); });
    const auto costs
        = medians({[=] { return bareCalls(contacts); },
                      [=] { return namesFrom(std::make_unique<EvolutionSource>(), contacts); }},
            rounds);
    std::cout << "Evolution Data Server: bare calls " << costs[0].seconds * 1000 << " ms\n";
    return report("  names / the bare D-Bus calls", costs[1].seconds / costs[0].seconds, 1.5);
}

} // namespace

int main(int argc, char* argv[])
{
    const Arguments arguments(argc, argv);
    const QCoreApplication application(argc, argv);
    const bool quick = arguments.has("--quick");
    const int rounds = std::stoi(arguments.value("--rounds", quick ? "3" : "11"));
    const int contacts = quick ? 500 : 5'000;
    const QTemporaryDir temporary;
    const fs::path folder = temporary.path().toStdString();

    writeBook(folder / "book.vcf", contacts);
    bool good = measureFiles("One file", folder / "book.vcf", contacts, rounds);
    writeCards(folder / "cards", contacts);
    good = measureFiles("A file each", folder / "cards", contacts, rounds) && good;
    if (PrivateDesktop::isInstalled())
        good = measureStore(contacts, rounds) && good;
    else
        std::cout << "Evolution Data Server is not installed: left out\n";
    return good || quick ? 0 : 1; // a small sample proves nothing about speed
}
