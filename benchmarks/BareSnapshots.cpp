// Baseline for the window program's --snapshot: paints three pictures as rectangles and texts,
// without a window, at two pixels per point, and saves them. Argument: the folder, which must
// exist.

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

namespace {

constexpr int width = 400;
constexpr double scale = 2;

void paintRow(QPainter& painter, int top)
{
    painter.fillRect(18, top, width - 36, 54, QColor(40, 40, 46));
    painter.drawText(62, top + 22, QStringLiteral("The Weekend People"));
    painter.drawText(62, top + 42, QStringLiteral("12,480 messages, last May 17, 2026"));
}

bool save(const QString& file, int height)
{
    QImage image(QSize(width, height) * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    QPainter painter(&image);
    painter.fillRect(0, 0, width, height, QColor(20, 20, 24));
    painter.setPen(Qt::white);
    for (int top = 18; top + 54 < height; top += 60)
        paintRow(painter, top);
    painter.end();
    return image.save(file, "PNG");
}

} // namespace

int main(int argc, char* argv[])
{
    const QGuiApplication application(argc, argv);
    const QString folder = QGuiApplication::arguments().value(1) + QLatin1Char('/');
    const bool good = save(folder + QLatin1String("list.png"), 600)
        && save(folder + QLatin1String("qr.png"), 660)
        && save(folder + QLatin1String("access.png"), 600);
    return good ? 0 : 1;
}
