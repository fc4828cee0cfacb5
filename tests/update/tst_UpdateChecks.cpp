#include "support/Suite.h"
#include "update/ArchiveEntries.h"
#include "update/ReleaseFeed.h"
#include "update/UpdateScript.h"

#include <filesystem>

namespace {

void put(const QString& path)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("No file to look at");
}

} // namespace

/// What the updater concludes from texts and folders that it didn't make.
class tst_UpdateChecks : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void feed()
    {
        const auto withAssets = [](const QByteArray& assets) -> QByteArray {
            return "{\"tag_name\":\"v2\",\"assets\":" + assets + '}';
        };
        const auto asset = [](const QByteArray& name, const QByteArray& url) -> QByteArray {
            return "{\"name\":\"" + name + "\",\"browser_download_url\":\"" + url + "\"},";
        };
        const auto with = [withAssets](const QByteArray& assets) { return withAssets('[' + assets.chopped(1) + ']'); };
        const QString none;
        // The document, its version, the addresses of archive and signature, and how many of them are refused.
        const std::tuple<QByteArray, QString, QString, QString, qsizetype> cases[] = {
            {"<html>502</html>", none, none, none, 0},
            {"[1,2]", none, none, none, 0},
            {R"({"tag_name":105,"assets":[]})", none, none, none, 0},
            {R"({"tag_name":"vV1"})", u"V1"_s, none, none, 0},
            {"{\"tag_name\":\"" + QByteArray(257, '1') + "\"}", none, none, none, 0},
            {withAssets(R"([null,3,[],{"name":7},{"name":"Release.zip"}])"), u"2"_s, none, none, 1},
            {with(asset("RELEASE.ZIP", "https://a/b") + asset("release.zip.MINISIG", "https://a/c")
                  + asset("Release.zip.old", "https://a/d")),
             u"2"_s, u"https://a/b"_s, u"https://a/c"_s, 0},
            {with(asset("Release.zip", "http://a/b") + asset("Release.zip.minisig", "file:///c")), u"2"_s, none, none,
             2},
            {with(asset("Release.zip", "https:b")), u"2"_s, none, none, 1},
        };
        for (const auto& [document, version, archiveUrl, signatureUrl, refused] : cases) {
            const Release release = parseRelease(document);
            QCOMPARE(release.version, version);
            QCOMPARE(release.archiveUrl, archiveUrl);
            QCOMPARE(release.signatureUrl, signatureUrl);
            QCOMPARE(release.refused.size(), refused);
        }
    }

    void versions()
    {
        const QStringList same{u"1.0.4"_s,   u"1.0.4.0"_s, u"01.0.4"_s,
                               u"1.0.4.x"_s, u"1..4"_s,    u"1.0.4"_s + u".0"_s.repeated(37)};
        const QStringList others{u"1.0.3"_s, u"1.0.5-rc1"_s, u"1.0.40"_s, u"1.0"_s, u"1.0.4294967300"_s, u"٤"_s};
        for (const QString& published : same + others) {
            QVERIFY2(isSameVersion(published, u"1.0.4"_s) == same.contains(published), qPrintable(published));
            QVERIFY2(isSameVersion(u"1.0.4"_s, published) == same.contains(published), qPrintable(published));
        }
    }

    void entries()
    {
        for (const QString& unsafe :
             {u"a/../../b"_s, u".."_s, u"C:/x"_s, u"c:x"_s, u"/x"_s, u"\\x"_s, u"\\\\host\\share\\x"_s,
              u"//host/share/x"_s, u"a\\..\\b"_s, u"  /x"_s, u"\\\\?\\C:\\x"_s}) {
            const QString listing = u"a\r\n"_s + unsafe + u"\r\nb\r\n"_s;
            QCOMPARE(firstUnsafeEntry(listedEntries(listing)), unsafe.trimmed());
        }
        const QStringList odd{
            u"a/b."_s,         u"a /b"_s,      u"a/ b"_s,      u"..."_s,   u"./a"_s,  u"dir/file:stream"_s,
            u"CON"_s,          u"a/nul.txt"_s, u"Com1 .dll"_s, u"aux/a"_s, u"lpt9"_s, u"a?b"_s,
            u"a\\b"_s,         u"caf\u00e9"_s, u"a\ufffdb"_s,  u"a\tb"_s,  u"a\na"_s, u"A/x\na/y"_s,
            u"a.dll\nA.DLL"_s, u"a\na/b"_s,    u"a/b\na"_s};
        const QStringList fine{u"a..b/c\n"_s, u"d/\nd/e/\nd/e/f\nd/g\n"_s, u"d/e\nd/\n"_s, u"console/COM10\nnullify"_s};
        for (const QString& listing : odd + fine) {
            QCOMPARE(firstUnsafeEntry(listedEntries(listing)), QString());
            QVERIFY2(firstOddEntry(listedEntries(listing)).isEmpty() == fine.contains(listing), qPrintable(listing));
        }
        QString many;
        for (int i = 0; i < 100000; ++i)
            many += u"folder/%1.dll\n"_s.arg(i);
        QCOMPARE(listedEntries(many).size(), 100000);
        QCOMPARE(firstOddEntry(listedEntries(many)), QString());
    }

    void unpacked()
    {
        // What is done to the folder of the listing: "-" removes, "@" and "=" link by name and for good, others are made.
        const std::vector<std::pair<QString, QString>> cases{
            {{}, {}},
            {u"top/x/more"_s, u"top/x/more isn't listed"_s},
            {u"else/"_s, u"else isn't listed"_s},
            {u"-top/x/b"_s, u"top/x/b is missing"_s},
            {u"-top/x/b top/x/b/"_s, u"top/x/b isn't listed"_s},
#ifndef Q_OS_WIN
            {u"-top/x/b top/x/B"_s, u"top/x/B isn't listed"_s},
            {u"-top/x/b top/x/b@/etc/passwd"_s, u"top/x/b is a link"_s},
            {u"-top/x/b top/x/b@/etc"_s, u"top/x/b is a link"_s},
            {u"-top/x/b top/x/b@nowhere"_s, u"top/x/b is a link"_s},
#endif
            {u"-top/x/b top/x/b=outside"_s, u"top/x/b is a link"_s},
        };
        for (const auto& [steps, difference] : cases) {
            const QTemporaryDir dir;
            const QString root = dir.filePath(u"extracted"_s);
            put(dir.filePath(u"outside"_s));
            for (const QString& path : {u"top/a"_s, u"top/x/b"_s})
                put(root + u'/' + path);
            for (const QString& step : steps.split(u' ', Qt::SkipEmptyParts)) {
                const QString path = root + u'/' + step.section(u'@', 0, 0).section(u'=', 0, 0);
                if (step.startsWith(u'-'))
                    QVERIFY(QFile::remove(root + u'/' + step.sliced(1)));
                else if (step.endsWith(u'/'))
                    QVERIFY(QDir().mkpath(path));
                else if (step.contains(u'@'))
                    QVERIFY(QFile::link(step.section(u'@', 1), path));
                else if (step.contains(u'='))
                    std::filesystem::create_hard_link(dir.filePath(u"outside"_s).toStdWString(), path.toStdWString());
                else
                    put(path);
            }
            QCOMPARE(unpackedDifference(root, {u"top/"_s, u"top/a"_s, u"top/x/b"_s}), difference);
        }
    }

    /// cmd.exe runs this as administrator, so no folder's name may be taken for anything else.
    void script()
    {
        const QString text = QString::fromLatin1(updateScript(
            {.source = u"C:/t/%TEMP%"_s, .target = u"D:/100%/Torvelane"_s, .staging = u"C:\\t\\"_s}, 4711));
        const QString source = QDir::toNativeSeparators(u"C:/t/%%TEMP%%"_s);
        const QString target = QDir::toNativeSeparators(u"D:/100%%/Torvelane"_s);
        QVERIFY(text.contains(u"Wait-Process -Id 4711 "_s));
        QVERIFY(text.contains(u"\r\nrobocopy \"%1\" \"%2\" /E "_s.arg(source, target)));
        QVERIFY(text.contains(u"start \"\" /D \"%1\" \"%1\\Torvelane.exe\"\r\n"_s.arg(target)));
        QVERIFY(
            text.contains(u"rd /s /q \"C:\\t\\.\" "_s)); // a backslash before the quote would be read as one with it
        QVERIFY(!text.contains(u"/MIR"_s) && !text.contains(u"/PURGE"_s));
        QCOMPARE(text.count(u'\n'), text.count(u"\r\n"_s));
    }
};

QTEST_GUILESS_MAIN(tst_UpdateChecks)
#include "tst_UpdateChecks.moc"
