#pragma once

#include "app/ChatListModel.h"

#include <QWidget>

class QLineEdit;
class QStackedLayout;

namespace korvane {

class AppState;
class ChatListView;
class Pill;
class Text;

/// The pane for choosing a chat: a search field, the list or a text that says why it is empty, and
/// the button that starts the transfer. Main thread only.
class ChatPane : public QWidget {
    Q_OBJECT

public:
    explicit ChatPane(AppState& state, QWidget* parent = nullptr);

    /// Gives keyboard focus to the search field.
    void focusSearch();

    /// Clicks the transfer button: the window's default action for Return.
    void pressButton();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    QWidget* searchRow();
    void updateButton();
    void updateList();

    AppState& m_state;
    ChatListModel m_model;
    ChatFilter m_filter;
    QLineEdit* m_search;
    ChatListView* m_list;
    Text* m_emptyText; ///< shown instead of the list if it has no rows
    QStackedLayout* m_stack;
    Pill* m_button;
};

} // namespace korvane
