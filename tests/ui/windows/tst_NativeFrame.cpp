#include "support/Suite.h"
#include "ui/windows/ChromeWindow.h"
#include "ui/windows/HeroWindow.h"

#include <windows.h>

class tst_NativeFrame : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hitTest()
    {
        ChromeWindow window(new HeroWindow, QStringLiteral("Torvelane"));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const auto handle = reinterpret_cast<HWND>(window.winId());
        // Without these the taskbar can't minimise it, and Alt+Space opens nothing.
        const auto style = GetWindowLongPtrW(handle, GWL_STYLE);
        QVERIFY(style & WS_SYSMENU);
        QVERIFY(style & WS_MINIMIZEBOX);
        // And without a frame, nobody's window and no tool: it has its place in the taskbar.
        QCOMPARE(style & WS_CAPTION, 0);
        QCOMPARE(GetWindowLongPtrW(handle, GWL_EXSTYLE) & (WS_EX_TOOLWINDOW | WS_EX_DLGMODALFRAME), 0);
        QCOMPARE(GetWindow(handle, GW_OWNER), nullptr);
        // The second position has coordinates below zero, as on a screen to the left of the primary one.
        for (const QPoint& position : {QPoint(60, 40), QPoint(-200, -10)}) {
            window.move(position);
            QTRY_COMPARE(window.pos(), position);
            for (const auto& [point, hit] : {std::pair(QPoint(300, 35), HTCAPTION),
                                             {QPoint(300, 36), HTCLIENT},
                                             {QPoint(900, 20), HTCLIENT},
                                             {QPoint(840, 20), HTCAPTION}}) {
                const QPoint physical = (QPointF(point) * window.devicePixelRatioF()).toPoint();
                POINT place{physical.x(), physical.y()};
                ClientToScreen(handle, &place);
                QCOMPARE(SendMessageW(handle, WM_NCHITTEST, 0, MAKELPARAM(place.x, place.y)), LRESULT(hit));
            }
        }
    }
};

QTEST_MAIN(tst_NativeFrame)
#include "tst_NativeFrame.moc"
