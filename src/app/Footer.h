#pragma once

#include "app/CoralSwitch.h"
#include "app/Pieces.h"
#include "state/AppState.h"

#include <QHBoxLayout>
#include <QWidget>

namespace korvane {

/// Where the export goes, whether it is kept fresh, and how it is going. Lives on the main thread.
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
