#include "contacts/FilledStore.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QMap>
#include <QThread>
#include <QUuid>

#include <stdexcept>

namespace korvane {

namespace {

const QString domain = QStringLiteral("org.gnome.evolution.dataserver.");
const QString root = QStringLiteral("/org/gnome/evolution/dataserver/");

/// The name of the installed service of this kind.
QString installed(const QDBusConnection& connection, const QString& kind)
{
    for (const QString& name : connection.interface()->activatableServiceNames().value()) {
        if (name.startsWith(domain + kind))
            return name;
    }
    throw std::runtime_error("there is no Evolution Data Server on this bus");
}

QVariantList call(
    const QDBusConnection& connection, QDBusMessage message, const QVariantList& arguments = {})
{
    constexpr int timeout = 60'000;
    message.setArguments(arguments);
    const QDBusMessage reply = connection.call(message, QDBus::Block, timeout);
    if (reply.type() != QDBusMessage::ReplyMessage)
        throw std::runtime_error("the store refuses: " + reply.errorMessage().toStdString());
    return reply.arguments();
}

QString digits(int number)
{
    return QStringLiteral("555%1").arg(number, 7, 10, QLatin1Char('0'));
}

} // namespace

FilledStore::FilledStore()
    : m_connection(QDBusConnection::connectToBus(
        qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), QUuid::createUuid().toString()))
    , m_sources(installed(m_connection, QStringLiteral("Sources")))
    , m_books(installed(m_connection, QStringLiteral("AddressBook")))
{
}

FilledStore::~FilledStore()
{
    QDBusConnection::disconnectFromBus(m_connection.name());
}

QString FilledStore::card(const QString& lines)
{
    return QStringLiteral("BEGIN:VCARD\r\nVERSION:3.0\r\n%1\r\nEND:VCARD\r\n").arg(lines);
}

QString FilledStore::numberedCard(int number)
{
    return card(QStringLiteral("UID:c0ffee00-5afe-4b1d-8e11-%2\r\nREV:2026-01-31T12:00:00Z\r\n"
                               "N:Number %1;Person;;;\r\nFN:Person Number %1\r\n"
                               "ORG:Example %1;Unit\r\nTITLE:Gardener\r\n"
                               "TEL;TYPE=CELL:+1 %2\r\nEMAIL;TYPE=HOME:person%1@example.org\r\n"
                               "ADR;TYPE=HOME:;;%1 Orchard Lane;Springfield;;12345;Freedonia\r\n"
                               "BDAY:1980-02-29\r\nURL:https://example.org/people/%1\r\n"
                               "CATEGORIES:friends\r\nNOTE:met in summer")
                    .arg(number)
                    .arg(digits(number)));
}

std::string FilledStore::numberedName(int number)
{
    return "Person Number " + std::to_string(number);
}

std::string FilledStore::phoneNumber(int number)
{
    return digits(number).toStdString();
}

QString FilledStore::localBook(const QString& moreLines)
{
    return QStringLiteral("[Data Source]\nDisplayName=Book\nParent=local-stub\n%1\n\n"
                          "[Address Book]\nBackendName=local\n")
        .arg(moreLines);
}

void FilledStore::addSource(const QString& identifier, const QString& keyFile)
{
    const QDBusMessage message
        = QDBusMessage::createMethodCall(m_sources, root + QStringLiteral("SourceManager"),
            domain + QStringLiteral("SourceManager"), QStringLiteral("CreateSources"));
    const QMap<QString, QString> sources{{identifier, keyFile}};
    QDBusArgument argument;
    argument << sources;
    call(m_connection, message, {QVariant::fromValue(argument)});
}

/// The service of books learns of a new source asynchronously, so wait until it opens the book.
void FilledStore::addBook(const QString& identifier, const QString& keyFile)
{
    addSource(identifier, keyFile);
    const QDeadlineTimer timeout(10'000);
    while (!canOpen(identifier) && !timeout.hasExpired())
        QThread::msleep(10);
}

void FilledStore::addCards(const QString& book, const QStringList& cards)
{
    callBook(book, QStringLiteral("CreateContacts"), {cards, 0U});
}

QStringList FilledStore::cards() const
{
    call(m_connection,
        QDBusMessage::createMethodCall(m_sources, root + QStringLiteral("SourceManager"),
            QStringLiteral("org.freedesktop.DBus.ObjectManager"),
            QStringLiteral("GetManagedObjects")));
    const QString all = QStringLiteral("(contains \"x-evolution-any-field\" \"\")");
    return callBook(personalBook(), QStringLiteral("GetContactList"), {all})[0].toStringList();
}

QVariantList FilledStore::callBook(
    const QString& book, const QString& name, const QVariantList& arguments) const
{
    const QVariantList place = open(book);
    const auto method = [&](const QString& methodName) {
        return QDBusMessage::createMethodCall(place[1].toString(), place[0].toString(),
            domain + QStringLiteral("AddressBook"), methodName);
    };
    call(m_connection, method(QStringLiteral("Open")));
    return call(m_connection, method(name), arguments);
}

bool FilledStore::canOpen(const QString& book) const
{
    try {
        open(book);
    } catch (const std::runtime_error&) {
        return false;
    }
    return true;
}

QVariantList FilledStore::open(const QString& book) const
{
    const QString factory = QStringLiteral("AddressBookFactory");
    return call(m_connection,
        QDBusMessage::createMethodCall(
            m_books, root + factory, domain + factory, QStringLiteral("OpenAddressBook")),
        {book});
}

void FilledStore::addNumberedCards(int count)
{
    QStringList cards;
    for (int number = 0; number < count; ++number)
        cards.append(numberedCard(number));
    addCards(personalBook(), cards);
}

pid_t FilledStore::sourcesProcess() const
{
    return processOf(m_sources);
}

pid_t FilledStore::booksProcess() const
{
    return processOf(m_books);
}

pid_t FilledStore::processOf(const QString& service) const
{
    return static_cast<pid_t>(m_connection.interface()->servicePid(service).value());
}

} // namespace korvane
