#include "cli/ExportCommand.h"

#include "cli/Interruption.h"
#include "cli/ProgressBar.h"
#include "export/Exporter.h"
#include "export/Json.h"
#include "storage/SupportLock.h"

#include <numeric>

namespace korvane {

namespace {

std::int64_t messageCount(const std::vector<ChatInfo>& chats)
{
    return std::accumulate(chats.begin(), chats.end(), std::int64_t{0},
        [](std::int64_t sum, const ChatInfo& chat) { return sum + chat.messageCount; });
}

ChatSelection chosenChats(const ExportOptions& options)
{
    std::vector<ChatInfo> all = readChats(options.sources);
    return options.all ? ChatSelection{std::move(all), {}}
                       : selectChats(std::move(all), options.chats);
}

std::string asJson(const SyncResult& result)
{
    const auto quoted = [](const std::string& error) { return Json::quoted(error); };
    return Json::Object()
        .number("added", result.added)
        .number("chatsTouched", result.chatsTouched)
        .value("errors", Json::array(result.errors, quoted))
        .finished();
}

std::string counted(std::int64_t count, const std::string& thing)
{
    return std::to_string(count) + ' ' + thing + (count == 1 ? "" : "s");
}

std::string asText(const SyncResult& result, const std::string& folder)
{
    if (result.added == 0)
        return "Nothing new.";
    return "Added " + counted(result.added, "message") + " to "
        + counted(result.chatsTouched, "chat") + " in " + folder;
}

/// One run after the other, as the options ask.
class Export {
public:
    Export(const ExportOptions& options, const Console& console)
        : m_options(options)
        , m_console(console)
    {
    }

    int runOnce()
    {
        const int code = run();
        return m_interruption.requested() ? ExitCode::interrupted : code;
    }

    /// An interruption is the usual end of this. After the first run, one that cannot begin
    /// is reported and tried again later.
    int runEvery(double seconds)
    {
        int code = run();
        while (!m_interruption.requested()) {
            m_interruption.sleep(std::chrono::duration<double>(seconds));
            if (!m_interruption.requested())
                code = runOrComplain();
        }
        return code;
    }

private:
    int run()
    {
        const SyncResult result = sync();
        report(result);
        return result.errors.empty() ? ExitCode::success : ExitCode::failure;
    }

    int runOrComplain()
    {
        try {
            return run();
        } catch (const DBError& error) {
            m_console.complain(error.message);
        } catch (const std::runtime_error& error) {
            m_console.complain(error.what());
        }
        return ExitCode::failure;
    }

    SyncResult sync()
    {
        const SupportLock lock;
        const ChatSelection selection = chosenChats(m_options);
        const ContactNames names = readNames(m_options.sources);
        SyncResult result = syncWithProgress(selection.chats, names);
        for (const std::string& guid : selection.unknown)
            result.errors.push_back("There is no chat with the guid " + guid + ".");
        return result;
    }

    SyncResult syncWithProgress(const std::vector<ChatInfo>& chats, const ContactNames& names)
    {
        ProgressBar bar(m_console.err, m_console.errIsTerminal, messageCount(chats));
        std::int64_t done = 0;
        return Exporter::sync(
            chats, names, m_options.folder, m_options.sources.database, [&](const ChatInfo& chat) {
                bar.show(done, Exporter::title(chat, names));
                done += chat.messageCount;
                return !m_interruption.requested();
            });
    }

    void report(const SyncResult& result) const
    {
        m_console.out << (m_options.json ? asJson(result) : asText(result, m_options.folder))
                      << std::endl; // seen at once, though the next run is minutes away
        for (const std::string& error : result.errors)
            m_console.complain(error);
    }

    const ExportOptions& m_options;
    const Console& m_console;
    const Interruption m_interruption;
};

} // namespace

int runExport(const ExportOptions& options, const Console& console)
{
    Export command(options, console);
    return options.everySeconds ? command.runEvery(*options.everySeconds) : command.runOnce();
}

} // namespace korvane
