#pragma once

#include <QDBusConnection>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <sys/types.h>

namespace korvane {

/// A D-Bus client with which a test fills the session's Evolution Data Server. Its calls to the
/// store throw std::runtime_error if the store refuses.
class FilledStore {
public:
    FilledStore();
    ~FilledStore();
    FilledStore(const FilledStore&) = delete;
    FilledStore& operator=(const FilledStore&) = delete;

    /// The identifier of the book that every store has by default.
    static QString personalBook() { return QStringLiteral("system-address-book"); }

    /// A card of version 3.0 with these lines.
    static QString card(const QString& lines);

    /// The card of the contact with this number, its name, and its phone number.
    static QString numberedCard(int number);
    static std::string numberedName(int number);
    static std::string phoneNumber(int number);

    /// The key file of a local book, with more lines in its first group.
    static QString localBook(const QString& moreLines);

    /// Adds the data source, such as an account, that the key file describes. addBook() also waits
    /// up to 10 seconds until the book can be opened.
    void addSource(const QString& identifier, const QString& keyFile);
    void addBook(const QString& identifier, const QString& keyFile = localBook({}));

    void addCards(const QString& book, const QStringList& cards);
    void addNumberedCards(int count);

    /// The cards of the personal book, read with the D-Bus calls that a client needs for that.
    QStringList cards() const;

    /// The process ids of the service of sources and of the service of books.
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
