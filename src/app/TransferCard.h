#pragma once

#include "app/Buttons.h"
#include "app/Pieces.h"
#include "state/AppState.h"

namespace korvane {

/// The code that a phone scans for one chat. Lives on the main thread.
class TransferCard : public Card {
    Q_OBJECT

public:
    explicit TransferCard(AppState& state, QWidget* parent = nullptr);

    /// Puts the keyboard on the button that ends it.
    void takeFocus();

private:
    QWidget* code();
    void updateTitle();

    AppState& m_state;
    OneLine* m_title;
    Word* m_done;
};

} // namespace korvane
