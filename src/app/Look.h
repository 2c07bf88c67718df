#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QPixmap>
#include <QString>

/// The window's palette, fonts and images, which are defined here only. Main thread only. Sizes are
/// in points, which are Qt's device-independent pixels.
namespace korvane::Look {

inline constexpr QColor canvas{0, 0, 0}; ///< window background
inline constexpr QColor card{17, 13, 15}; ///< card backgrounds
inline constexpr QColor raised{30, 23, 27}; ///< raised surfaces
inline constexpr QColor cream{244, 237, 226}; ///< text
inline constexpr QColor mute{168, 149, 155}; ///< secondary text
inline constexpr QColor coral{241, 115, 94}; ///< accent, tint, selection
inline constexpr QColor paper{255, 255, 255}; ///< background of a QR code
inline constexpr QColor hairline{244, 237, 226, 31}; ///< thin strokes: cream at 12 % opacity

/// `colour` with an opacity from 0 to 1.
QColor faded(QColor colour, double opacity);

/// The application's font, which is the system's by default.
QFont font(double points, QFont::Weight weight = QFont::Normal);

/// The same in a rounded typeface, if one is installed. For Latin text: missing glyphs are not
/// taken from other fonts.
QFont roundedFont(double points, QFont::Weight weight);

/// The drawings in the program's resources.
enum class Drawing { Guide, MenuBarGuide, MagnifyingGlass, Folder, TwoPersons, SpeechBubble };

/// A drawing rendered `height` points high, in its own aspect ratio, at a resolution of
/// `pixelsPerPoint`. Null if its file is missing.
QPixmap image(Drawing drawing, double height, double pixelsPerPoint);

/// The same in one colour, with the drawing's alpha. For outline drawings. Cached.
QPixmap symbol(Drawing drawing, double height, double pixelsPerPoint, const QColor& colour);

/// The icon for the menu bar: the guide's outline, or a speech bubble if that is missing. It is a
/// mask (QIcon::isMask()), which macOS draws in the menu bar's own colour.
QIcon menuBarIcon();

/// The icon for a tray that does not recolour icons, `pixels` high and wide. Its colours are
/// visible on light and dark panels.
QPixmap trayPicture(double pixels);

} // namespace korvane::Look
