#pragma once

#include "app/ChatPane.h"
#include "app/FocusRing.h"
#include "app/Middle.h"
#include "app/TransferCard.h"
#include "state/AppState.h"

#include <QWidget>

namespace korvane {

/// The whole content of the window: what AppState says, and what can be asked of it. Lives on the
/// main thread.
class ContentView : public QWidget {
    Q_OBJECT

public:
    explicit ContentView(AppState& state, QWidget* parent = nullptr);

    /// Puts the keyboard where it is wanted when the window opens.
    void takeFocus();

signals:
    void quitRequested();

    /// The user wants the window out of the way.
    void closeRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void showWhatIsCalledFor();
    void fitToScreen();

    const AppState& m_state;
    Middle* m_middle;
    QWidget* m_accessCard;
    TransferCard* m_transferCard;
    ChatPane* m_chatPane;
    FocusVisibility m_focus;
};

} // namespace korvane
