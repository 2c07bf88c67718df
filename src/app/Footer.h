#pragma once

#include "app/Controls.h"
#include "app/Pieces.h"
#include "state/AppState.h"

#include <QHBoxLayout>
#include <QWidget>

namespace korvane {

/// The export folder, the switch for automatic exports, and the status line, with the buttons that
/// belong to them. Main thread only.
class Footer : public QWidget {
    Q_OBJECT

public:
    explicit Footer(AppState& state, QWidget* parent = nullptr);

signals:
    void quitRequested();

private:
    QLayout* folderRow();
    QLayout* statusRow();
    void updateFolder();
    void updateStatus();
    void limitStatus();

    AppState& m_state;
    OneLine* m_folder;
    CoralSwitch* m_autoSync;
    Paragraph* m_status;
};

/// `folder` with the home directory shown as "~".
QString abbreviatedPath(const QString& folder, const QString& home);

} // namespace korvane
