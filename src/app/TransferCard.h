#pragma once

#include "app/Pieces.h"
#include "state/AppState.h"

namespace korvane {

/// The code that a phone scans for one chat. Lives on the main thread.
class TransferCard : public Card {
    Q_OBJECT

public:
    explicit TransferCard(AppState& state, QWidget* parent = nullptr);

private:
    QWidget* code();
    void updateTitle();

    AppState& m_state;
    OneLine* m_title;
};

} // namespace korvane
