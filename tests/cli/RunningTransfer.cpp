#include "RunningTransfer.h"

#include <QElapsedTimer>

#include <algorithm>
#include <csignal>
#include <iterator>

namespace korvane {

namespace {

constexpr int timeout = 10'000; ///< milliseconds

} // namespace

Owner::Owner()
{
    database.addChat(1, "G1", "Team", "chat1", 43);
    for (const char* text : {"first words", "second thoughts", "last say"})
        database.addMessage(1, text);
}

std::vector<std::string> Owner::words(const std::vector<std::string>& more) const
{
    std::vector<std::string> words{"transfer", "--chat", "G1", "--host", "127.0.0.1", "--database",
        database.path(), "--folder", terminal.exports()};
    for (std::size_t i = 0; i < more.size(); i += 2) {
        const auto option = std::find(words.begin(), words.end(), more[i]);
        if (option == words.end())
            words.insert(words.end(), {more[i], more[i + 1]});
        else
            *std::next(option) = more[i + 1];
    }
    return words;
}

Outcome Owner::exportChat() const
{
    return terminal.run(
        {"export", "--chat", "G1", "--database", database.path(), "--folder", terminal.exports()});
}

std::filesystem::path Owner::file() const
{
    return terminal.exports() + "/Team (1) Korvane Wrapped.jsonl.txt";
}

void Owner::exportAndResize(std::uintmax_t size) const
{
    exportChat();
    std::filesystem::resize_file(file(), size);
}

TransferLink linkIn(const std::string& printed)
{
    const std::size_t begin = printed.find("korvane://");
    return TransferLink::fromString(
        std::string_view(printed).substr(begin, printed.find('\n', begin) - begin))
        .value();
}

RunningTransfer::RunningTransfer(
    const std::vector<std::string>& words, const std::vector<std::string>& within)
{
    QStringList line;
    for (const std::string& word : within)
        line << QString::fromStdString(word);
    line << QStringLiteral(PROGRAM);
    for (const std::string& word : words)
        line << QString::fromStdString(word);
    const QString program = line.takeFirst();
    m_program.start(program, line);
}

RunningTransfer::~RunningTransfer()
{
    m_program.kill();
    m_program.waitForFinished();
}

bool RunningTransfer::prints(const std::string& text, int times)
{
    QElapsedTimer timer;
    timer.start();
    bool more = true;
    m_printed += m_program.readAllStandardOutput().toStdString(); // read by an event loop already
    while (more && !hasPrinted(text, times)) {
        more = timer.elapsed() < timeout && m_program.waitForReadyRead(timeout);
        m_printed += m_program.readAllStandardOutput().toStdString();
    }
    return hasPrinted(text, times);
}

bool RunningTransfer::hasPrinted(const std::string& text, int times) const
{
    std::size_t from = 0;
    for (int i = 0; i < times; ++i) {
        const std::size_t at = m_printed.find(text, from);
        if (at == m_printed.npos)
            return false;
        from = at + text.size();
    }
    return true;
}

int RunningTransfer::end(int signal)
{
    ::kill(static_cast<pid_t>(id()), signal);
    return exitCode();
}

int RunningTransfer::exitCode()
{
    const bool ended = m_program.waitForFinished(timeout);
    m_printed += m_program.readAllStandardOutput().toStdString();
    return ended && m_program.exitStatus() == QProcess::NormalExit ? m_program.exitCode() : -1;
}

std::string RunningTransfer::complained()
{
    return m_program.readAllStandardError().toStdString();
}

} // namespace korvane
