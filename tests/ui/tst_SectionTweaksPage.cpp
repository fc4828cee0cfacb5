#include "account/TierWatcher.h"
#include "support/simulated/Suite.h"
#include "tweaks/StateSql.h"
#include "ui/WindowBench.h"
#include "ui/pages/SectionTweaksPage.h"
#include "ui/pages/TweakCard.h"
#include "ui/theme/Theme.h"

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
        const MachineImage before = TestMachine::image();
        QStringList texts;
        answerNextDialog(false, &texts);
        toggle->click();
        QCOMPARE(texts, QStringList({u"a"_s, u"Loses <b>sleep</b>.\n\nApply this tweak?"_s}));
        QVERIFY(!toggle->isOn());
        QVERIFY(!isWorking(bench.page));
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        QCOMPARE(stateSql(u"SELECT tweak_id FROM tweak_state UNION SELECT tweak_id FROM tweak_selection"_s),
                 QStringList());
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

    void cardIsLitUnderTheCursorOnly()
    {
        PageBench bench({registryEntry("a", warning)});
        auto* const card = bench.page.findChild<TweakCard*>();
        const auto isLit = [&] { return card->grab().toImage().pixelColor(card->width() / 2, 0).blue() > 100; };
        const auto send = [&](QEvent&& event) { QCoreApplication::sendEvent(card, &event); };
        QCursor::setPos(card->mapToGlobal(card->rect().center()));
        send(QEnterEvent({}, {}, {}));
        send(QEvent(QEvent::Leave)); // as when a child is crossed
        QVERIFY(isLit());
        whenDialogOpens([&](QDialog* dialog) {
            QCursor::setPos(bench.page.mapToGlobal(QPoint(-50, -50)));
            dialog->reject();
        });
        bench.toggle(u"a"_s)->click();
        QVERIFY(!isLit());
    }

    void failureSlidesTheSwitchBack()
    {
        // After a revert that failed the row stays half reverted, for the next start to try again: not applied either.
        for (const bool wasApplied : {false, true}) {
            PageBench bench({registryEntry("a")});
            if (wasApplied) {
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
            QCOMPARE(bench.toggle(u"a"_s)->isOn(), !wasApplied);
            QTRY_VERIFY(
                texts.value(1).startsWith(wasApplied ? u"a (a): Failed to restore: "_s : u"a (a): Apply error: "_s));
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
            const bool hasEnded = QTest::qWaitFor([&] { return !isWorking(bench.page); });
            return hasEnded ? bench.action()->text() + u' ' + bench.engineWork() : QString();
        };
        QCOMPARE(afterClick(bench.action()), u"Revert all +a +b"_s);
        QCOMPARE(afterClick(bench.toggle(u"b"_s)), u"Apply all -b"_s);
        QCOMPARE(afterClick(bench.action()), u"Revert all +b"_s);
        QCOMPARE(afterClick(bench.action()), u"Apply all -b -a"_s);
        denyWrites(scratchRoot + u"\\B"_s);
        QStringList texts;
        answerNextDialog(true, &texts);
        QCOMPARE(afterClick(bench.action()).section(u' ', -1), u"+a"_s);
        QCOMPARE(texts.first(), u"Some tweaks failed"_s);
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

    /// Screen readers have the painted texts of a card: in reading order, whole, and in their places.
    void cardsAreReadAndExplained()
    {
        const QByteArray longText = QByteArrayLiteral("Word ").repeated(60).trimmed();
        PageBench bench({registryEntry("a", warning + R"(, "effect": "restart")"),
                         registryEntry("b", pro + ", \"description\": \"" + longText + "\"")});
        bench.changeTier(Tier::Free);
        QTRY_VERIFY(bench.toggle(u"a"_s)->isVisible());
        for (const auto& [id, seen] :
             {std::pair(u"a"_s, QStringList{u"a"_s, u"Loses <b>sleep</b>."_s, u"\u26a0 Warning"_s, u"a"_s}),
              {u"b"_s, {u"b"_s, QString::fromLatin1(longText), u"b, Pro"_s}}}) {
            QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(named<TweakCard>(bench.page, id));
            QVERIFY(face->text(QAccessible::Description).contains(u"\n\u2022 HKCU"));
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
        const QString tooltip = tooltipOf(*card, card->textArea(TweakCard::Text::Tag).center());
        QVERIFY2(tooltip.contains(u"Loses &lt;b&gt;sleep&lt;/b&gt;.\nAfter a restart."), qPrintable(tooltip));
        // Two lines are shown of the description, and the rest is in the tooltip.
        QVERIFY(tooltipOf(*named<TweakCard>(bench.page, u"b"_s), {3, 3}).contains(QString::fromLatin1(longText)));
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
        press(Qt::Key_Tab);
        press(Qt::Key_Space);
        QTRY_COMPARE(bench.applied(), u"c"_s);
    }
};

QTEST_MAIN(tst_SectionTweaksPage)
#include "tst_SectionTweaksPage.moc"
