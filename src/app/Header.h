#pragma once

#include "app/Pieces.h"
#include "state/AppState.h"

#include <QWidget>

namespace korvane {

/// The program's drawing and name, and a line that says what to do next. Main thread only.
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
