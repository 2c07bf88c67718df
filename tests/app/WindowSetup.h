#pragma once

#include "app/ContentView.h"
#include "support/TestDatabase.h"

#include <QImage>
#include <QObject>
#include <QRect>

#include <memory>
#include <string>
#include <vector>

namespace korvane {

/// A test of the window: on no screen, in folders of its own, with the settings of nobody.
class WindowTest : public QObject {
    Q_OBJECT

public:
    /// Called before there is an application object, which reads some of it.
    static void initMain();

protected:
    /// Makes the offscreen display one of this size, by a file of settings that this writes. Does
    /// nothing on any other display.
    static void useScreen(const QString& file, int width, int height);
};

/// The application over a real database, with what the window would reach the world through.
class WindowSetup {
public:
    WindowSetup();

    TestDatabase db;
    std::vector<std::filesystem::path> startsOfPicks; ///< where each choice of a folder began
    std::optional<std::filesystem::path> picked; ///< what the next one ends with
    std::vector<QUrl> openedUrls;

    /// Adds chats "Chat 1", "Chat 2"… with one message each, so that the last one is the newest.
    void addChats(int count);

    /// Makes the state and waits until it has read the chats.
    AppState& start();

    AppState& state() { return *m_state; }

    /// What start() makes the state of.
    AppEnvironment environment();

    static std::string guid(int chat) { return "guid-" + std::to_string(chat); }

private:
    int m_chats = 0;
    std::unique_ptr<AppState> m_state;
};

/// A preview of as many chats, "Chat 1" first; none is selected.
AppState::Preview previewOf(int count);

/// Shows the window as the user's active one.
bool showActive(ContentView& window);

/// What the widget looks like on a screen with as many pixels to the point.
QImage pictureOf(QWidget& widget, double pixelsPerPoint = 1);

/// How many pixels of the area, in pixels, have exactly this colour.
int countOf(const QImage& image, const QColor& colour, const QRect& area);
int countOf(const QImage& image, const QColor& colour);

/// The widget's place in the window, in points.
QRect placeIn(const QWidget& window, const QWidget& widget);

/// The child of that name; the test ends where there is none.
template <typename T = QWidget>
T& child(const QWidget& window, const char* name)
{
    T* found = window.findChild<T*>(QLatin1String(name));
    if (!found)
        qFatal("no child \"%s\"", name);
    return *found;
}

} // namespace korvane
