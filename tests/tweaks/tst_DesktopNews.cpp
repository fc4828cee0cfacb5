#include "support/Suite.h"
#include "tweaks/DesktopWatch.h"
#include "tweaks/RegistryTweak.h"

#include <QScopeGuard>

/// The announcements to the desktop when a tweak is applied and reverted.
class tst_DesktopNews : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    /// Once for all values of a tweak; not at all for values that are right already, or that Windows watches itself.
    void announcements()
    {
        const QString colorsKey = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize"_s;
        const QString iconsKey =
            u"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\HideDesktopIcons\\NewStartPanel"_s;
        for (const auto& [paths, hive, colors, icons] : {std::tuple(QStringList{colorsKey, colorsKey}, u"HKCU"_s, 1, 0),
                                                         {{iconsKey}, u"HKCU"_s, 0, 1},
                                                         {{colorsKey, scratchKey, iconsKey}, u"HKCU"_s, 1, 1},
                                                         {{scratchKey}, u"HKCU"_s, 0, 0},
                                                         {{colorsKey, iconsKey}, u"HKLM"_s, 0, 0}}) {
            QJsonArray operations;
            for (const QString& path : paths) {
                const QString name = u"TorvelaneTest%1"_s.arg(operations.size());
                operations.append(
                    QJsonObject{{u"hive"_s, hive}, {u"path"_s, path}, {u"name"_s, name}, {u"desired"_s, 1}});
            }
            RegistryTweak tweak(u"t"_s, operations);
            bool ok = false;
            QString error;
            const QJsonObject capture = tweak.capture(&ok, &error);
            QVERIFY2(ok, qPrintable(error));
            const auto putBack = qScopeGuard([&] { static_cast<void>(tweak.revert(capture)); });

            DesktopWatch applying;
            QVERIFY(tweak.apply().ok);
            QCOMPARE(applying.colors(), colors);
            QCOMPARE(applying.icons().value_or(icons), icons);

            DesktopWatch again;
            QVERIFY(tweak.apply().ok);
            QCOMPARE(again.colors(), 0);

            DesktopWatch reverting;
            QVERIFY(tweak.revert(capture).ok);
            QCOMPARE(reverting.colors(), colors);
            QCOMPARE(reverting.icons().value_or(icons), icons);
        }
    }
};

QTEST_GUILESS_MAIN(tst_DesktopNews)
#include "tst_DesktopNews.moc"
