#include "ui/windows/ChromeWindow.h"

#include "platform/WindowFrame.h"
#include "ui/controls/WinControls.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace torvelane {

namespace {

constexpr QSize minimumFrameSize(400, 300);
// Not Qt::Window: before the first window of that type Qt has Direct3D 9 look for graphics adapters, which is only of use to
// OpenGL. To Windows the two are the same.
// The last two give the native window WS_SYSMENU and WS_MINIMIZEBOX: without them neither a click on the taskbar minimises
// it nor Alt+Space opens its menu.
constexpr Qt::WindowFlags frameFlags =
    Qt::Dialog | Qt::FramelessWindowHint | Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint;
constexpr int dragStripHeight = 36;
constexpr int controlsInset = 10;

QPoint toLogical(const QPoint& physical, qreal ratio)
{
    return {static_cast<int>(std::round(physical.x() / ratio)), static_cast<int>(std::round(physical.y() / ratio))};
}

/// What the taskbar leaves of the screen of a window, or of the first one. Large without a screen.
QRect availableArea(const QWidget* window)
{
    const QScreen* const screen = window ? window->screen() : QGuiApplication::primaryScreen();
    return screen ? screen->availableGeometry() : QRect(0, 0, QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
}

} // namespace

ChromeWindow::ChromeWindow(const QString& title, QWidget* parent)
    : QWidget(parent, frameFlags)
    , m_controls(new WinControls(this))
{
    setObjectName(QStringLiteral("ChromeWindow"));
    // Opaque below its content, so that a sliver seen before the first paint has the product's own colour.
    setAttribute(Qt::WA_StyledBackground);
    setWindowTitle(title);
    connect(m_controls, &WinControls::minimizeRequested, this, &QWidget::showMinimized);
    connect(m_controls, &WinControls::closeRequested, this, &QWidget::close);
}

ChromeWindow::ChromeWindow(QWidget* content, const QString& title, QWidget* parent) : ChromeWindow(title, parent)
{
    setContent(content);
}

void ChromeWindow::setContent(QWidget* content)
{
    const QSize size = content->size().expandedTo(minimumFrameSize);
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(0);
    whole->addWidget(content, 1);
    m_controls->raise();
    setFixedSize(size);
}

void ChromeWindow::takePlaceOf(const QWidget* former)
{
    const QRect available = availableArea(former);
    setFixedSize(size().boundedTo(available.size()).expandedTo(layout()->totalMinimumSize()));
    QRect place = rect();
    place.moveCenter(former ? former->frameGeometry().center() : available.center());
    place.moveRight(std::min(place.right(), available.right()));
    place.moveBottom(std::min(place.bottom(), available.bottom()));
    // Of a window larger than the screen the beginning, with the strip that moves it, is what has to be seen.
    move(std::max(place.left(), available.left()), std::max(place.top(), available.top()));
}

bool ChromeWindow::dragsAt(const QPoint& point) const
{
    return point.y() >= 0 && point.y() < dragStripHeight && point.x() >= 0 && point.x() <= width()
        && !m_controls->geometry().contains(point);
}

bool ChromeWindow::eventFilter(QObject* watched, QEvent* event)
{
    const bool pressed = event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick;
    if (!pressed || watched != windowHandle())
        return QWidget::eventFilter(watched, event);
    const auto* const mouse = static_cast<const QMouseEvent*>(event);
    if (mouse->button() != Qt::LeftButton || !dragsAt(mouse->position().toPoint()))
        return QWidget::eventFilter(watched, event);
    // The second press of a double click moves nothing and, above all, maximises nothing.
    if (event->type() == QEvent::MouseButtonPress)
        windowHandle()->startSystemMove();
    return true;
}

void ChromeWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_controls->adjustSize();
    m_controls->move(width() - controlsInset - m_controls->width(), controlsInset);
    m_controls->raise();
}

void ChromeWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_frameApplied)
        return;
    m_frameApplied = true;
    platform::dressFramelessWindow(winId());
    // Seen here, before any child: the strip moves the window over all content, as it does where the system hit-tests.
    if (!platform::movesWindowsByHitTest())
        windowHandle()->installEventFilter(this);
}

bool ChromeWindow::nativeEvent(const QByteArray& eventType, void* message, qintptr* result)
{
    const platform::FrameMessage frame = platform::readFrameMessage(eventType, message);
    switch (frame.kind) {
    case platform::FrameMessage::Kind::CaptionDoubleClick:
        *result = 0;
        return true;
    case platform::FrameMessage::Kind::HitTest:
        if (dragsAt(toLogical(frame.clientPosition, devicePixelRatioF()))) {
            *result = platform::captionHit;
            return true;
        }
        break;
    case platform::FrameMessage::Kind::Other:
        break;
    }
    return QWidget::nativeEvent(eventType, message, result);
}

} // namespace torvelane
