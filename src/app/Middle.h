#pragma once

#include <QScrollArea>
#include <QVBoxLayout>

namespace korvane {

/// The area between header and footer, which shows one of several pieces at a time. A piece that
/// needs more height than there is, as on a low screen, scrolls. Main thread only.
class Middle : public QScrollArea {
    Q_OBJECT

public:
    explicit Middle(QWidget* parent = nullptr);

    /// Adds a piece, hides it, and takes ownership of it. It must have a layout. With a stretch
    /// above 0 it fills the available height.
    void add(QWidget* piece, int stretch = 0);

    /// Shows a piece, scrolled to its top, and hides the others.
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
