#include "Typing.h"

#include "Child.h"
#include "PaintWatch.h"

#include "app/ContentView.h"
#include "sample/Words.h"
#include "state/AppState.h"

#include <QApplication>
#include <QKeyEvent>
#include <QListView>
#include <QWindow>

#include <chrono>
#include <iterator>
#include <stdexcept>
#include <string>

namespace korvane {

namespace {

/// Two common names and a number that is unique.
std::string titleOf(int chat)
{
    using namespace sample::names;
    const auto one = static_cast<std::size_t>(chat);
    const std::string givenName(given[one % std::size(given)].written);
    const std::string familyName(family[one / std::size(given) % std::size(family)].written);
    return givenName + ' ' + familyName + ' ' + std::to_string(chat);
}

AppState::Preview inventedChats(int count)
{
    AppState::Preview preview;
    for (int chat = 1; chat <= count; ++chat) {
        preview.chats.push_back({.id = chat,
            .guid = "chat-" + std::to_string(chat),
            .isGroup = chat % 3 == 0,
            .lastDate = ReferenceTime(800'000'000.0 - chat * 3600.0),
            .messageCount = chat});
        preview.titles[chat] = titleOf(chat);
    }
    return preview;
}

/// Shows the window with invented chats and sends it key events.
class Typist {
public:
    explicit Typist(int chats) : m_state(inventedChats(chats)), m_window(m_state)
    {
        m_window.show();
        m_window.takeFocus();
        waitForList();
    }

    /// Types the word and deletes it.
    void type(const std::string& word)
    {
        for (const char letter : word)
            press(QChar::toUpper(static_cast<char32_t>(letter)), QString(QLatin1Char(letter)));
        for (std::size_t i = 0; i < word.size(); ++i)
            press(Qt::Key_Backspace, QStringLiteral("\b"));
    }

    const std::vector<double>& seconds() const { return m_seconds; }

private:
    void press(char32_t key, const QString& text)
    {
        QCoreApplication::processEvents(); // finishes work of the previous key
        m_isPainted = false;
        m_seconds.push_back(secondsOf([&] {
            for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
                QKeyEvent event(type, static_cast<int>(key), Qt::NoModifier, text);
                QCoreApplication::sendEvent(m_window.windowHandle(), &event);
            }
            waitForList();
        }));
    }

    void waitForList()
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!m_isPainted) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents); // a blink ends the wait
            if (std::chrono::steady_clock::now() > end)
                throw std::runtime_error("the list was not painted");
        }
    }

    /// The list, or the text that takes its place when no chat matches.
    bool isList(const QWidget& widget) const
    {
        const auto* list = m_window.findChild<QListView*>();
        return list->viewport() == &widget || list->parentWidget() == widget.parentWidget();
    }

    AppState m_state;
    ContentView m_window;
    std::vector<double> m_seconds;
    bool m_isPainted = false;
    PaintWatch m_watch{
        [this](const QWidget& widget) { return isList(widget); }, [this] { m_isPainted = true; }};
};

} // namespace

std::vector<double> secondsOfKeystrokes(int chats)
{
    std::string name = "Typing";
    char* arguments[] = {name.data(), nullptr};
    int count = 1;
    const QApplication application(count, arguments);
    Typist typist(chats);
    for (const char* word : {"lee", "ann", "ros", "17", "9384", "+"}) // each key filters out more
        typist.type(word);
    return typist.seconds();
}

} // namespace korvane
