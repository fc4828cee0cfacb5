#pragma once

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QStringList>
#include <QTimer>

#include <functional>

namespace torvelane::test {

/// Runs a function on the next modal dialog once it is open, while whoever opened it waits inside.
inline void whenDialogOpens(const std::function<void(QDialog*)>& act)
{
    auto* const poll = new QTimer(qApp);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, act] {
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isActiveWindow())
            return;
        delete poll;
        act(dialog);
    });
    poll->start(1);
}

/// Answers the next dialog, whose title and text go to `texts`.
inline void answerNextDialog(bool accept, QStringList* texts)
{
    whenDialogOpens([accept, texts](QDialog* dialog) {
        for (const QLabel* const label : dialog->findChildren<QLabel*>())
            texts->append(label->text());
        dialog->done(accept ? QDialog::Accepted : QDialog::Rejected);
    });
}

} // namespace torvelane::test
