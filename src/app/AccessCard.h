#pragma once

#include "app/Pieces.h"
#include "state/AppState.h"

namespace korvane {

/// Says why no chats are shown and how to change that. Lives on the main thread.
class AccessCard : public Card {
    Q_OBJECT

public:
    explicit AccessCard(AppState& state, QWidget* parent = nullptr);
};

} // namespace korvane
