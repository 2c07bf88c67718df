#pragma once

#include <QDBusConnection>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <sys/types.h>

namespace korvane {

/// What a test puts into the Evolution Data Server of the session, as a client of its own. All of
/// it throws std::runtime_error where the store refuses.
class FilledStore {
public:
    FilledStore();
    ~FilledStore();
    FilledStore(const FilledStore&) = delete;
    FilledStore& operator=(const FilledStore&) = delete;

    /// The book that every store has from the beginning.
    static QString personalBook() { return QStringLiteral("system-address-book"); }

    /// A card of version 3.0 around these lines.
    static QString card(const QString& lines);

    /// A numbered contact, and its name and number.
    static QString numberedCard(int number);
    static std::string numberedName(int number);
    static std::string phoneNumber(int number);

    /// The key file of a book on this machine, with more lines in its first group.
    static QString localBook(const QString& moreLines);

    /// Adds a data source, such as an account, as its key file describes it; or a book, which can
    /// be opened then.
    void addSource(const QString& identifier, const QString& keyFile);
    void addBook(const QString& identifier, const QString& keyFile = localBook({}));

    void addCards(const QString& book, const QStringList& cards);
    void addNumberedCards(int count);

    /// The cards of the personal book, by the calls that it takes to find and read it.
    QStringList cards() const;

    /// The processes of the service that knows the sources, and of the one that opens books.
    pid_t sourcesProcess() const;
    pid_t booksProcess() const;

    const QDBusConnection& connection() const { return m_connection; }

private:
    bool canOpen(const QString& book) const;
    QVariantList callBook(
        const QString& book, const QString& name, const QVariantList& arguments) const;
    QVariantList open(const QString& book) const;
    pid_t processOf(const QString& service) const;

    QDBusConnection m_connection;
    QString m_sources;
    QString m_books;
};

} // namespace korvane
