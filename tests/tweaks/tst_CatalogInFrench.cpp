#include "support/TestMachine.h"
#include "tweaks/TweakCatalog.h"

#include <QLocale>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;

/// A program of its own, since the language is worked out once in a process.
class tst_CatalogInFrench : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void translations()
    {
        QLocale::setDefault(QLocale(QLocale::French));
        const test::TestMachine machine;
        TweakCatalog catalog;
        QVERIFY(catalog.loadFromJson(R"({"tweaks": [
            {"id": "full", "type": "command", "apply": ["x"], "name": "Sound", "name_fr": "Son",
             "warning": "Loud", "warning_fr": "Fort", "description": "Long", "description_fr": "Longue",
             "section": "Audio", "section_fr": "Bruit", "requiredTier": "pro", "requiredTier_fr": "none"},
            {"id": "part", "type": "command", "apply": ["x"], "name": "Sound", "name_fr": "", "warning": "Loud"},
            {"id": "alone", "type": "command", "apply": ["x"], "name_fr": "Son"}]})"));
        const TweakDefinition full = catalog.find(u"full"_s);
        QCOMPARE(QStringList({full.name, full.warning, full.description, full.section}),
                 QStringList({u"Son"_s, u"Fort"_s, u"Longue"_s, u"Audio"_s}));
        QCOMPARE(full.requiredTier, Tier::Pro);
        QCOMPARE(catalog.find(u"part"_s).name, u"Sound"_s);
        QCOMPARE(catalog.find(u"part"_s).warning, u"Loud"_s);
        QCOMPARE(catalog.find(u"alone"_s).name, u"Son"_s);
    }
};

QTEST_GUILESS_MAIN(tst_CatalogInFrench)
#include "tst_CatalogInFrench.moc"
