#include "Home.h"
#include "Page.h"

#include "messages/Sqlite.h"

using namespace korvane;

namespace {

QString page()
{
    return textOfPage(QStringLiteral(PAGE));
}

/// A user on Linux with an encrypted backup of a phone, and no other messages or contacts.
class PhoneHome : public Home {
public:
    PhoneHome()
    {
        prepare("mkdir -m 700 iPhone\n"
                "mv Library .contacts iPhone\n" // where the program would find none of them
                "(umask 077; echo 'correct horse' >.iphone-password)\n");
        change("CREATE TABLE later AS SELECT * FROM message WHERE ROWID > 50;"
               "CREATE TABLE later_join AS SELECT * FROM chat_message_join WHERE message_id > 50;"
               "DELETE FROM message WHERE ROWID > 50;"
               "DELETE FROM chat_message_join WHERE message_id > 50");
        makeBackup("2026-11-01T18:30:00Z");
    }

    /// The phone receives messages, and the user makes another backup.
    void makeLaterBackup() const
    {
        change("INSERT INTO message SELECT * FROM later;"
               "INSERT INTO chat_message_join SELECT * FROM later_join");
        prepare("rm -r iPhone/00008110-*\n");
        makeBackup("2026-11-08T19:05:00Z");
    }

private:
    void makeBackup(const char* date) const
    {
        prepare(("cd iPhone\n" PYTHON " -B " MAKE_BACKUP
                 " 00008110-000A4D3E0C63801E --database Library/Messages/chat.db "
                 "--address-book .contacts/people.vcf --password 'correct horse' --date "
            + std::string(date))
                    .c_str());
    }

    void change(const char* sql) const
    {
        Sqlite::openForWriting(path().toStdString() + "/iPhone/Library/Messages/chat.db")
            .execute(sql);
    }
};

} // namespace

/// Runs the commands of docs/iphone.md that need no phone, from the first to the last, as a reader
/// would in one shell.
class IphonePageTest : public QObject {
    Q_OBJECT

private slots:
    void commandsDoWhatThePageShows()
    {
        const PhoneHome home;
        QString variables;
        for (const Section& section : sectionsOf(page())) {
            if (section.title == QStringLiteral("Keep the archive up to date"))
                home.makeLaterBackup();
            for (const Example& example : section.examples) {
                const Outcome outcome = home.run(variables + example.commands);
                QString output = outcome.out;
                output.replace(home.path(), QStringLiteral("/home/ann"));
                if (output != example.output)
                    qInfo().noquote() << example.commands << "prints:\n" << output;
                QCOMPARE(output, example.output);
                QCOMPARE(outcome.code, example.code);
                if (example.commands.startsWith(QStringLiteral("export ")))
                    variables += example.commands.section(u'\n', 0, 0) + u'\n';
            }
        }
    }

    void messagesOnThePageAreThoseOfTheProgram()
    {
        QFile program(QStringLiteral(PROGRAM));
        QVERIFY(program.open(QIODevice::ReadOnly));
        const QByteArray texts = program.readAll();
        static const QRegularExpression row(
            QStringLiteral("^\\| `(.*?)` \\|"), QRegularExpression::MultilineOption);
        int rows = 0;
        for (auto match = row.globalMatch(page()); match.hasNext(); ++rows) {
            const QByteArray message = match.next().captured(1).toUtf8();
            QVERIFY2(texts.contains(message), message.constData());
        }
        QCOMPARE(rows, page().count(QStringLiteral("\n| `")));
        QVERIFY(rows > 0);
    }

    void everyBlockIsRunOrNeedsAPhone()
    {
        qsizetype commands = page().count(QStringLiteral("\n```sh needs a phone\n"));
        qsizetype outputs = 0;
        for (const Section& section : sectionsOf(page())) {
            for (const Example& example : section.examples) {
                commands += 1;
                outputs += example.output.isEmpty() ? 0 : 1;
            }
        }
        QCOMPARE(commands, page().count(QStringLiteral("\n```sh")));
        QCOMPARE(outputs, page().count(QStringLiteral("\n```text")));
        QCOMPARE(2 * (commands + outputs), page().count(QStringLiteral("\n```")));
    }
};

QTEST_GUILESS_MAIN(IphonePageTest)
#include "IphonePageTest.moc"
