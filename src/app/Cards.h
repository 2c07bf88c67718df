#pragma once

#include <QColor>
#include <QWidget>

/// The window's cards. Main thread only.
namespace korvane {

class AppState;
class OneLine;
class Word;

/// A panel on a rounded background.
class Card : public QWidget {
    Q_OBJECT

public:
    Card(double radius, const QColor& colour, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const double m_radius;
    const QColor m_colour;
};

/// Shown while the database cannot be read: says why, and how to grant access.
class AccessCard : public Card {
    Q_OBJECT

public:
    explicit AccessCard(AppState& state, QWidget* parent = nullptr);
};

/// Shows the QR code that a phone scans to fetch one chat.
class TransferCard : public Card {
    Q_OBJECT

public:
    explicit TransferCard(AppState& state, QWidget* parent = nullptr);

    /// Gives keyboard focus to the button that ends the transfer.
    void takeFocus();

private:
    QWidget* code();
    void updateTitle();

    AppState& m_state;
    OneLine* m_title;
    Word* m_done;
};

} // namespace korvane
