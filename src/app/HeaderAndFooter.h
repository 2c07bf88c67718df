#pragma once

#include <QWidget>

class QLayout;

namespace korvane {

class AppState;
class CoralSwitch;
class OneLine;
class Paragraph;
class Text;

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
