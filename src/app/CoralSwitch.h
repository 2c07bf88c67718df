#pragma once

#include <QAbstractButton>
#include <QVariantAnimation>

namespace korvane {

/// A label with a switch behind it, whose knob slides when it is flipped. Lives on the
/// main thread.
class CoralSwitch : public QAbstractButton {
    Q_OBJECT

public:
    explicit CoralSwitch(const QString& text, QWidget* parent = nullptr);

    /// Sets it at once, without the slide; for the state in which it first appears.
    void setCheckedAtOnce(bool on);

    QSize sizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void slide(bool on);

    QVariantAnimation m_slide;
    double m_position = 0; ///< of the knob: 0 = off, 1 = on
};

} // namespace korvane
