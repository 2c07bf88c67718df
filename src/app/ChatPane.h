#pragma once

#include "app/Buttons.h"
#include "app/ChatFilter.h"
#include "app/ChatListModel.h"
#include "app/ChatListView.h"
#include "app/Pieces.h"

#include <QLineEdit>
#include <QStackedLayout>
#include <QWidget>

namespace korvane {

/// The chats to choose from: a search field, the list or the reason why it has no rows, and the
/// button that hands a chat over. Lives on the main thread.
class ChatPane : public QWidget {
    Q_OBJECT

public:
    explicit ChatPane(AppState& state, QWidget* parent = nullptr);

    /// Where typing goes when the window opens.
    void focusSearch();

    /// What the Return key does in the window.
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
    Text* m_nothing; ///< in the list's place where it has no rows
    QStackedLayout* m_place;
    Pill* m_button;
};

} // namespace korvane
