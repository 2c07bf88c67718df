#include "contacts/EvolutionSource.h"

#include "contacts/SessionBus.h"
#include "contacts/VCard.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QMap>

#include <algorithm>
#include <future>
#include <utility>

namespace korvane {

namespace {

/// The reply of GetManagedObjects: object path to interface name to properties.
using ManagedObjects = QMap<QDBusObjectPath, QMap<QString, QVariantMap>>;

/// A query for all contacts. Some address-book backends reject shorter forms of it.
constexpr char everyContact[] = "(contains \"x-evolution-any-field\" \"\")";

/// The settings of a data source that matter here.
struct DataSource {
    bool isBook = false;
    bool isEnabled = true;
    QString parent;
};

using DataSources = QMap<QString, DataSource>; // by UID

QString qualified(const QString& name)
{
    return QStringLiteral("org.gnome.evolution.dataserver.") + name;
}

QStringList namesOn(const SessionBus& bus, const QString& list)
{
    return bus.call(SessionBus::method(list), QStringLiteral("as")).constFirst().toStringList();
}

/// The name that consists of `prefix` and the highest number. Empty if there is none.
QString highestNumbered(const QStringList& names, const QString& prefix)
{
    std::pair<int, QString> highest;
    for (const QString& name : names) {
        bool isNumber = false;
        const int number = name.mid(prefix.size()).toInt(&isNumber);
        if (isNumber && name.startsWith(prefix))
            highest = std::max(highest, {number, name});
    }
    return highest.second;
}

/// Parses a key file: `[group]` lines, each followed by `key=value` lines.
DataSource parsedSource(const QString& keyFile)
{
    DataSource source;
    QStringView group;
    for (const QStringView line : QStringView(keyFile).split(u'\n')) {
        if (line.startsWith(u'['))
            group = line;
        else if (group == u"[Data Source]" && line.startsWith(u"Enabled="))
            source.isEnabled = line != u"Enabled=false";
        else if (group == u"[Data Source]" && line.startsWith(u"Parent="))
            source.parent = line.mid(line.indexOf(u'=') + 1).toString();
        source.isBook = source.isBook || group == u"[Address Book]";
    }
    return source;
}

DataSources dataSources(const QVariant& objects)
{
    DataSources sources;
    for (const auto& interfaces : qdbus_cast<ManagedObjects>(objects)) {
        const QVariantMap source = interfaces.value(qualified(QStringLiteral("Source")));
        sources.insert(source.value(QStringLiteral("UID")).toString(),
            parsedSource(source.value(QStringLiteral("Data")).toString()));
    }
    return sources;
}

/// Whether a source and all its parents, such as its account, are enabled. The depth limit ends the
/// loop if the parents form a cycle.
bool isSwitchedOn(const DataSources& sources, QString identifier)
{
    constexpr int deepest = 16;
    for (int depth = 0; depth < deepest && sources.contains(identifier); ++depth) {
        if (!sources[identifier].isEnabled)
            return false;
        identifier = sources[identifier].parent;
    }
    return true;
}

/// A client of Evolution Data Server on the session bus. One service lists the user's data sources,
/// another opens the address books among them. All methods throw SessionBusError. `cards` may be
/// called by several threads at once.
///
/// The names of both services end in the version of their interface, as in
/// "org.gnome.evolution.dataserver.Sources5". This class uses the highest version that is running
/// or can be activated.
class EvolutionStore {
public:
    /// Looks up the two services. `bus` must outlive this object.
    explicit EvolutionStore(const SessionBus& bus);

    /// The UIDs of the enabled address books, in ascending order.
    QStringList books() const;

    /// The cards of one book as vCard texts, including distribution lists.
    ///
    /// Does not close the book: the store closes a connection's books when the connection ends, and
    /// `Close` would wait for other users of the book.
    QStringList cards(const QString& book) const;

private:
    const SessionBus& m_bus;
    QString m_sources;
    QString m_factory;
};

EvolutionStore::EvolutionStore(const SessionBus& bus) : m_bus(bus)
{
    const QStringList names = namesOn(bus, QStringLiteral("ListActivatableNames"))
        + namesOn(bus, QStringLiteral("ListNames"));
    m_sources = highestNumbered(names, qualified(QStringLiteral("Sources")));
    m_factory = highestNumbered(names, qualified(QStringLiteral("AddressBook")));
    if (m_sources.isEmpty() || m_factory.isEmpty())
        throw SessionBusError("no Evolution Data Server");
}

QStringList EvolutionStore::books() const
{
    const SessionBusMethod method{m_sources,
        QStringLiteral("/org/gnome/evolution/dataserver/SourceManager"),
        QStringLiteral("org.freedesktop.DBus.ObjectManager"), QStringLiteral("GetManagedObjects")};
    const DataSources sources
        = dataSources(m_bus.call(method, QStringLiteral("a{oa{sa{sv}}}")).constFirst());
    QStringList books;
    for (auto source = sources.begin(); source != sources.end(); ++source) {
        if (source->isBook && isSwitchedOn(sources, source.key()))
            books.append(source.key());
    }
    return books;
}

QStringList EvolutionStore::cards(const QString& book) const
{
    const SessionBusMethod openBook{m_factory,
        QStringLiteral("/org/gnome/evolution/dataserver/AddressBookFactory"),
        qualified(QStringLiteral("AddressBookFactory")), QStringLiteral("OpenAddressBook")};
    const QVariantList place = m_bus.call(openBook, QStringLiteral("ss"), {book});
    SessionBusMethod method{place[1].toString(), place[0].toString(),
        qualified(QStringLiteral("AddressBook")), QStringLiteral("Open")};
    m_bus.call(method, {});
    method.name = QStringLiteral("GetContactList");
    return m_bus.call(method, QStringLiteral("as"), {QString::fromLatin1(everyContact)})
        .constFirst()
        .toStringList();
}

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
    const SessionBus bus{QDeadlineTimer(timeout)};
    const EvolutionStore store(bus);
    std::vector<Cards> books = fetchBooks(store);
    for (Cards& book : books) {
        for (const QString& card : cardsOf(book))
            readVCards(card.toStdString(), visit);
    }
}

} // namespace korvane
