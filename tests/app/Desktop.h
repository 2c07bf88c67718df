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

/// A program that ends with this object.
struct Ended {
    void operator()(QProcess* program) const;
};
using Program = std::unique_ptr<QProcess, Ended>;

/// A desktop of a test's own: an X server with a window manager and, where wanted, a tray, and a
/// user with a home of his own in front of it. Everything goes with it.
class Desktop {
public:
    enum class Tray { None, Present };

    /// With a colour like "0x202020", that is the panel's.
    explicit Desktop(Tray tray, const QString& panelColour = {});
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /// What is missing on this machine to have one; "" where nothing is.
    static QString missing();

    std::string home() const { return m_home.path().toStdString(); }

    /// Starts a program in front of this user.
    Program start(const QString& program, const QStringList& arguments = {}) const;

    /// Runs a program to its end and returns what it printed, white space around it left out.
    QString output(const QString& program, const QStringList& arguments) const;

    /// Presses keys, as xdotool names them, or types a text.
    void press(const QString& key) const;
    void type(const QString& text) const;

    /// Clicks the icon in the tray; waits until there is one.
    void clickTrayIcon(int times = 1) const;

    /// Sets an environment variable of the programs started from now on.
    void setVariable(const QString& name, const QString& value)
    {
        m_environment.insert(name, value);
    }

    /// Tells whether it came up: now and then it does not, and will not on this desktop.
    bool startTray(const QString& panelColour = {});

    /// A picture of the screen.
    QImage screen() const;

    /// Kills the X server.
    void loseDisplay();

    /// True while a window of this title is to be seen.
    bool shows(const QString& title) const;

    /// What the QR code on the screen says; "" without one.
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
