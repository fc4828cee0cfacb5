// The floor for the window of the Windows build: a label in a window of that size. window_under_wine.py compares them.

#include <QApplication>
#include <QLabel>
#include <QMainWindow>

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Torvelane bare window"));
    window.setCentralWidget(new QLabel(QStringLiteral("Torvelane")));
    window.resize(1080, 700);
    window.show();
    return QApplication::exec();
}
