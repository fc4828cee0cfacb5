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
    void feed_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("archiveUrl");
        QTest::addColumn<QString>("signatureUrl");
        QTest::addColumn<qsizetype>("refused");

        const auto row = [](const char* name, const QByteArray& document, const QString& version = {},
                            const QString& archive = {}, const QString& signature = {}, qsizetype refused = 0) {
            QTest::newRow(name) << document << version << archive << signature << refused;
        };
        const auto withAssets = [](const QByteArray& assets) -> QByteArray {
            return "{\"tag_name\":\"v2\",\"assets\":" + assets + '}';
        };
        row("nothing", "");
        row("no JSON", "<html>502</html>");
        row("array", "[1,2]");
        row("tag of another type", R"({"tag_name":105,"assets":[]})");
        row("V alone", R"({"tag_name":"V"})");
        row("only one v goes", R"({"tag_name":"vV1"})", u"V1"_s);
        row("unicode", R"({"tag_name":"v1.٣.0\n"})", u"1.٣.0\n"_s);
        row("endless tag", "{\"tag_name\":\"" + QByteArray(257, '1') + "\"}");
        row("assets of another type", withAssets(R"("none")"), u"2"_s);
        row("odd assets", withAssets(R"([null,3,[],{"name":7},{"name":"Release.zip"}])"), u"2"_s, {}, {}, 1);
        const auto asset = [](const QByteArray& name, const QByteArray& url) -> QByteArray {
            return "{\"name\":\"" + name + "\",\"browser_download_url\":\"" + url + "\"},";
        };
        const auto with = [withAssets](const QByteArray& assets) { return withAssets('[' + assets.chopped(1) + ']'); };
        row("other case",
            with(asset("RELEASE.ZIP", "https://a/b") + asset("release.zip.MINISIG", "https://a/c")
                 + asset("Release.zip.old", "https://a/d")),
            u"2"_s, u"https://a/b"_s, u"https://a/c"_s);
        row("not https", with(asset("Release.zip", "http://a/b") + asset("Release.zip.minisig", "file:///c")), u"2"_s,
            {}, {}, 2);
        row("https without a host", with(asset("Release.zip", "https:b")), u"2"_s, {}, {}, 1);
    }

    void feed()
    {
        QFETCH(QByteArray, document);
        const Release release = parseRelease(document);
        QTEST(release.version, "version");
        QTEST(release.archiveUrl, "archiveUrl");
        QTEST(release.signatureUrl, "signatureUrl");
        QTEST(release.refused.size(), "refused");
    }

    void versions_data()
    {
        QTest::addColumn<QString>("published");
        QTest::addColumn<bool>("isSame");
        for (const QString& same : {u"1.0.4"_s, u"1.0.4.0"_s, u"1.0.4."_s, u"01.0.4"_s, u"1.0.4.x"_s, u"1..4"_s,
                                    QString(u"1.0.4"_s + u".0"_s.repeated(37))})
            QTest::newRow(qPrintable(same)) << same << true;
        for (const QString& other : {u"1.0.3"_s, u"1.0.5-rc1"_s, u"1.0.40"_s, u"1.0"_s, u"4.0.1"_s, u"1.0.4.0.1"_s,
                                     u"1.0.4294967300"_s, u"1.0.99999999999999999999"_s, u"٤"_s})
            QTest::newRow(qPrintable(other)) << other << false;
    }

    void versions()
    {
        QFETCH(QString, published);
        QTEST(isSameVersion(published, u"1.0.4"_s), "isSame");
        QTEST(isSameVersion(u"1.0.4"_s, published), "isSame");
    }

    void entries_data()
    {
        QTest::addColumn<QString>("listing");
        QTest::addColumn<QString>("unsafe");
        QTest::addColumn<bool>("isOdd");

        const auto unsafe = [](const QString& entry) {
            QTest::addRow("unsafe %s", qPrintable(entry))
                << QString(u"a\r\n"_s + entry + u"\r\nb\r\n"_s) << entry.trimmed() << true;
        };
        for (const QString& entry :
             {u"a/../../b"_s, u".."_s, u"C:/x"_s, u"c:x"_s, u"/x"_s, u"\\x"_s, u"\\\\host\\share\\x"_s,
              u"//host/share/x"_s, u"a\\..\\b"_s, u"  /x"_s, u"\\\\?\\C:\\x"_s})
            unsafe(entry);
        const auto odd = [](const QString& listing) {
            QTest::addRow("odd %s", qPrintable(listing)) << listing << QString() << true;
        };
        for (const QString& entry :
             {u"a/b."_s,         u"a /b"_s,      u"a/ b"_s,      u"..."_s,   u"./a"_s,  u"dir/file:stream"_s,
              u"CON"_s,          u"a/nul.txt"_s, u"Com1 .dll"_s, u"aux/a"_s, u"lpt9"_s, u"a?b"_s,
              u"a\\b"_s,         u"caf\u00e9"_s, u"a\ufffdb"_s,  u"a\tb"_s,  u"a\na"_s, u"A/x\na/y"_s,
              u"a.dll\nA.DLL"_s, u"a\na/b"_s,    u"a/b\na"_s})
            odd(entry);
        for (const QString& fine :
             {u"a..b/c\n"_s, u"d/\nd/e/\nd/e/f\nd/g\n"_s, u"d/e\nd/\n"_s, u"console/COM10\nnullify"_s})
            QTest::addRow("fine %s", qPrintable(fine)) << fine << QString() << false;
    }

    void entries()
    {
        QFETCH(QString, listing);
        const QStringList names = listedEntries(listing);
        QTEST(firstUnsafeEntry(names), "unsafe");
        if (firstUnsafeEntry(names).isEmpty())
            QTEST(!firstOddEntry(names).isEmpty(), "isOdd");
    }

    void manyEntries()
    {
        QString listing;
        for (int i = 0; i < 100000; ++i)
            listing += u"folder/%1.dll\n"_s.arg(i);
        const QStringList names = listedEntries(listing);
        QCOMPARE(names.size(), 100000);
        QCOMPARE(firstOddEntry(names), QString());
    }

    void unpacked_data()
    {
        QTest::addColumn<QString>("extra");
        QTest::addColumn<QString>("difference");
        QTest::newRow("as listed") << u""_s << QString();
        QTest::newRow("more") << u"top/x/more"_s << u"top/x/more isn't listed"_s;
        QTest::newRow("a folder more") << u"else/"_s << u"else isn't listed"_s;
        QTest::newRow("less") << u"-top/x/b"_s << u"top/x/b is missing"_s;
        QTest::newRow("a folder in place of a file") << u"-top/x/b top/x/b/"_s << u"top/x/b isn't listed"_s;
#ifndef Q_OS_WIN
        QTest::newRow("other case") << u"-top/x/b top/x/B"_s << u"top/x/B isn't listed"_s;
        QTest::newRow("symbolic link") << u"-top/x/b top/x/b@/etc/passwd"_s << u"top/x/b is a link"_s;
        QTest::newRow("linked folder") << u"-top/x/b top/x/b@/etc"_s << u"top/x/b is a link"_s;
        QTest::newRow("dangling link") << u"-top/x/b top/x/b@nowhere"_s << u"top/x/b is a link"_s;
#endif
        QTest::newRow("hard link") << u"-top/x/b top/x/b=outside"_s << u"top/x/b is a link"_s;
    }

    void unpacked()
    {
        QFETCH(QString, extra);
        const QTemporaryDir dir;
        const QString root = dir.filePath(u"extracted"_s);
        put(dir.filePath(u"outside"_s));
        for (const QString& path : {u"top/a"_s, u"top/x/b"_s})
            put(root + u'/' + path);
        for (const QString& step : extra.split(u' ', Qt::SkipEmptyParts)) {
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
        QTEST(unpackedDifference(root, {u"top/"_s, u"top/a"_s, u"top/x/b"_s}), "difference");
    }

    /// cmd.exe runs this as administrator: each character counts.
    void script()
    {
        const QByteArray text = updateScript(
            {.source = u"C:/t/extracted/%1"_s, .target = u"D:/100%/Torvelane"_s, .staging = u"C:/t"_s}, 4711);
        QByteArray expected = R"(@echo off
@chcp 65001 >nul
set LOG=%TEMP%\torvelane_update.log
echo [%date% %time%] helper started; waiting for pid 4711 >> "%LOG%"
powershell -NoProfile -Command "Wait-Process -Id 4711 -ErrorAction SilentlyContinue" >nul 2>&1
set GUARD_WAS_RUNNING=0
sc query TorvelaneGuard | findstr /C:"RUNNING" >nul 2>&1 && set GUARD_WAS_RUNNING=1
if "%GUARD_WAS_RUNNING%"=="1" (
  echo [%date% %time%] stopping TorvelaneGuard for the copy >> "%LOG%"
  net stop TorvelaneGuard >nul 2>&1
)
echo [%date% %time%] copying new files >> "%LOG%"
robocopy "C:/t/extracted/%%1" "D:/100%%/Torvelane" /E /R:10 /W:1 /NP >> "%LOG%" 2>&1
set ROBO_ERR=0
if errorlevel 8 set ROBO_ERR=1
if "%GUARD_WAS_RUNNING%"=="1" net start TorvelaneGuard >nul 2>&1
if "%ROBO_ERR%"=="1" (
  echo [%date% %time%] ERROR: robocopy failed, app not relaunched >> "%LOG%"
) else (
  echo [%date% %time%] update ok, relaunching >> "%LOG%"
  start "" /D "D:/100%%/Torvelane" "D:/100%%/Torvelane\Torvelane.exe"
)
rd /s /q "C:/t" >nul 2>&1
(goto) 2>nul & del "%~f0"
)";
        for (const char* path : {"C:/t/extracted/%%1", "D:/100%%/Torvelane", "C:/t"})
            expected.replace(path, QDir::toNativeSeparators(QString::fromLatin1(path)).toLatin1());
        QCOMPARE(text, expected.replace("\n", "\r\n"));
    }
};

QTEST_GUILESS_MAIN(tst_UpdateChecks)
#include "tst_UpdateChecks.moc"
