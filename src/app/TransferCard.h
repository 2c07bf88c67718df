#pragma once

#include "app/Controls.h"
#include "app/Pieces.h"
#include "state/AppState.h"

namespace korvane {

/// Shows the QR code that a phone scans to fetch one chat. Main thread only.
class TransferCard : public Card {
    Q_OBJECT

public:
    explicit TransferCard(AppState& state, QWidget* parent = nullptr);

    /// Gives keyboard focus to the button that ends the transfer.
    void takeFocus();

private:
    QWidget* code();
    void updateTitle();

    AppState& m_state;
    OneLine* m_title;
    Word* m_done;
};

} // namespace korvane
