#include "Album.h"

#include <QDialog>
#include <QTimer>

namespace torvelane {

void addDialog(Album& album, const QString& name, QWidget* window, const std::function<void()>& open)
{
    QTimer poll;
    bool isOver = false;
    int shownMs = 0;
    constexpr int intervalMs = 50;
    QObject::connect(&poll, &QTimer::timeout, window, [&] {
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        shownMs += intervalMs;
        if (shownMs < settleMs)
            return;
        poll.stop();
        QPixmap picture = window->grab();
        QPainter(&picture).drawPixmap(0, 0, dialog->grab());
        album.add(name, picture);
        isOver = true;
        dialog->reject();
    });
    poll.start(intervalMs);
    open();
    settleUntil([&] { return isOver; });
}

void acceptNextDialog()
{
    auto* const poll = new QTimer(qApp);
    QObject::connect(poll, &QTimer::timeout, poll, [poll] {
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        delete poll;
        dialog->accept();
    });
    poll->start(1);
}

} // namespace torvelane
