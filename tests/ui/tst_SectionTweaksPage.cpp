#include "account/TierWatcher.h"
#include "support/simulated/Suite.h"
#include "tweaks/StateSql.h"
#include "ui/WindowBench.h"
#include "ui/pages/SectionTweaksPage.h"
#include "ui/pages/TweakCard.h"
#include "ui/theme/Theme.h"

#include <QDesktopServices>

namespace {

const QString scratchRoot = u"HKCU\\"_s + scratchKey;

void denyWrites(const QString& key)
{
    SimulatedPc::fail(u"registry.openToWrite"_s, platform::Win32Error::AccessDenied, {.part = key});
}
const QByteArray warning = R"(, "warning": "Loses <b>sleep</b>.")";
const QByteArray pro = R"(, "requiredTier": "pro")";

/// A page that is shown, over a machine and a catalogue of its own.
struct PageBench : WindowBench {
    explicit PageBench(const QByteArrayList& entries, Tier pageTier = Tier::None)
        : WindowBench(entries)
        , page(context, u"Explorer"_s, IconId::Folder, pageTier)
    {
        QObject::connect(context.tierWatcher.get(), &TierWatcher::tierChanged, &page,
                         &SectionTweaksPage::onTierChanged);
        page.resize(620, 500);
        showActive(page);
    }

    void changeTier(Tier tier)
    {
        setTier(tier);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // the cards of before
    }

    ToggleSwitch* toggle(const QString& id) const { return named<ToggleSwitch>(page, id); }

    QPushButton* action() const { return page.findChild<QPushButton*>(); } ///< comes before the cards
    QString actionLook() const { return action()->text() + u'/' + action()->property("variant").toString(); }

    /// The ids whose switch is on.
    QString on() const
    {
        QStringList ids;
        for (const ToggleSwitch* const toggle : page.findChildren<ToggleSwitch*>()) {
            if (toggle->isOn())
                ids.append(toggle->accessibleName());
        }
        return ids.join(u' ');
    }

    SectionTweaksPage page;
};

} // namespace

