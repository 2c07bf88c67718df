#pragma once

#include <QScrollArea>
#include <QVBoxLayout>

namespace korvane {

/// What stands between header and footer: one of several pieces at a time. The piece scrolls where
/// it needs more height than there is, which is so on a low screen. Lives on the main thread.
class Middle : public QScrollArea {
    Q_OBJECT

public:
    explicit Middle(QWidget* parent = nullptr);

    /// Adds a piece, which has a layout. One with a stretch takes all the height there is.
    void add(QWidget* piece, int stretch = 0);

    /// Shows a piece, from its top, and hides the others.
    void showOnly(QWidget* piece);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void arrange();
    int heightNeeded() const;

    QVBoxLayout* m_pieces;
    QWidget* m_shown = nullptr;
};

} // namespace korvane
