#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QPixmap>
#include <QString>

/// The palette, the fonts and the images of the window; nothing else defines any. For the main
/// thread. Sizes are points: one pixel of a screen that has one to the point.
namespace korvane::Look {

inline constexpr QColor canvas{0, 0, 0}; ///< window background
inline constexpr QColor card{17, 13, 15}; ///< card backgrounds
inline constexpr QColor raised{30, 23, 27}; ///< raised surfaces
inline constexpr QColor cream{244, 237, 226}; ///< text
inline constexpr QColor mute{168, 149, 155}; ///< secondary text
inline constexpr QColor coral{241, 115, 94}; ///< accent, tint, selection
inline constexpr QColor paper{255, 255, 255}; ///< what a code is drawn on
inline constexpr QColor hairline{244, 237, 226, 31}; ///< thin separators and strokes: cream at 0.12

/// A colour of the palette, at an opacity.
QColor faded(QColor colour, double opacity);

/// The system's font.
QFont font(double points, QFont::Weight weight = QFont::Normal);

/// The same in a rounded design, where the system has one; for plain Latin letters.
QFont roundedFont(double points, QFont::Weight weight);

/// The drawings that come with the program.
enum class Drawing { Guide, MenuBarGuide, MagnifyingGlass, Folder, TwoPersons, SpeechBubble };

/// A drawing `height` points high, as wide as it then is, sharp at `pixelsPerPoint`; null where it
/// is missing.
QPixmap image(Drawing drawing, double height, double pixelsPerPoint);

/// The same in one colour, for those that are mere outlines.
QPixmap symbol(Drawing drawing, double height, double pixelsPerPoint, const QColor& colour);

/// The icon for the menu bar, in the colour that suits it where the system knows how; a speech
/// bubble where the guide's outline is missing.
QIcon menuBarIcon();

/// The icon for a tray that does not recolour pictures, so many pixels high and wide: visible on
/// light and dark panels.
QPixmap trayPicture(double pixels);

} // namespace korvane::Look
