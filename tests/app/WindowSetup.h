#pragma once

#include "app/ContentView.h"
#include "state/AppEnvironment.h"
#include "state/AppState.h"
#include "support/TestDatabase.h"

#include <QImage>
#include <QObject>
#include <QRect>

#include <memory>
#include <string>
#include <vector>

namespace korvane {

/// Base of the window tests: offscreen by default, in temporary folders, without a user's settings.
class WindowTest : public QObject {
    Q_OBJECT

public:
    /// QTEST_MAIN calls it before it makes the QApplication, which reads some of these variables.
    static void initMain();

protected:
    /// Sets the size of the offscreen display, by a configuration file that it writes to `file`.
    /// Does nothing on any other platform plugin.
    static void useScreen(const QString& file, int width, int height);
};

/// An AppState over a real database. Replaces the folder dialog and opening URLs, and records them.
class WindowSetup {
public:
    WindowSetup();

    TestDatabase db;
    std::vector<std::filesystem::path> startsOfPicks; ///< where each folder dialog began
    std::optional<std::filesystem::path> picked; ///< the next dialog's result; absent: cancelled
    std::vector<QUrl> openedUrls;

    /// Adds chats "Chat 1", "Chat 2"… with one message each; the last one is the newest.
    void addChats(int count);

    /// Makes the state and waits until it has read the chats.
    AppState& start();

    AppState& state() { return *m_state; }

    /// The environment that start() gives to the state.
    AppEnvironment environment();

    static std::string guid(int chat) { return "guid-" + std::to_string(chat); }

private:
    int m_chats = 0;
    std::unique_ptr<AppState> m_state;
};

/// A preview of `count` chats, "Chat 1" first; none is selected.
AppState::Preview previewOf(int count);

/// Shows the window, waits until it is active and gives it the focus.
bool showActive(ContentView& window);

/// The widget over black, rendered with this many pixels per point.
QImage pictureOf(QWidget& widget, double pixelsPerPoint = 1);

/// The number of pixels with exactly this colour in the area, which is in pixels, too.
int countOf(const QImage& image, const QColor& colour, const QRect& area);
int countOf(const QImage& image, const QColor& colour);

/// The widget's rectangle in the window's coordinates, in points.
QRect placeIn(const QWidget& window, const QWidget& widget);

/// The child with this object name. Aborts the test program if there is none.
template <typename T = QWidget>
T& child(const QWidget& window, const char* name)
{
    T* found = window.findChild<T*>(QLatin1String(name));
    if (!found)
        qFatal("no child \"%s\"", name);
    return *found;
}

} // namespace korvane
