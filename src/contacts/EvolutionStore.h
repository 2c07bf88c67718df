#pragma once

#include "contacts/SessionBus.h"

#include <QString>
#include <QStringList>

namespace korvane {

/// Evolution Data Server, as it shows itself on the session bus: a service that knows the user's
/// data sources, and one that opens the address books among them. Its methods throw
/// SessionBusError; `cards` may be used by several threads.
///
/// The names of both services end in a number that rises with their interfaces, as in
/// "org.gnome.evolution.dataserver.Sources5". The highest that is running or can be started counts.
class EvolutionStore {
public:
    /// Finds the services. `bus` must outlive this object.
    explicit EvolutionStore(const SessionBus& bus);

    /// The identifiers of the address books that are switched on, in an order that stays.
    QStringList books() const;

    /// The cards of one book, each a text of its own; distribution lists are among them.
    ///
    /// A book is not closed: the store drops what a connection has opened when the connection
    /// goes, and `Close` waits for others who use the book.
    QStringList cards(const QString& book) const;

private:
    const SessionBus& m_bus;
    QString m_sources;
    QString m_factory;
};

} // namespace korvane
