#pragma once

#include "contacts/SessionBus.h"

#include <QString>
#include <QStringList>

namespace korvane {

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

} // namespace korvane
