#pragma once

#include <QAbstractButton>
#include <QVariantAnimation>

namespace korvane {

/// A labelled on/off switch, whose knob slides when it is toggled. Main thread only.
class CoralSwitch : public QAbstractButton {
    Q_OBJECT

public:
    explicit CoralSwitch(const QString& text, QWidget* parent = nullptr);

    /// Sets the state without the animation. For the initial state.
    void setCheckedAtOnce(bool on);

    QSize sizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void slide(bool on);

    QVariantAnimation m_slide;
    double m_position = 0; ///< the knob's: 0 = off, 1 = on
};

} // namespace korvane
