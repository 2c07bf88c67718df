#pragma once

#include "app/Pieces.h"
#include "state/AppState.h"

namespace korvane {

/// Shown while the database cannot be read: says why, and how to grant access. Main thread only.
class AccessCard : public Card {
    Q_OBJECT

public:
    explicit AccessCard(AppState& state, QWidget* parent = nullptr);
};

} // namespace korvane
