#include <QApplication>
#include <QWidget>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Kestrel"));
    window.resize(640, 360);
    window.show();
    return QApplication::exec();
}
