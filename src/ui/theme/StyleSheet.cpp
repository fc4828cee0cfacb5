#include "ui/theme/StyleSheet.h"

namespace torvelane {

namespace {

// %1 is the body family, %2 the display family, %3 the family rule of glyph buttons, if there is one. Titles (H1, H2) get
// their font in code from displayFont(), whose tracking a style sheet can't express, and which a font given here would
// replace.
const QString& sheetTemplate()
{
    static const QString text = QStringLiteral(R"(
QWidget { color: #FFFFFF; }
QToolTip {
    background: #171717; color: #E5E7EB;
    border: 1px solid rgba(255,255,255,0.12); border-radius: 8px; padding: 2px 3px; max-width: 408px;
}

QMenu { background: #171717; color: #E5E7EB; border: 1px solid rgba(255,255,255,0.12); padding: 4px; }
QMenu::item { padding: 6px 22px; border-radius: 4px; }
QMenu::item:selected { background: rgba(95,106,233,0.5); color: #FFFFFF; }
QMenu::item:disabled { color: #6B7280; }

QWidget#Window, QWidget#ChromeWindow { background: #090909; }
QWidget#TitleBar { background: transparent; }
QLabel#TitleText { color: #9CA3AF; font-family: "%1"; font-weight: 600; font-size: 12px; }
QPushButton#WinBtn, QPushButton#WinClose {
    background: transparent; border: none; border-radius: 6px; color: #9CA3AF;
    %3font-size: 10px; padding: 0;
}
QPushButton#WinBtn:hover { background: rgba(255,255,255,0.10); color: #FFFFFF; }
QPushButton#WinClose:hover { background: #E81123; color: #FFFFFF; }

QFrame#GlassCard, QFrame#Sidebar {
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1,
        stop:0 rgba(255,255,255,0.14), stop:0.05 rgba(255,255,255,0.085), stop:1 rgba(255,255,255,0.055));
    border: 1px solid rgba(255,255,255,0.10); border-radius: 8px;
}
QFrame#Sidebar { border: none; border-right: 1px solid rgba(255,255,255,0.10); border-radius: 0; }

QLabel#TweakTitle { font-family: "%1"; font-size: 14px; font-weight: 600; color: #FFFFFF; }
QLabel#TweakDesc { font-family: "%1"; font-size: 12px; color: #9CA3AF; }
QLabel#WarnTag { font-family: "%1"; font-size: 12px; font-weight: 600; color: #FCD34D; }
QLabel#OkTag, QLabel#LockTag, QLabel#LockHint { font-family: "%1"; font-size: 12px; color: #9CA3AF; }

QLineEdit {
    background: rgba(0,0,0,0.25); border: 1px solid rgba(255,255,255,0.10); border-radius: 8px;
    padding: 9px 14px; color: #FFFFFF; font-family: "%1"; font-weight: 700;
    selection-background-color: rgba(95,106,233,0.5);
}
QLineEdit:hover { border: 1px solid rgba(255,255,255,0.30); }
QLineEdit:focus { border: 1px solid #6571FF; }

QPushButton {
    background: rgba(255,255,255,0.06); border: 1px solid rgba(255,255,255,0.15); border-radius: 8px;
    padding: 7px 16px; color: #FFFFFF; font-family: "%1"; font-weight: 600;
}
QPushButton:hover { background: rgba(255,255,255,0.10); }
QPushButton:pressed { background: rgba(255,255,255,0.15); border: 1px solid rgba(255,255,255,0.25); }
QPushButton:focus { border: 1px solid rgba(101,113,255,0.55); outline: none; }
QPushButton:disabled { color: rgba(255,255,255,0.40); }

QPushButton[variant="primary"] {
    border: none; border-radius: 22px; padding: 12px 24px;
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #6571FF, stop:0.5 #5F6AE9, stop:1 #6571FF);
}
QPushButton[variant="primary"]:hover {
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #7079FF, stop:0.5 #6A74F0, stop:1 #7079FF);
}
QPushButton[variant="primary"]:pressed {
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #5A64E6, stop:0.5 #555FD6, stop:1 #5A64E6);
}
QPushButton[variant="primary"]:disabled { color: rgba(255,255,255,0.55); }
QPushButton[variant="primary"]:focus { border: none; }

QPushButton[variant="ghost"], QPushButton#GoogleButton {
    background: transparent; border: 1px solid rgba(255,255,255,0.15); border-radius: 10px;
    padding: 11px 18px; font-weight: 700;
}
QPushButton[variant="ghost"]:hover, QPushButton#GoogleButton:hover {
    background: rgba(255,255,255,0.05); border: 1px solid rgba(255,255,255,0.40);
}
QPushButton[variant="ghost"]:pressed, QPushButton#GoogleButton:pressed {
    background: rgba(255,255,255,0.10); border: 1px solid rgba(255,255,255,0.50);
}
QPushButton[variant="ghost"]:focus, QPushButton#GoogleButton:focus { border: 1px solid rgba(101,113,255,0.55); }
QPushButton#GoogleButton:disabled { color: rgba(255,255,255,0.40); }

QPushButton[variant="link"] {
    background: transparent; border: none; color: #6571FF; font-weight: 600; padding: 2px;
}
QPushButton[variant="link"]:hover { color: #8A93FF; }
QPushButton#LinkButton {
    background: transparent; border: none; padding: 2px; color: #6571FF; font-family: "%1"; font-weight: 500;
}
QPushButton#LinkButton:hover { color: #8A93FF; }

QPushButton#NavItem {
    background: transparent; border: 1px solid transparent; border-radius: 12px; padding: 9px 12px; text-align: left;
    color: #9CA3AF; font-family: "%1"; font-size: 14px; font-weight: 700;
}
QPushButton#NavItem:hover { background: rgba(255,255,255,0.05); color: #FFFFFF; }
QPushButton#NavItem:pressed { background: rgba(255,255,255,0.09); }
QPushButton#NavItem:checked {
    border: 1px solid rgba(95,106,233,0.40); color: #FFFFFF;
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 rgba(95,106,233,0.20), stop:1 rgba(101,113,255,0.06));
}
QPushButton#NavItem:disabled { color: #4B5563; }
QLabel#NavCategory { color: #9CA3AF; font-family: "%1"; font-size: 11px; font-weight: 700; }

