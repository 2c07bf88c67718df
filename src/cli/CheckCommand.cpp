#include "cli/CheckCommand.h"

#include "cli/CheckOutput.h"
#include "cli/Console.h"
#include "contacts/ContactNames.h"
#include "process/Interruption.h"
#include "storage/Paths.h"
#include "storage/SupportLock.h"

#include <algorithm>
#include <optional>

namespace korvane {

namespace {

/// Checks once. Handles signals while it lives (see Interruption).
class Check {
public:
    Check(const CheckOptions& options, const SupportFolder& support, const Console& console)
        : m_options(options)
        , m_support(support)
        , m_console(console)
    {
        if (options.repair || support.exists()) // or the lock would create the folder
            m_lock.emplace(support);
        m_chats = readChats(options.sources);
        m_names = readNames(options.sources);
    }

    int run()
    {
        CheckResult result = check({.all = m_options.all, .chats = m_options.chats});
        if (result.interrupted)
            return complainAboutInterruption();
        m_console.out << (m_options.json ? checkAsJson(result, nullptr) : checkAsText(result));
        report(result.errors);
        return result.isWhole() ? ExitCode::success : ExitCode::failure;
    }

private:
    CheckResult check(const CheckScope& scope) const
    {
        constexpr std::int64_t parts = 1000;
        ProgressBar bar(m_console.err, m_console.errIsTerminal, parts);
        return Checker::check(m_chats, m_names, m_options.folder, m_support,
            m_options.sources.database, scope, [&](const CheckStep& step) {
                bar.show(parts * step.done / std::max<std::int64_t>(step.total, 1), step.title);
                return !m_interruption.requested();
            });
    }

    int complainAboutInterruption() const
    {
        m_console.complain("The check was interrupted.");
        return ExitCode::interrupted;
    }

    void report(const std::vector<std::string>& errors) const
    {
        for (const std::string& error : errors)
            m_console.complain(error);
    }

    const CheckOptions& m_options;
    const SupportFolder& m_support;
    const Console& m_console;
    const Interruption m_interruption;
    std::optional<SupportLock> m_lock;
    std::vector<ChatInfo> m_chats;
    ContactNames m_names;
};

} // namespace

int runCheck(const CheckOptions& options, const SupportFolder& support, const Console& console)
{
    return Check(options, support, console).run();
}

} // namespace korvane
