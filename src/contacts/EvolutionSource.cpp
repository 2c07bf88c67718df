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
    QString name;
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
        else if (group == u"[Data Source]" && line.startsWith(u"DisplayName="))
            source.name = line.mid(line.indexOf(u'=') + 1).toString();
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

/// An address book.
struct Book {
    QString identifier; ///< its UID
    QString name; ///< as the user named it
};

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

    /// The enabled address books, in ascending order of their UIDs.
    std::vector<Book> books() const;

    /// The cards of one book as vCard texts, including distribution lists.
    ///
    /// Does not close the book: the store closes a connection's books when the connection ends, and
    /// `Close` would wait for other users of the book.
    QStringList cards(const QString& book) const;

private:
    QVariantList placeOf(const QString& book) const;

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
        throw NoSuchService("no Evolution Data Server");
}

std::vector<Book> EvolutionStore::books() const
{
    const SessionBusMethod method{m_sources,
        QStringLiteral("/org/gnome/evolution/dataserver/SourceManager"),
        QStringLiteral("org.freedesktop.DBus.ObjectManager"), QStringLiteral("GetManagedObjects")};
    const DataSources sources
        = dataSources(m_bus.call(method, QStringLiteral("a{oa{sa{sv}}}")).constFirst());
    std::vector<Book> books;
    for (auto source = sources.begin(); source != sources.end(); ++source) {
        if (source->isBook && isSwitchedOn(sources, source.key()))
            books.push_back({source.key(), source->name});
    }
    return books;
}

/// Whether the store cannot have this book: it has been deleted, or its backend is not installed.
/// GLib makes up these names from its errors "not found" and "not supported".
bool saysThatThereIsNone(const QString& error)
{
    return error
        == QStringLiteral("org.gtk.GDBus.UnmappedGError.Quark._g_2dio_2derror_2dquark.Code1")
        || error
        == QStringLiteral("org.gtk.GDBus.UnmappedGError.Quark._g_2dio_2derror_2dquark.Code15");
}

/// The service and the path of the book, which has yet to be opened. Throws NoSuchService if the
/// store cannot have it.
QVariantList EvolutionStore::placeOf(const QString& book) const
try {
    const SessionBusMethod openBook{m_factory,
        QStringLiteral("/org/gnome/evolution/dataserver/AddressBookFactory"),
        qualified(QStringLiteral("AddressBookFactory")), QStringLiteral("OpenAddressBook")};
    return m_bus.call(openBook, QStringLiteral("ss"), {book});
} catch (const SessionBusError& error) {
    if (saysThatThereIsNone(error.name()))
        throw NoSuchService(error.what());
    throw;
}

QStringList EvolutionStore::cards(const QString& book) const
{
    const QVariantList place = placeOf(book);
    SessionBusMethod method{place[1].toString(), place[0].toString(),
        qualified(QStringLiteral("AddressBook")), QStringLiteral("Open")};
    m_bus.call(method, {});
    method.name = QStringLiteral("GetContactList");
    return m_bus.call(method, QStringLiteral("as"), {QString::fromLatin1(everyContact)})
        .constFirst()
        .toStringList();
}

/// The cards of a book that are being fetched.
struct Fetch {
    std::string book; ///< its name, for people
    std::future<QStringList> cards;
};

/// Starts fetching the cards of all books, each on a thread of its own. `store` must outlive the
/// result.
std::vector<Fetch> fetchBooks(const EvolutionStore& store)
{
    std::vector<Fetch> fetches;
    for (const Book& book : store.books()) {
        fetches.push_back({"the address book \"" + book.name.toStdString() + '"',
            std::async(std::launch::async,
                [&store, identifier = book.identifier] { return store.cards(identifier); })});
    }
    return fetches;
}

/// Calls `read`, which may throw SessionBusError. `place` is what does not answer then.
template <typename Read>
ContactReading outcomeOf(const std::string& place, const Read& read)
{
    try {
        read();
        return {.outcome = ContactOutcome::Complete};
    } catch (const NoSuchService&) {
        return {.outcome = ContactOutcome::Missing};
    } catch (const SessionBusError&) {
        return {.outcome = ContactOutcome::Unanswered, .silent = place};
    }
}

/// Waits for the cards of a book and passes their contacts to `visit`.
ContactReading readBook(Fetch& fetch, const ContactSource::Visitor& visit)
{
    return outcomeOf(fetch.book, [&] {
        for (const QString& card : fetch.cards.get())
            readVCards(card.toStdString(), visit);
    });
}

} // namespace

ContactReading EvolutionSource::forEachContact(const Visitor& visit) const
{
    ContactReading books;
    const ContactReading store = outcomeOf("Evolution Data Server", [&] {
        const SessionBus bus{QDeadlineTimer(timeout)};
        const EvolutionStore client(bus);
        std::vector<Fetch> fetches = fetchBooks(client);
        for (Fetch& fetch : fetches)
            books.add(readBook(fetch, visit));
    });
    books.add(store);
    return books;
}

} // namespace korvane