QPushButton#SubTab {
    background: transparent; border: none; border-bottom: 2px solid transparent; border-radius: 0;
    padding: 7px 2px; margin-right: 22px; text-align: left;
    color: #9CA3AF; font-family: "%1"; font-size: 14px; font-weight: 600;
}
QPushButton#SubTab:hover { color: #FFFFFF; }
QPushButton#SubTab:checked { color: #FFFFFF; border-bottom: 2px solid #6571FF; }

QFrame#AccountCard {
    background: rgba(255,255,255,0.03); border: 1px solid rgba(255,255,255,0.06); border-radius: 8px;
}
QLabel#H1, QLabel#H2 { color: #FFFFFF; }
QLabel#Subtitle { font-family: "%1"; font-size: 14px; font-weight: 500; color: #9CA3AF; }
QLabel#FieldLabel { font-family: "%1"; font-size: 14px; font-weight: 700; color: #FFFFFF; }
QLabel#Muted { color: #9CA3AF; }
QLabel#Faint { font-family: "%1"; font-size: 12px; font-weight: 500; color: #9CA3AF; }
QLabel#TierBadge {
    border-radius: 10px; padding: 2px 10px; font-family: "%1"; font-size: 12px; font-weight: 700;
    border: 1px solid rgba(95,106,233,0.40); background: rgba(95,106,233,0.12); color: #C7D2FE;
}
QFrame#ErrorBanner {
    background: rgba(239,68,68,0.10); border: 1px solid rgba(239,68,68,0.40); border-radius: 8px;
}
QFrame#ErrorBanner QLabel { background: transparent; border: none; color: #FCA5A5; font-family: "%1"; font-size: 12px; }
QLabel#Avatar {
    min-width: 34px; max-width: 34px; min-height: 34px; max-height: 34px; border-radius: 17px;
    background: qlineargradient(x1:0, y1:0, x2:1, y2:1, stop:0 #6571FF, stop:1 #5F6AE9);
    color: #FFFFFF; font-family: "%2"; font-size: 14px; font-weight: 700;
}

QProgressBar {
    background: rgba(255,255,255,0.08); border: none; border-radius: 4px;
    min-height: 8px; max-height: 8px; color: transparent;
}
QProgressBar::chunk {
    border-radius: 4px; background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #6571FF, stop:1 #5F6AE9);
}

QScrollBar:horizontal { background: transparent; height: 12px; margin: 2px; }
QScrollBar::handle:horizontal { background: rgba(255,255,255,0.12); border-radius: 4px; min-width: 28px; }
QScrollBar::handle:horizontal:hover { background: rgba(255,255,255,0.22); }
QScrollBar::add-line:horizontal, QScrollBar::sub-line:horizontal { width: 0; }
QScrollBar::add-page:horizontal, QScrollBar::sub-page:horizontal { background: transparent; }
)");
    return text;
}

} // namespace

QString verticalScrollBarRules()
{
    // The handle is 8 pixels wide: of a radius of 6, twice of which is more, Qt would make no corners at all.
    return QStringLiteral(R"(
QScrollBar:vertical { background: transparent; width: 12px; margin: 2px; }
QScrollBar::handle:vertical { background: rgba(255,255,255,0.12); border-radius: 4px; min-height: 28px; }
QScrollBar::handle:vertical:hover { background: rgba(255,255,255,0.22); }
QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }
QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: transparent; }
)");
}

QString scrollAreaRules()
{
    return QStringLiteral(R"(
QScrollArea { background: transparent; border: none; }
QScrollArea > QWidget#qt_scrollarea_viewport { background: transparent; border: none; }
QScrollArea > QWidget#qt_scrollarea_viewport > QWidget { background: transparent; border: none; }
)");
}

QString globalStyleSheet(const QString& bodyFamily, const QString& displayFamily, const QStringList& glyphFamilies)
{
    const QString glyphRule = glyphFamilies.isEmpty()
        ? QString()
        : QStringLiteral("font-family: \"%1\"; ").arg(glyphFamilies.join(QStringLiteral("\", \"")));
    return sheetTemplate().arg(bodyFamily, displayFamily, glyphRule) + verticalScrollBarRules() + scrollAreaRules();
}

} // namespace torvelane
