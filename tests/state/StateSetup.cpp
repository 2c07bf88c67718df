#include "state/StateSetup.h"

#include "export/FileName.h"

#include <QLocale>
#include <QSettings>
#include <QtTest/QTest>

namespace korvane {

namespace fs = std::filesystem;

namespace {

void setVariable(const char* name, const fs::path& folder)
{
    fs::create_directories(folder);
    qputenv(name, QByteArray::fromStdString(folder.native()));
}

constexpr int timeout = 60'000; ///< milliseconds, for a machine that is busy with other tests

QLocale american()
{
    return {QLocale::English, QLocale::UnitedStates};
}

} // namespace

StateSetup::StateSetup()
{
    const fs::path config = files.db.folder() + "/config";
    setVariable("HOME", home());
    setVariable("XDG_DATA_HOME", files.db.folder() + "/data");
    setVariable("XDG_CONFIG_HOME", config);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, // it reads XDG_CONFIG_HOME once
        QString::fromStdString(config.native()));
    QLocale::setDefault(american());

    environment.database = files.db.path();
    environment.loadNames
        = [contacts = contacts](const AccessPrompt& prompt) { return contacts->load(prompt); };
    environment.autoSyncInterval = std::chrono::hours(1);
    environment.timeOfDay = [] { return QTime(9, 41); };
    environment.localAddress = [] { return std::optional<std::string>("127.0.0.1"); };
    environment.server.now = [now = m_now] { return now->load(); };
    environment.server.address = "127.0.0.1";
}

StateSetup::~StateSetup()
{
    contacts->release(); // m_state's destructor waits for loads
}

void StateSetup::addChat(std::int64_t id, const std::string& title, int messages)
{
    files.addChat(id, title);
    files.addMessages(id, messages);
}

void StateSetup::addChatWith(std::int64_t id, const std::string& handle)
{
    files.db.addHandle(id, handle);
    files.db.addChat(id, guid(id), "", handle);
    files.db.addMember(id, id);
    files.addMessages(id, 1);
}

AppState& StateSetup::create()
{
    m_state.reset(); // first: two states must not exist at once
    m_state = std::make_unique<AppState>(environment);
    return *m_state;
}

AppState& StateSetup::open()
{
    create();
    m_state->setOutputFolder(files.folder());
    if (!QTest::qWaitFor([this] { return m_state->status() != "Loading chats…"; }, timeout))
        throw std::runtime_error("The chats were not read.");
    return *m_state;
}

void StateSetup::select(const std::vector<std::int64_t>& chats)
{
    std::set<std::string> guids;
    for (const std::int64_t chat : chats)
        guids.insert(guid(chat));
    m_state->setSelected(guids);
}

fs::path StateSetup::settingsFile() const
{
    return files.db.folder() + "/config/KorvaneSync/KorvaneSync.ini";
}

fs::path StateSetup::exportFile(std::int64_t chat, const std::string& title) const
{
    return m_state->outputFolder() / Exporter::exportFileName(title, chat);
}

std::string StateSetup::timeText(QTime time)
{
    return american().toString(time, QLocale::ShortFormat).toStdString();
}

bool StateSetup::waitForExport()
{
    return QTest::qWaitFor([this] { return !m_state->isSyncing(); }, timeout);
}

bool StateSetup::sync()
{
    const Recorder recorder(*m_state);
    m_state->syncNow();
    return QTest::qWaitFor(
        [&recorder] {
            const std::string changes = recorder.changes();
            // A status before the end of the run comes from another reload.
            const std::size_t end = changes.find("isSyncing: false\n");
            return end != std::string::npos && changes.find("\nstatus: ", end) != std::string::npos
                && (changes.ends_with(" selected\n")
                    || changes.ends_with("Needs Full Disk Access\n"));
        },
        timeout);
}

void StateSetup::settle()
{
    constexpr int milliseconds = 100;
    QTest::qWait(milliseconds);
}

} // namespace korvane
