#include "state/Recorder.h"

#include <algorithm>

namespace korvane {

namespace {

std::string word(bool value)
{
    return value ? "true" : "false";
}

constexpr std::string_view statusPrefix = "status: ";

} // namespace

Recorder::Recorder(const AppState& state)
{
    recordChats(state);
    recordTransfer(state);
    QObject::connect(&state, &AppState::statusChanged, &m_context,
        [this, &state] { add("status", state.status()); });
    QObject::connect(&state, &AppState::needsAccessChanged, &m_context,
        [this, &state] { add("needsAccess", word(state.needsAccess())); });
    QObject::connect(&state, &AppState::isSyncingChanged, &m_context,
        [this, &state] { add("isSyncing", word(state.isSyncing())); });
}

void Recorder::recordChats(const AppState& state)
{
    QObject::connect(&state, &AppState::chatsChanged, &m_context,
        [this, &state] { add("chats", std::to_string(state.chats().size())); });
    QObject::connect(&state, &AppState::selectedChanged, &m_context,
        [this, &state] { add("selected", std::to_string(state.selected().size())); });
    QObject::connect(&state, &AppState::autoSyncChanged, &m_context,
        [this, &state] { add("autoSync", word(state.autoSync())); });
    QObject::connect(&state, &AppState::outputFolderChanged, &m_context,
        [this, &state] { add("outputFolder", state.outputFolder()); });
}

void Recorder::recordTransfer(const AppState& state)
{
    QObject::connect(&state, &AppState::transferQRChanged, &m_context,
        [this, &state] { add("transferQR", state.transferQR() ? "image" : "none"); });
    QObject::connect(&state, &AppState::transferChatTitleChanged, &m_context,
        [this, &state] { add("transferChatTitle", state.transferChatTitle().value_or("none")); });
}

void Recorder::add(const std::string& name, const std::string& value)
{
    m_changes.push_back(name + ": " + value);
}

std::string Recorder::changes() const
{
    return lines(m_changes);
}

std::string Recorder::statuses() const
{
    std::vector<std::string> texts;
    for (const std::string& change : m_changes) {
        if (change.starts_with(statusPrefix))
            texts.push_back(change.substr(statusPrefix.size()));
    }
    return lines(texts);
}

std::ptrdiff_t Recorder::count(const std::string& change) const
{
    return std::count(m_changes.begin(), m_changes.end(), change);
}

std::string lines(const std::vector<std::string>& texts)
{
    std::string all;
    for (const std::string& text : texts)
        all += text + '\n';
    return all;
}

} // namespace korvane
