#pragma once

#include "app/Pieces.h"
#include "state/AppState.h"

#include <QWidget>

namespace korvane {

/// The guide, the program's name, and what to do next. Lives on the main thread.
class Header : public QWidget {
    Q_OBJECT

public:
    explicit Header(const AppState& state, QWidget* parent = nullptr);

private:
    void updateSubtitle();

    const AppState& m_state;
    Text* m_subtitle;
};

} // namespace korvane
