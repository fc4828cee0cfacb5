#include "support/simulated/Suite.h"
#include "tweaks/RegistryTweak.h"

namespace {

/// What was announced to the desktop since the last look.
QStringList announced()
{
    QStringList all;
    for (const platform::CallRecord& record : SimulatedPc::calls(u"desktop.announce"_s))
        all.append(record.call.arguments);
    SimulatedPc::clearCalls();
    all.sort();
    return all;
}

} // namespace

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
        for (const auto& [paths, hive, expected] :
             {std::tuple(QStringList{colorsKey, colorsKey}, u"HKCU"_s, QStringList(u"colors"_s)),
              {{colorsKey, scratchKey, iconsKey}, u"HKCU"_s, {u"colors"_s, u"icons"_s}},
              {{scratchKey}, u"HKCU"_s, {}},
              {{colorsKey, iconsKey}, u"HKLM"_s, {}}}) {
            QJsonArray operations;
            for (const QString& path : paths) {
                const QString name = u"Test%1"_s.arg(operations.size());
                operations.append(
                    QJsonObject{{u"hive"_s, hive}, {u"path"_s, path}, {u"name"_s, name}, {u"desired"_s, 1}});
            }
            RegistryTweak tweak(u"t"_s, operations);
            bool ok = false;
            QString error;
            const QJsonObject capture = tweak.capture(&ok, &error);
            QVERIFY(tweak.apply().ok);
            QCOMPARE(announced(), expected);
            QVERIFY(tweak.apply().ok);
            QCOMPARE(announced(), QStringList());
            QVERIFY(tweak.revert(capture).ok);
            QCOMPARE(announced(), expected);
        }
    }
};

QTEST_GUILESS_MAIN(tst_DesktopNews)
#include "tst_DesktopNews.moc"
