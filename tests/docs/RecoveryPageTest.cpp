#include "Home.h"
#include "Page.h"

#include "export/Journal.h"
#include "messages/Sqlite.h"
#include "storage/Paths.h"

#include <functional>
#include <map>

using namespace korvane;

namespace {

void changeDatabase(const Home& home, const char* sql)
{
    Sqlite::openForWriting(home.path().toStdString() + "/Library/Messages/chat.db").execute(sql);
}

void exportEverything(const Home& home)
{
    home.prepare("korvane-sync export --all\n");
}

void deleteOldMessages(const Home& home)
{
    changeDatabase(home,
        "DELETE FROM message WHERE ROWID <= 20;"
        "DELETE FROM chat_message_join WHERE message_id <= 20;");
}

void restoreDatabase(const Home& home)
{
    deleteOldMessages(home);
    changeDatabase(home,
        "UPDATE message SET ROWID = ROWID - 20;"
        "UPDATE chat_message_join SET message_id = message_id - 20;"
        "UPDATE message_attachment_join SET message_id = message_id - 20;");
}

/// Sets all messages after row id 40 aside, so that they can arrive later.
void delayNewMessages(const Home& home)
{
    changeDatabase(home,
        "CREATE TABLE later AS SELECT * FROM chat_message_join;"
        "DELETE FROM chat_message_join WHERE message_id > 40;");
}

void receiveMessages(const Home& home, int upTo)
{
    changeDatabase(home,
        ("INSERT OR IGNORE INTO chat_message_join SELECT * FROM later "
         "WHERE message_id <= "
            + std::to_string(upTo))
            .c_str());
}

/// Leaves what an export that was killed leaves: a journal, and a file with half a batch.
void killExport(const Home& home)
{
    const SupportFolder support(
        (home.path() + QStringLiteral("/.local/share/KorvaneSync")).toStdString());
    const std::filesystem::path folder
        = (home.path() + QStringLiteral("/disk/chats")).toStdString();
    const std::string file = "Oscar Moreau (2) Korvane Wrapped.jsonl.txt";
    Journal(folder, support).write({{file, std::filesystem::file_size(folder / file), ""}});
    home.prepare("head -n 5 ~/disk/chats/Oscar*.txt >half; cat half >>~/disk/chats/Oscar*.txt\n");
}

/// What happened before each section, by its title.
const std::map<QString, std::function<void(const Home&)>> stories{
    {QStringLiteral("Is my archive complete?"),
        [](const Home& home) {
            exportEverything(home);
            home.prepare("truncate -s -3000 ~/Documents/Quorvish/Oscar*\n");
        }},
    {QStringLiteral("I have a new Mac, or restored the database"),
        [](const Home& home) {
            exportEverything(home);
            restoreDatabase(home);
        }},
    {QStringLiteral("On the new Mac there is only the export folder"),
        [](const Home& home) {
            exportEverything(home);
            home.prepare("rm -r ~/.local/share/KorvaneSync\n");
            restoreDatabase(home);
        }},
    {QStringLiteral("An export kept messages that Messages no longer has"),
        [](const Home& home) {
            exportEverything(home);
            deleteOldMessages(home);
            home.prepare("sed -i 's/Oscar/Óscar/' ~/.contacts/people.vcf\n");
        }},
    {QStringLiteral("Names are wrong"),
        [](const Home& home) {
            home.prepare("mv ~/.contacts/people.vcf ~/people.vcf; korvane-sync export --all\n");
        }},
    {QStringLiteral("I moved the export folder"), exportEverything},
    {QStringLiteral("I exported to another folder for a while"),
        [](const Home& home) {
            delayNewMessages(home);
            home.prepare("korvane-sync export --all\n"
                         "cp -r ~/Documents/Quorvish ~/other\n");
            receiveMessages(home, 50);
            home.prepare("korvane-sync export --all --folder ~/other\n");
            receiveMessages(home, 60);
        }},
    {QStringLiteral("The disk was full"),
        [](const Home& home) {
            home.prepare("trap '' XFSZ; ulimit -f 16; korvane-sync export --all || true\n");
        }},
    {QStringLiteral("I lost the state"),
        [](const Home& home) {
            exportEverything(home);
            home.prepare("rm ~/.local/share/KorvaneSync/state.json\n");
        }},
    {QStringLiteral("I have two sources: a Mac, and a phone's backup"),
        [](const Home& home) {
            exportEverything(home);
            home.prepare("mkdir ~/phone; korvane-sync sample ~/phone/chat.db --chats 2 "
                         "--messages 40 --seed 2\n");
        }},
    {QStringLiteral("An export was interrupted, and its folder is not there"),
        [](const Home& home) {
            home.prepare("korvane-sync export --all --folder ~/disk/chats\n");
            killExport(home);
            home.prepare("mv ~/disk ~/unplugged\n");
        }},
    {QStringLiteral("What is never exported"), exportEverything},
};

/// What a page shows in place of what is different each time: the home folder and epochs.
QString asOnPage(QString output, const Home& home)
{
    return output.replace(home.path(), QStringLiteral("/home/ann"));
}

QString withoutEpochs(QString text)
{
    static const QRegularExpression epoch(
        QStringLiteral("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"));
    return text.replace(epoch, QStringLiteral("(epoch)"));
}

std::vector<Section> pageSections()
{
    return sectionsOf(textOfPage(QStringLiteral(PAGE)));
}

} // namespace

/// Runs the commands of docs/recovery.md as a reader would, each section in a home of its own.
class RecoveryPageTest : public QObject {
    Q_OBJECT

private slots:
    void commandsDoWhatThePageShows_data()
    {
        QTest::addColumn<int>("index");
        const auto sections = pageSections();
        for (std::size_t i = 0; i < sections.size(); ++i)
            QTest::newRow(qPrintable(sections[i].title)) << static_cast<int>(i);
    }

    void commandsDoWhatThePageShows()
    {
        QFETCH(int, index);
        const Section section = pageSections()[static_cast<std::size_t>(index)];
        const auto story = stories.find(section.title);
        QVERIFY2(story != stories.end(), "This test does not know what happened before.");
        const Home home;
        story->second(home);
        for (const Example& example : section.examples) {
            const Outcome outcome = home.run(example.commands);
            const QString output = asOnPage(outcome.out, home);
            if (withoutEpochs(output) != withoutEpochs(example.output))
                qInfo().noquote() << example.commands << "prints:\n" << output;
            QCOMPARE(withoutEpochs(output), withoutEpochs(example.output));
            QCOMPARE(outcome.code, example.code);
        }
    }

    void everyStoryIsOnThePage()
    {
        QStringList titles;
        for (const Section& section : pageSections())
            titles << section.title;
        for (const auto& [title, story] : stories)
            QVERIFY2(titles.contains(title), qPrintable(title));
    }

    void everyBlockIsRunOrCompared()
    {
        const QString page = textOfPage(QStringLiteral(PAGE));
        qsizetype commands = 0;
        qsizetype outputs = 0;
        for (const Section& section : sectionsOf(page)) {
            for (const Example& example : section.examples) {
                commands += 1;
                outputs += example.output.isEmpty() ? 0 : 1;
            }
        }
        QCOMPARE(commands, page.count(QStringLiteral("\n```sh")));
        QCOMPARE(outputs, page.count(QStringLiteral("\n```text")));
        QCOMPARE(2 * (commands + outputs), page.count(QStringLiteral("\n```")));
    }
};

QTEST_GUILESS_MAIN(RecoveryPageTest)
#include "RecoveryPageTest.moc"
