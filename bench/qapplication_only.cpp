// The cost of every program with Qt's windows before it does anything: the floor for the start of Torvelane.

#include <QApplication>

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    return 0;
}
