// Baseline for the window program: an empty window of the same size. With --field it has a text
// field with the keyboard focus, as the real window has.

#include <QApplication>
#include <QLineEdit>

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    QWidget window;
    window.setFixedSize(400, 600);
    if (QApplication::arguments().contains(QLatin1String("--field")))
        new QLineEdit(&window);
    window.show();
    window.activateWindow();
    return QApplication::exec();
}