class tst_SectionTweaksPage : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { applyTheme(*qApp); }

    void warningIsAskedBeforeTurningOnOnly()
    {
        PageBench bench({registryEntry("a", warning)});
        ToggleSwitch* const toggle = bench.toggle(u"a"_s);
        const auto everything = [] {
            return differences({}, TestMachine::image()) + stateSql(u"SELECT * FROM tweak_state"_s)
                + stateSql(u"SELECT * FROM tweak_selection"_s);
        };
        const QStringList before = everything();
        QStringList texts;
        answerNextDialog(false, &texts);
        toggle->click();
        QCOMPARE(texts, QStringList({u"a"_s, u"Loses <b>sleep</b>.\n\nApply this tweak?"_s}));
        QVERIFY(!toggle->isOn());
        QVERIFY(!isWorking(bench.page));
        QCOMPARE(everything(), before);

        // The second time by the way of assistive technology, which also says the warning.
        QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(toggle);
        QCOMPARE(face->role(), QAccessible::CheckBox);
        QCOMPARE(face->text(QAccessible::Description), u"Loses <b>sleep</b>."_s);
        QVERIFY(face->state().checkable && !face->state().checked);
        answerNextDialog(true, &texts);
        face->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QVERIFY(face->state().checked);
        QTRY_COMPARE(bench.applied(), u"a"_s);
        // A question here would wait for an answer for good.
        toggle->click();
        QTRY_COMPARE(bench.applied(), QString());
    }

    void failureSlidesTheSwitchBack()
    {
        // After a revert that failed the row stays half reverted, for the next start to try again: not applied either.
        for (const auto& [applied, error] :
             {std::pair(false, u"a (a): Apply error: Failed to write HKCU\\Software\\Torvelane\\Test [a]"_s),
              {true, u"a (a): Failed to restore: Software\\Torvelane\\Test\\a"_s}}) {
            PageBench bench({registryEntry("a")});
            if (applied) {
                bench.action()->click();
                QTRY_VERIFY(!isWorking(bench.page));
            }
            denyWrites(scratchRoot);
            QStringList texts;
            bool onUnderTheDialog = true;
            whenDialogOpens([&](QDialog*) {
                onUnderTheDialog = bench.toggle(u"a"_s)->isOn();
                answerNextDialog(true, &texts);
            });
            bench.toggle(u"a"_s)->click();
            QCOMPARE(bench.toggle(u"a"_s)->isOn(), !applied);
            QTRY_COMPARE(texts, QStringList({u"Tweak failed"_s, error}));
            QVERIFY(!onUnderTheDialog);
        }
    }

    void clicksRunInTheirOrder()
    {
        PageBench bench({registryEntry("a"), registryEntry("b"), commandEntry("c")});
        SimulatedPc::hang(u"tools"_s, 300, {.part = u"rem revert c"_s});
        bench.toggle(u"a"_s)->click();
        bench.toggle(u"a"_s)->click();
        bench.toggle(u"b"_s)->click();
        QCOMPARE(bench.on(), u"b"_s);
        bench.action()->click();
        QCOMPARE(bench.on(), u"a b c"_s);
        // The end of the batch, which comes while this one hangs, must not show c as on for good.
        bench.toggle(u"c"_s)->click();
        QTRY_VERIFY(!isWorking(bench.page));
        QCOMPARE(bench.engineWork(), u"+a -a +b +a +c -c"_s);
        QCOMPARE(bench.on(), u"a b"_s);
    }

    void tierChangesWhileWorkRuns()
    {
        // Nobody tells this page about the reverts: what is queued runs on, and ends without a card.
        PageBench bench({commandEntry("slow"), registryEntry("locked", pro)});
        SimulatedPc::hang(u"tools"_s, 200, {.part = u"rem apply slow"_s});
        denyWrites(scratchRoot);
        bench.toggle(u"slow"_s)->click();
        bench.toggle(u"locked"_s)->click();
        bench.changeTier(Tier::Free);
        QVERIFY(!bench.toggle(u"locked"_s));
        QCOMPARE(bench.on(), u"slow"_s);
        QStringList texts;
        answerNextDialog(true, &texts);
        QTRY_VERIFY(!texts.isEmpty() && !isWorking(bench.page));
        QCOMPARE(texts.first(), u"Tweak failed"_s);
        QCOMPARE(bench.on(), u"slow"_s);
        QCOMPARE(bench.applied(), u"slow"_s);
    }

    void batchTouchesOnlyWhatIsLeft()
    {
        PageBench bench({registryEntry("a"), registryEntry("b", {}, R"(\\B)"), registryEntry("c", pro)});
        bench.changeTier(Tier::Free);
        const auto afterClick = [&bench](QAbstractButton* button) {
            button->click();
            const QString look = bench.actionLook();
            return QTest::qWaitFor([&] { return !isWorking(bench.page); }) ? look + u' ' + bench.engineWork() : look;
        };
        QCOMPARE(afterClick(bench.action()), u"Revert all/ghost +a +b"_s);
        QCOMPARE(afterClick(bench.toggle(u"b"_s)), u"Apply all/primary -b"_s);
        QCOMPARE(afterClick(bench.action()), u"Revert all/ghost +b"_s);
        QCOMPARE(afterClick(bench.action()), u"Apply all/primary -b -a"_s);
        denyWrites(scratchRoot + u"\\B"_s);
        QStringList texts;
        answerNextDialog(true, &texts);
        QCOMPARE(afterClick(bench.action()), u"Revert all/ghost +a"_s);
        QCOMPARE(texts.join(u'/'),
                 u"Some tweaks failed/b (b): Apply error: Failed to write HKCU\\Software\\Torvelane\\Test\\B [b]"_s);
        QCOMPARE(bench.on(), u"a"_s);
    }

    void batchAsksOnceForAll()
    {
        const QByteArray once = R"({"section": "Explorer", "type": "command", "id": "once", "name": "once",
                                    "apply": ["rem"]})";
        const QByteArray rival =
            R"({"section": "Explorer", "id": "rival", "name": "rival", "operations": [{"hive": "HKCU",
            "path": "Software\\Torvelane\\Test", "name": "a", "desired": 2}]})";
        PageBench bench({registryEntry("a"), registryEntry("b", warning), once, rival});
        QStringList texts;
        answerNextDialog(false, &texts);
        bench.action()->click();
        QCOMPARE(texts.value(1),
                 u"These have a warning:\n•\u00A0b: Loses <b>sleep</b>.\n\n"
                 "These act once, with nothing to undo afterwards:\n•\u00A0once\n\n"
                 "These set the same value, so that only the last one counts:\n•\u00A0a · rival\n\n"
                 "Apply all 4 tweaks?"_s);
        QCOMPARE(bench.on(), QString());
        QVERIFY(!isWorking(bench.page));

        answerNextDialog(true, &texts);
        bench.action()->click();
        QTRY_COMPARE(bench.applied(), u"a b once rival"_s);
        // A question here would wait for an answer for good.
        bench.action()->click();
        QTRY_COMPARE(bench.applied(), QString());
    }

    /// While the question stands the tier falls: only what it covers is applied.
    void batchFollowsTheTierUnderItsQuestion()
    {
        PageBench bench({registryEntry("a", warning), registryEntry("b", pro)});
        whenDialogOpens([&](QDialog* dialog) {
            bench.setTier(Tier::Free);
            dialog->accept();
        });
        bench.action()->click();
        QTRY_VERIFY(!isWorking(bench.page));
        QCOMPARE(bench.engineWork(), u"+a"_s);
    }

    void locks()
    {
        PageBench bench(
            {registryEntry("a"), registryEntry("b", R"(, "requiredTier": "premium")"), registryEntry("c", pro)},
            Tier::Premium);
        for (const auto& [tier, looks, batch] : {std::tuple(Tier::None, u"Premium Premium Pro"_s, false),
                                                 {Tier::Pro, u"switch switch switch"_s, true},
                                                 {Tier::Free, u"switch Premium Pro"_s, false},
                                                 {Tier::Premium, u"switch switch Upgrade to Pro"_s, true}}) {
            bench.changeTier(tier);
            QStringList seen;
            for (const TweakCard* const card : bench.page.findChildren<TweakCard*>()) {
                const auto* const pill = card->findChild<QPushButton*>(u"TierPill"_s);
                seen.append(card->findChild<ToggleSwitch*>() ? u"switch"_s : pill->text().trimmed());
            }
            QCOMPARE(seen.join(u' '), looks);
            QCOMPARE(bench.action()->isVisible(), batch);
        }
    }

    void columns()
    {
        PageBench bench({registryEntry("a"), registryEntry("b"), registryEntry("c"), registryEntry("d")});
        const auto cards = bench.page.findChildren<TweakCard*>();
        for (const auto& [width, columns] : {std::pair(894, 3), {893, 2}, {4000, 3}, {592, 2}}) {
            bench.page.resize(width, 500);
            QTRY_COMPARE(std::ranges::count(cards, cards.first()->y(), &QWidget::y), columns);
        }
    }

    /// What another program has changed shows on a page that is opened later, until the user switches.
    void changesByOthersShowInTheTooltip()
    {
        PageBench bench({registryEntry("a"), registryEntry("b")});
        bench.action()->click();
        QTRY_COMPARE(bench.applied(), u"a b"_s);
        putRaw(u"a"_s, {platform::regDword, dwordBytes(5)});
        SectionTweaksPage later(bench.context, u"Explorer"_s, IconId::Folder, Tier::None);
        showActive(later);
        const auto tooltip = [&later](const QString& id) { return tooltipOf(*named<TweakCard>(later, id), {3, 3}); };
        const QString note = u"1 of 1 values were changed since, by Windows or another program."_s;
        QTRY_VERIFY(tooltip(u"a"_s).contains(note));
        QVERIFY(!tooltip(u"b"_s).contains(note));
        named<ToggleSwitch>(later, u"a"_s)->click();
        QTRY_VERIFY(!tooltip(u"a"_s).contains(note));
        QToolTip::hideText();
    }

    /// Screen readers have the painted texts of a card: in reading order, whole, and in their places.
    void cardsAreReadAndExplained()
    {
        const QByteArray longText = QByteArrayLiteral("Word ").repeated(60).trimmed();
        const QByteArray described = QByteArray(R"(, "description": "TEXT")").replace("TEXT", longText);
        PageBench bench(
            {registryEntry("a", warning + R"(, "effect": "restart")"), registryEntry("b", pro + described)});
        bench.changeTier(Tier::Free);
        QTRY_VERIFY(bench.toggle(u"a"_s)->isVisible());
        for (const auto& [id, seen] :
             {std::pair(u"a"_s, QStringList{u"a"_s, u"Loses <b>sleep</b>."_s, u"\u26a0 Warning"_s, u"a"_s}),
              {u"b"_s, {u"b"_s, QString::fromLatin1(longText), u"b, Pro"_s}}}) {
            auto* const card = named<TweakCard>(bench.page, id);
            QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(card);
            QCOMPARE(face->text(QAccessible::Description).contains(u"\n\u2022 HKCU"), true);
            QStringList heard;
            for (int i = 0; i < face->childCount(); ++i) {
                QAccessibleInterface* const child = face->child(i);
                heard.append(child->text(QAccessible::Name));
                QCOMPARE(face->indexOfChild(child), i);
                QCOMPARE(face->childAt(child->rect().center().x(), child->rect().center().y()), child);
            }
            QCOMPARE(heard, seen);
        }
        auto* const card = named<TweakCard>(bench.page, u"a"_s);
        const QPoint onTag = card->textArea(TweakCard::Text::Tag).center();
        QCOMPARE(card->childAt(onTag), nullptr);
        QVERIFY2(tooltipOf(*card, onTag).contains(u"Loses &lt;b&gt;sleep&lt;/b&gt;.\nAfter a restart."),
                 qPrintable(QToolTip::text()));
        QVERIFY2(tooltipOf(*card, {3, 3}).contains(u"Torvelane\\Test\\a = 1"), qPrintable(QToolTip::text()));
        // Two lines are shown of it, and the rest is in the tooltip.
        auto* const shortened = named<TweakCard>(bench.page, u"b"_s);
        QCOMPARE(shortened->heightForWidth(200), shortened->heightForWidth(600));
        QVERIFY(tooltipOf(*shortened, {3, 3}).contains(QString::fromLatin1(longText)));
        QToolTip::hideText();
    }

    void keyboard()
    {
        PageBench bench({registryEntry("a"), registryEntry("locked", pro), registryEntry("c")});
        bench.changeTier(Tier::Free);
        QTRY_VERIFY(bench.toggle(u"a"_s)->isVisible());
        const auto press = [](Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); };
        bench.action()->setFocus(Qt::TabFocusReason);
        press(Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), bench.toggle(u"a"_s));
        press(Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), bench.page.findChild<QPushButton*>(u"TierPill"_s));
        QDesktopServices::setUrlHandler(u"https"_s, this, "rememberAddress");
        press(Qt::Key_Return);
        QDesktopServices::unsetUrlHandler(u"https"_s);
        QVERIFY2(m_address.endsWith(u"/pricing"), qPrintable(m_address));
        press(Qt::Key_Tab);
        press(Qt::Key_Space);
        QTRY_COMPARE(bench.applied(), u"c"_s);
    }

public Q_SLOTS:
    void rememberAddress(const QUrl& address) { m_address = address.toString(); }

private:
    QString m_address;
};

QTEST_MAIN(tst_SectionTweaksPage)
#include "tst_SectionTweaksPage.moc"
