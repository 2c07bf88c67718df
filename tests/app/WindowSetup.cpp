#include "WindowSetup.h"

#include "state/Settings.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QtTest/QTest>

namespace korvane {

void WindowTest::initMain()
{
    static const QTemporaryDir home;
    const auto folder
        = [](const char* name) { return (home.path() + QLatin1String(name)).toUtf8(); };
    qputenv("HOME", folder("/home"));
    qputenv("XDG_CONFIG_HOME", folder("/config"));
    qputenv("XDG_DATA_HOME", folder("/data"));
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    useScreen(home.path() + QLatin1String("/screens.json"), 2000, 2000); // enough room at any scale
}

void WindowTest::useScreen(const QString& file, int width, int height)
{
    if (!qgetenv("QT_QPA_PLATFORM").startsWith("offscreen"))
        return;
    const QJsonObject screen{{QStringLiteral("name"), QStringLiteral("screen")},
        {QStringLiteral("width"), width}, {QStringLiteral("height"), height}};
    const QJsonObject settings{{QStringLiteral("screens"), QJsonArray{screen}}};
    QFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(QJsonDocument(settings).toJson()) < 0)
        qFatal("cannot write %s", qPrintable(file));
    qputenv("QT_QPA_PLATFORM", (QLatin1String("offscreen:configfile=") + file).toUtf8());
}

WindowSetup::WindowSetup()
{
    openSettingsStore()->clear();
}

void WindowSetup::addChats(int count)
{
    db.sql().execute("BEGIN");
    for (int i = 0; i < count; ++i) {
        ++m_chats;
        db.addChat(m_chats, guid(m_chats), "Chat " + std::to_string(m_chats));
        db.addMessage(m_chats, "hello");
    }
    db.sql().execute("COMMIT");
}

AppState& WindowSetup::start()
{
    m_state = std::make_unique<AppState>(environment());
    m_state->setOutputFolder(db.folder() + "/export");
    if (!QTest::qWaitFor([this] { return m_state->status() != "Loading chats…"; }))
        qFatal("the chats were not read");
    return *m_state;
}

AppEnvironment WindowSetup::environment()
{
    AppEnvironment environment{.support = SupportFolder(db.folder() + "/support")};
    environment.database = db.path();
    environment.loadNames = [](const AccessPrompt&) { return LoadedNames(); };
    environment.localAddress = [] { return "127.0.0.1"; };
    environment.server.address = "127.0.0.1";
    environment.pickFolder = [this](const std::filesystem::path& start) {
        startsOfPicks.push_back(start);
        return picked;
    };
    environment.openUrl = [this](const QUrl& url) {
        openedUrls.push_back(url);
        return true;
    };
    return environment;
}

AppState::Preview previewOf(int count)
{
    AppState::Preview preview;
    for (int id = 1; id <= count; ++id) {
        preview.chats.push_back({.id = id, .guid = WindowSetup::guid(id)});
        preview.titles[id] = "Chat " + std::to_string(id);
    }
    return preview;
}

bool showActive(ContentView& window)
{
    window.show();
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window))
        return false;
    window.takeFocus();
    return true;
}

QImage pictureOf(QWidget& widget, double pixelsPerPoint)
{
    QImage image((QSizeF(widget.size()) * pixelsPerPoint).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(pixelsPerPoint);
    image.fill(Qt::black);
    widget.render(&image, {}, {}, QWidget::DrawChildren);
    return image;
}

int countOf(const QImage& image, const QColor& colour, const QRect& area)
{
    const QRect within = area & image.rect();
    int count = 0;
    for (int y = within.top(); y <= within.bottom(); ++y) {
        for (int x = within.left(); x <= within.right(); ++x)
            count += image.pixel(x, y) == colour.rgb();
    }
    return count;
}

int countOf(const QImage& image, const QColor& colour)
{
    return countOf(image, colour, image.rect());
}

QRect placeIn(const QWidget& window, const QWidget& widget)
{
    return {widget.mapTo(&window, QPoint()), widget.size()};
}

} // namespace korvane
