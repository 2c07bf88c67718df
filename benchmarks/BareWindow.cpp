// The least that a program with a window can be: an empty one of the real one's size. With --field
// a text field has the keyboard in it, as the real one's does.

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
