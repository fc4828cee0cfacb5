#include "ui/ChromeWindow.h"
#include "ui/HeroWindow.h"

#include <QTest>

#include <cmath>

#include <windows.h>

using namespace torvelane;

class tst_NativeFrame : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void hitTest_data();
    void hitTest();

private:
    ChromeWindow m_window{new HeroWindow, QStringLiteral("Torvelane")};
};

namespace {

LRESULT hitTestAt(const ChromeWindow& window, const QPoint& point)
{
    const auto handle = reinterpret_cast<HWND>(window.winId());
    const qreal ratio = window.devicePixelRatioF();
    POINT place{static_cast<LONG>(std::round(point.x() * ratio)), static_cast<LONG>(std::round(point.y() * ratio))};
    ClientToScreen(handle, &place);
    return SendMessageW(handle, WM_NCHITTEST, 0, MAKELPARAM(place.x, place.y));
}

} // namespace

void tst_NativeFrame::initTestCase()
{
    m_window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&m_window));
}

void tst_NativeFrame::hitTest_data()
{
    QTest::addColumn<QPoint>("position");
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<bool>("drags");

    // The second position has coordinates below zero, as on a screen to the left of the primary one.
    for (const QPoint& position : {QPoint(60, 40), QPoint(-200, -10)}) {
        const auto row = [&](const char* name, const QPoint& point, bool drags) {
            QTest::addRow("%s at %d,%d", name, position.x(), position.y()) << position << point << drags;
        };
        row("last row", QPoint(300, 35), true);
        row("row below", QPoint(300, 36), false);
        row("on the buttons", QPoint(900, 20), false);
        row("beside the buttons", QPoint(840, 20), true);
    }
}

void tst_NativeFrame::hitTest()
{
    QFETCH(const QPoint, position);
    QFETCH(const QPoint, point);
    QFETCH(const bool, drags);
    m_window.move(position);
    QTRY_COMPARE(m_window.pos(), position);
    QCOMPARE(hitTestAt(m_window, point), LRESULT(drags ? HTCAPTION : HTCLIENT));
}

QTEST_MAIN(tst_NativeFrame)
#include "tst_NativeFrame.moc"
