#pragma once

#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <string>
#include <vector>

namespace korvane {

/// Deleter of a process: kills it and waits for its end.
struct Ended {
    void operator()(QProcess* program) const;
};
using Program = std::unique_ptr<QProcess, Ended>;

/// A desktop for one test: an X server with a window manager and, on request, a tray, and a user
/// with an empty home. The destructor ends the programs and deletes the home.
class Desktop {
public:
    enum class Tray { None, Present };

    /// Sets the tray's colour to `panelColour`, like "0x202020", unless it is empty.
    explicit Desktop(Tray tray, const QString& panelColour = {});
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /// Why this machine cannot run one, as a reason to skip a test; "" if it can.
    static QString missing();

    std::string home() const { return m_home.path().toStdString(); }

    /// Starts a program in this user's session.
    Program start(const QString& program, const QStringList& arguments = {}) const;

    /// Runs a program to its end. Returns its standard output without white space at the ends.
    QString output(const QString& program, const QStringList& arguments) const;

    /// Presses a key combination, named as for xdotool ("alt+F4"), or types a text.
    void press(const QString& key) const;
    void type(const QString& text) const;

    /// Waits until the tray has an icon, then clicks it.
    void clickTrayIcon(int times = 1) const;

    /// Sets an environment variable for programs started from now on.
    void setVariable(const QString& name, const QString& value)
    {
        m_environment.insert(name, value);
    }

    /// Returns whether the tray came up. Occasionally it does not; then retry on a new desktop.
    bool startTray(const QString& panelColour = {});

    /// A screenshot.
    QImage screen() const;

    /// Kills the X server, so that programs lose their connection to it.
    void loseDisplay();

    /// Whether a window with this title is visible.
    bool shows(const QString& title) const;

    /// Whether the window that gets the key presses has this title.
    bool isActive(const QString& title) const;

    /// The text of the QR code on the screen; "" if there is none.
    std::string codeOnScreen() const;

private:
    void startDisplay();
    void end();
    QString trayGeometry() const;

    QTemporaryDir m_home;
    QProcessEnvironment m_environment;
    std::vector<Program> m_parts; ///< the X server first
};

} // namespace korvane
