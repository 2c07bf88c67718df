#include "WindowSetup.h"

#include "app/ChatSubtitle.h"

#include <QProcess>
#include <QtTest/QTest>

#include <iostream>

using namespace korvane;
using namespace Qt::StringLiterals;

/// The line below a title in the list. A process reads its locale and time zone only once, so for
/// each of them this program starts itself and prints one subtitle.
class ChatSubtitleTest : public WindowTest {
    Q_OBJECT

    static constexpr double newYear2026 = 788'918'400; // 2026-01-01 UTC, seconds since 2001

private slots:
    void numberAndDateAreWrittenAsTheLocaleDoes_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<qint64>("messages");
        QTest::addColumn<QString>("wanted");
        QTest::newRow("American") << u"en_US.UTF-8"_s << qint64{12480}
                                  << u"12,480 messages, last Jan 1, 2026"_s;
        QTest::newRow("British") << u"en_GB.UTF-8"_s << qint64{12480}
                                 << u"12,480 messages, last 1 Jan 2026"_s;
        QTest::newRow("German") << u"de_DE.UTF-8"_s << qint64{12480}
                                << u"12.480 messages, last 1. Jan. 2026"_s;
        QTest::newRow("French") << u"fr_FR.UTF-8"_s << qint64{12480}
                                << u"12\u202F480 messages, last 1 janv. 2026"_s;
        QTest::newRow("Japanese") << u"ja_JP.UTF-8"_s << qint64{12480}
                                  << u"12,480 messages, last 2026年1月1日"_s;
        QTest::newRow("none") << u"C"_s << qint64{12480} << u"12,480 messages, last 1 Jan 2026"_s;
        QTest::newRow("none given")
            << QString() << qint64{12480} << u"12,480 messages, last 1 Jan 2026"_s;
        QTest::newRow("no messages")
            << u"en_US.UTF-8"_s << qint64{0} << u"0 messages, last Jan 1, 2026"_s;
        QTest::newRow("one message is plural, too")
            << u"en_US.UTF-8"_s << qint64{1} << u"1 messages, last Jan 1, 2026"_s;
        QTest::newRow("below a thousand")
            << u"en_US.UTF-8"_s << qint64{999} << u"999 messages, last Jan 1, 2026"_s;
        QTest::newRow("a million")
            << u"en_US.UTF-8"_s << qint64{1'234'567} << u"1,234,567 messages, last Jan 1, 2026"_s;
    }

    void numberAndDateAreWrittenAsTheLocaleDoes()
    {
        QFETCH(QString, locale);
        QFETCH(qint64, messages);
        QFETCH(QString, wanted);
        constexpr double noon = newYear2026 + 12 * 3600;
        QCOMPARE(subtitleIn({{u"LC_ALL"_s, locale}, {u"TZ"_s, u"UTC"_s}}, messages, noon), wanted);
    }

    void dateGoesByTheVariableForDatesAndNumberByTheOneForNumbers()
    {
        const QString subtitle = subtitleIn(
            {{u"LANG"_s, u"en_US.UTF-8"_s}, {u"LC_TIME"_s, u"de_DE.UTF-8"_s}, {u"TZ"_s, u"UTC"_s}},
            12480, newYear2026);
        QCOMPARE(subtitle, u"12,480 messages, last 1. Jan. 2026"_s);
    }

    void dateIsThatOfTheSystemsTimeZone_data()
    {
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("date");
        QTest::newRow("Tokyo") << u"Asia/Tokyo"_s << u"Jan 1, 2026"_s;
        QTest::newRow("UTC") << u"UTC"_s << u"Jan 1, 2026"_s;
        QTest::newRow("New York") << u"America/New_York"_s << u"Dec 31, 2025"_s;
    }

    void dateIsThatOfTheSystemsTimeZone()
    {
        QFETCH(QString, zone);
        QFETCH(QString, date);
        const QString subtitle
            = subtitleIn({{u"LC_ALL"_s, u"en_US.UTF-8"_s}, {u"TZ"_s, zone}}, 2, newYear2026);
        QCOMPARE(subtitle, u"2 messages, last "_s + date);
    }

    void chatWithoutADateHasNone()
    {
        QCOMPARE(chatSubtitle({.messageCount = 0}), u"0 messages"_s);
        QCOMPARE(chatSubtitle({.messageCount = 7}), u"7 messages"_s);
    }

private:
    using Variables = std::vector<std::pair<QString, QString>>;

    /// A variable whose value is "" is not set.
    static QString subtitleIn(const Variables& variables, qint64 messages, double date)
    {
        QProcessEnvironment environment;
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        for (const auto& [name, value] : variables) {
            if (!value.isEmpty())
                environment.insert(name, value);
        }
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(),
            {u"--subtitle"_s, QString::number(messages), QString::number(date, 'f', 0)});
        process.waitForFinished();
        return QString::fromUtf8(process.readAllStandardOutput());
    }
};

int main(int argc, char* argv[])
{
    if (argc == 4 && argv[1] == std::string_view("--subtitle")) {
        const QApplication application(argc, argv);
        const ChatInfo chat{
            .lastDate = ReferenceTime(std::stod(argv[3])), .messageCount = std::stoll(argv[2])};
        std::cout << chatSubtitle(chat).toStdString();
        return 0;
    }
    WindowTest::initMain();
    const QApplication application(argc, argv);
    ChatSubtitleTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ChatSubtitleTest.moc"
