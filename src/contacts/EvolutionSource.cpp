#include "contacts/EvolutionSource.h"

#include "contacts/EvolutionStore.h"
#include "contacts/VCard.h"

#include <future>

namespace korvane {

namespace {

using Cards = std::future<QStringList>;

/// Starts fetching the cards of all books, each on a thread of its own. `store` must outlive the
/// result.
std::vector<Cards> fetchBooks(const EvolutionStore& store)
{
    std::vector<Cards> books;
    for (const QString& book : store.books()) {
        books.push_back(
            std::async(std::launch::async, [&store, book] { return store.cards(book); }));
    }
    return books;
}

/// Waits for the cards of a book. Empty if the book cannot be read.
QStringList cardsOf(Cards& book)
{
    try {
        return book.get();
    } catch (const SessionBusError&) {
        return {};
    }
}

} // namespace

void EvolutionSource::forEachContact(const Visitor& visit) const
{
    const SessionBus bus{QDeadlineTimer(patience)};
    const EvolutionStore store(bus);
    std::vector<Cards> books = fetchBooks(store);
    for (Cards& book : books) {
        for (const QString& card : cardsOf(book))
            readVCards(card.toStdString(), visit);
    }
}

} // namespace korvane
