#include "WindowSetup.h"

#include "app/ChatListModel.h"

#include <QProcess>
#include <QtTest/QTest>

#include <iostream>

using namespace korvane;

/// The line below a title in the list. A process reads its locale and time zone only once, so for
/// each of them this program starts itself and prints one subtitle.
class ChatSubtitleTest : public WindowTest {
    Q_OBJECT

private slots:
    void numberAndDateAreWrittenAsTheLocaleDoes_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<qint64>("messages");
        QTest::addColumn<QString>("wanted");
        QTest::newRow("American") << QStringLiteral("en_US.UTF-8") << qint64{12480}
                                  << QStringLiteral("12,480 messages, last Jan 1, 2026");
        QTest::newRow("British") << QStringLiteral("en_GB.UTF-8") << qint64{12480}
                                 << QStringLiteral("12,480 messages, last 1 Jan 2026");
        QTest::newRow("German") << QStringLiteral("de_DE.UTF-8") << qint64{12480}
                                << QStringLiteral("12.480 messages, last 1. Jan. 2026");
        QTest::newRow("French") << QStringLiteral("fr_FR.UTF-8") << qint64{12480}
                                << QStringLiteral("12\u202F480 messages, last 1 janv. 2026");
        QTest::newRow("Japanese") << QStringLiteral("ja_JP.UTF-8") << qint64{12480}
                                  << QStringLiteral("12,480 messages, last 2026年1月1日");
        QTest::newRow("none") << QStringLiteral("C") << qint64{12480}
                              << QStringLiteral("12,480 messages, last 1 Jan 2026");
        QTest::newRow("none given")
            << QString() << qint64{12480} << QStringLiteral("12,480 messages, last 1 Jan 2026");
        QTest::newRow("no messages") << QStringLiteral("en_US.UTF-8") << qint64{0}
                                     << QStringLiteral("0 messages, last Jan 1, 2026");
        QTest::newRow("one message is plural, too") << QStringLiteral(
            "en_US.UTF-8") << qint64{1} << QStringLiteral("1 messages, last Jan 1, 2026");
        QTest::newRow("below a thousand") << QStringLiteral("en_US.UTF-8") << qint64{999}
                                          << QStringLiteral("999 messages, last Jan 1, 2026");
        QTest::newRow("a million") << QStringLiteral("en_US.UTF-8") << qint64{1'234'567}
                                   << QStringLiteral("1,234,567 messages, last Jan 1, 2026");
    }

    void numberAndDateAreWrittenAsTheLocaleDoes()
    {
        QFETCH(QString, locale);
        QFETCH(qint64, messages);
        QFETCH(QString, wanted);
        constexpr double noon = newYear2026 + 12 * 3600;
        QCOMPARE(subtitleIn({{QStringLiteral("LC_ALL"), locale},
                                {QStringLiteral("TZ"), QStringLiteral("UTC")}},
                     messages, noon),
            wanted);
    }

    void dateGoesByTheVariableForDatesAndNumberByTheOneForNumbers()
    {
        const QString subtitle
            = subtitleIn({{QStringLiteral("LANG"), QStringLiteral("en_US.UTF-8")},
                             {QStringLiteral("LC_TIME"), QStringLiteral("de_DE.UTF-8")},
                             {QStringLiteral("TZ"), QStringLiteral("UTC")}},
                12480, newYear2026);
        QCOMPARE(subtitle, QStringLiteral("12,480 messages, last 1. Jan. 2026"));
    }

    void dateIsThatOfTheSystemsTimeZone_data()
    {
        QTest::addColumn<QString>("zone");
        QTest::addColumn<QString>("date");
        QTest::newRow("Tokyo") << QStringLiteral("Asia/Tokyo") << QStringLiteral("Jan 1, 2026");
        QTest::newRow("UTC") << QStringLiteral("UTC") << QStringLiteral("Jan 1, 2026");
        QTest::newRow("New York") << QStringLiteral("America/New_York")
                                  << QStringLiteral("Dec 31, 2025");
    }

    void dateIsThatOfTheSystemsTimeZone()
    {
        QFETCH(QString, zone);
        QFETCH(QString, date);
        const QString subtitle
            = subtitleIn({{QStringLiteral("LC_ALL"), QStringLiteral("en_US.UTF-8")},
                             {QStringLiteral("TZ"), zone}},
                2, newYear2026);
        QCOMPARE(subtitle, QStringLiteral("2 messages, last ") + date);
    }

    void chatWithoutADateHasNone()
    {
        QCOMPARE(chatSubtitle({.messageCount = 0}), QStringLiteral("0 messages"));
        QCOMPARE(chatSubtitle({.messageCount = 7}), QStringLiteral("7 messages"));
    }

private:
    static constexpr double newYear2026 = 788'918'400; // 2026-01-01 UTC, seconds since 2001

    using Variables = std::vector<std::pair<QString, QString>>;

    /// A variable whose value is "" is not set.
    static QString subtitleIn(const Variables& variables, qint64 messages, double date)
    {
        QProcessEnvironment environment;
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        for (const auto& [name, value] : variables) {
            if (!value.isEmpty())
                environment.insert(name, value);
        }
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(),
            {QStringLiteral("--subtitle"), QString::number(messages),
                QString::number(date, 'f', 0)});
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
