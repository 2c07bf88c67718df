#include "app/Desktop.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QtTest/QTest>

namespace korvane {

namespace {

constexpr int timeout = 10'000; // milliseconds

QString lineOf(QProcess& process)
{
    while (!process.canReadLine() && process.waitForReadyRead(timeout)) { }
    return QString::fromLatin1(process.readLine()).trimmed();
}

} // namespace

void Ended::operator()(QProcess* program) const
{
    program->kill();
    program->waitForFinished(timeout);
    delete program;
}

QString Desktop::missing()
{
    for (const char* tool : {"Xvfb", "openbox", "trayer", "xdotool", "import", "zbarimg"}) {
        if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty())
            return QLatin1String(tool) + QStringLiteral(" is not installed");
    }
    return {};
}

Desktop::Desktop(Tray tray, const QString& panelColour)
    : m_environment(QProcessEnvironment::systemEnvironment())
{
    const QString home = m_home.path();
    m_environment.insert(QStringLiteral("HOME"), home);
    m_environment.insert(QStringLiteral("KORVANE_SYNC_HOME"), home + QStringLiteral("/support"));
    m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home);
    m_environment.insert(QStringLiteral("TMPDIR"), home);
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "QT_QPA_PLATFORM",
             "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS"})
        m_environment.remove(QLatin1String(variable));

    bool isComplete = false; // occasionally a tray does not come up
    for (int attempt = 0; attempt < 3 && !isComplete; ++attempt) {
        end();
        startDisplay();
        isComplete = tray == Tray::None || startTray(panelColour);
    }
    QVERIFY(isComplete);
}

void Desktop::startDisplay()
{
    m_parts.push_back(start(QStringLiteral("Xvfb"),
        {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
            QStringLiteral("0"), QStringLiteral("1000x800x24"), QStringLiteral("-nolisten"),
            QStringLiteral("tcp")}));
    m_environment.insert(QStringLiteral("DISPLAY"), QLatin1Char(':') + lineOf(*m_parts.front()));
    m_parts.push_back(start(
        QStringLiteral("openbox"), {QStringLiteral("--startup"), QStringLiteral("echo ready")}));
    // Wait for the window manager: a window mapped while it starts may stay hidden.
    QString line;
    do {
        line = lineOf(*m_parts.back()); // messages of openbox may come first
    } while (!line.isEmpty() && line != QStringLiteral("ready"));
    QCOMPARE(line, QStringLiteral("ready"));
}

bool Desktop::startTray(const QString& panelColour)
{
    QStringList options{QStringLiteral("--edge"), QStringLiteral("top"), QStringLiteral("--align"),
        QStringLiteral("right"), QStringLiteral("--height"), QStringLiteral("24"),
        QStringLiteral("--widthtype"), QStringLiteral("request")};
    if (!panelColour.isEmpty()) {
        options << QStringLiteral("--transparent") << QStringLiteral("true")
                << QStringLiteral("--alpha") << QStringLiteral("0") << QStringLiteral("--tint")
                << panelColour;
    }
    m_parts.push_back(start(QStringLiteral("trayer"), options));
    return QTest::qWaitFor(
        [this] { return trayGeometry().contains(QStringLiteral("HEIGHT=24")); }, 5000);
}

Desktop::~Desktop()
{
    end();
}

void Desktop::loseDisplay()
{
    m_parts.front()->kill();
    m_parts.front()->waitForFinished(timeout);
}

void Desktop::end()
{
    while (!m_parts.empty()) // in reverse order: the X server last
        m_parts.pop_back();
}

Program Desktop::start(const QString& program, const QStringList& arguments) const
{
    Program process(new QProcess);
    process->setProcessEnvironment(m_environment);
    process->start(program, arguments);
    process->waitForStarted(timeout);
    return process;
}

QString Desktop::output(const QString& program, const QStringList& arguments) const
{
    const auto process = start(program, arguments);
    process->waitForFinished(timeout);
    return QString::fromUtf8(process->readAllStandardOutput()).trimmed();
}

void Desktop::press(const QString& key) const
{
    output(QStringLiteral("xdotool"), {QStringLiteral("key"), key});
}

void Desktop::type(const QString& text) const
{
    output(QStringLiteral("xdotool"), {QStringLiteral("type"), text});
}

QString Desktop::trayGeometry() const
{
    return output(QStringLiteral("xdotool"),
        {QStringLiteral("search"), QStringLiteral("--class"), QStringLiteral("trayer"),
            QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), QStringLiteral("%@")});
}

void Desktop::clickTrayIcon(int times) const
{
    // The tray is as wide as its icons. One icon is a square with the tray's height, 24 pixels.
    QVERIFY(QTest::qWaitFor(
        [this] { return trayGeometry().contains(QStringLiteral("WIDTH=24")); }, timeout));
    output(QStringLiteral("xdotool"),
        {QStringLiteral("mousemove"), QStringLiteral("988"), QStringLiteral("12"),
            QStringLiteral("click"), QStringLiteral("--repeat"), QString::number(times),
            QStringLiteral("--delay"), QStringLiteral("80"), QStringLiteral("1")});
}

bool Desktop::shows(const QString& title) const
{
    return !output(QStringLiteral("xdotool"),
        {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
            QLatin1Char('^') + title + QLatin1Char('$')})
                .isEmpty();
}

bool Desktop::isActive(const QString& title) const
{
    return output(QStringLiteral("xdotool"),
               {QStringLiteral("getwindowfocus"), QStringLiteral("getwindowname")})
        == title;
}

QImage Desktop::screen() const
{
    const QString picture = m_home.path() + QStringLiteral("/screen.png");
    output(QStringLiteral("import"), {QStringLiteral("-window"), QStringLiteral("root"), picture});
    return QImage(picture);
}

std::string Desktop::codeOnScreen() const
{
    const QString picture = m_home.path() + QStringLiteral("/screen.png");
    output(QStringLiteral("import"), {QStringLiteral("-window"), QStringLiteral("root"), picture});
    return output(
        QStringLiteral("zbarimg"), {QStringLiteral("--raw"), QStringLiteral("-q"), picture})
        .toStdString();
}

} // namespace korvane
