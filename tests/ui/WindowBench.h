#pragma once

#include "account/AuthService.h"
#include "app/AppContext.h"
#include "support/Suite.h"
#include "tweaks/TweakEngine.h"
#include "ui/controls/ToggleSwitch.h"

#include <QAccessible>
#include <QApplication>
#include <QDialog>
#include <QFutureWatcher>
#include <QHelpEvent>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QTimer>
#include <QToolTip>

namespace torvelane::test {

/// An entry of the section "Explorer" that sets the value of its own name in the scratch key, or one below it, to 1.
inline QByteArray registryEntry(const QByteArray& id, const QByteArray& more = {}, const QByteArray& subkey = {})
{
    return R"({"section": "Explorer", "id": ")" + id + R"(", "name": ")" + id
        + R"(", "operations": [{"hive": "HKCU", "path": "Software\\Torvelane\\Test)" + subkey + R"(", "name": ")" + id
        + R"(", "desired": 1}])" + more + '}';
}

/// An entry with the commands "rem apply <id>" and "rem revert <id>".
inline QByteArray commandEntry(const QByteArray& id)
{
    return R"({"section": "Explorer", "type": "command", "id": ")" + id + R"(", "name": ")" + id
        + R"(", "apply": ["rem apply )" + id + R"("], "revert": ["rem revert )" + id + R"("]})";
}

/// The program's context on a machine of its own, with a session, as windows need it.
class WindowBench {
public:
    /// A small catalogue of these entries; without any it is the program's own.
    explicit WindowBench(const QByteArrayList& entries = {})
    {
        bool isUp = context.init();
        if (isUp && !entries.isEmpty()) {
            context.catalog.clear();
            isUp = context.catalog.loadFromJson(R"({"tweaks": [)" + entries.join(',') + "]}");
        }
        if (!isUp)
            qFatal("The context could not be set up");
        setTier(Tier::Pro);
    }

    void setTier(Tier tier)
    {
        if (!context.auth->login(QStringLiteral("Ada"), tier, nullptr))
            qFatal("No session");
    }

    /// The engine's work since the last call, in order: "+id" for applied, "-id" for reverted.
    QString engineWork()
    {
        QStringList work = machine.log.lines().filter(QStringLiteral("ed tweak: "));
        work.replaceInStrings(QStringLiteral("[INFO] engine: Applied tweak: "), QStringLiteral("+"));
        work.replaceInStrings(QStringLiteral("[INFO] engine: Reverted tweak: "), QStringLiteral("-"));
        machine.log = LogCapture();
        return work.join(QLatin1Char(' '));
    }

    QString applied() const { return context.engine->appliedIds().join(QLatin1Char(' ')); }

    ScratchMachine machine;
    AppContext context;
};

template <typename Widget>
Widget* named(const QWidget& within, const QString& accessibleName)
{
    const auto widgets = within.findChildren<Widget*>();
    const auto found = std::ranges::find(widgets, accessibleName, &QWidget::accessibleName);
    return found == widgets.end() ? nullptr : *found;
}

/// Shows a window to the keyboard, too.
inline void showActive(QWidget& window)
{
    window.show();
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window))
        qFatal("The window could not be shown");
}

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
            texts->append(QString(label->text()).remove(QChar(0x200B))); // where long words may be broken
        dialog->done(accept ? QDialog::Accepted : QDialog::Rejected);
    });
}

/// What assistive technology hears as a control's value.
inline QString valueOf(QWidget& widget)
{
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Value);
}

/// What the pointer shows over a place; empty for nothing.
inline QString tooltipOf(QWidget& widget, const QPoint& at = {30, 25})
{
    QToolTip::hideText();
    QHelpEvent event(QEvent::ToolTip, at, widget.mapToGlobal(at));
    QApplication::sendEvent(&widget, &event);
    return QToolTip::text().remove(QChar(0x200B)); // where long words may be broken
}

/// Whether a page still waits for the result of something.
inline bool isWorking(const QWidget& page)
{
    return page.findChild<QFutureWatcherBase*>() != nullptr;
}

} // namespace torvelane::test
