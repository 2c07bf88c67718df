#pragma once

#include "app/Controls.h"

#include <QWidget>

namespace korvane {

class AppState;
class ChatPane;
class Middle;
class TransferCard;

/// The content of the window: header, footer and, between them, the access card, the transfer card
/// or the chat pane, depending on AppState. Main thread only.
class ContentView : public QWidget {
    Q_OBJECT

public:
    explicit ContentView(AppState& state, QWidget* parent = nullptr);

    /// Gives keyboard focus to the search field or to the transfer card's button, if visible, or
    /// else to the window itself.
    void takeFocus();

signals:
    void quitRequested();

    /// The user pressed Escape.
    void closeRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void updateMiddle();
    void fitToScreen();

    const AppState& m_state;
    Middle* m_middle;
    QWidget* m_accessCard;
    TransferCard* m_transferCard;
    ChatPane* m_chatPane;
    FocusVisibility m_focus;
};

} // namespace korvane
