#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>

namespace korvane {

/// Sees to it that one program at a time works on a support folder: a second one asks the first to
/// show itself, and leaves. Only the user's own processes can ask. Lives on the main thread.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    /// For the support folder of this process.
    SingleInstance();

    /// True where another program was there before and has been asked to show itself.
    bool askedFirst() const { return m_askedFirst; }

signals:
    /// Another program was started and has left.
    void showRequested();

private:
    QLocalServer m_server;
    bool m_askedFirst = false;
};

} // namespace korvane
