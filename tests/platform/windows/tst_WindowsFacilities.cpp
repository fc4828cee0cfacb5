#include "platform/Processes.h"
#include "platform/RecycleBin.h"
#include "platform/SpecialFolders.h"
#include "support/Suite.h"
#include "support/windows/Native.h"

#include <shellapi.h>

using namespace torvelane::platform;

/// The facilities that ask the system for something, with the real calls.
class tst_WindowsFacilities : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runningProcesses()
    {
        QList<RunningProcess> processes;
        QCOMPARE(listProcesses(processes), Win32Error::Success);
        const auto own = std::ranges::find(processes, GetCurrentProcessId(), &RunningProcess::id);
        QVERIFY(own != processes.end());
        QCOMPARE(own->executable, QFileInfo(QCoreApplication::applicationFilePath()).fileName());
        QCOMPARE(QDir::fromNativeSeparators(processImagePath(own->id)), QCoreApplication::applicationFilePath());
        QCOMPARE(processImagePath(0xfffffff0), QString());
    }

    /// The bin is the user's own, also under Wine unless its place is set; so nothing is emptied elsewhere.
    void recycleBin()
    {
        QVERIFY(recycleBinSizeBytes().has_value());
        const QString ownBin = qEnvironmentVariable("XDG_DATA_HOME");
        if (!ownBin.contains(u"torvelane-wine"_s))
            QSKIP("the bin isn't the test's own");
        std::ignore = emptyRecycleBin();
        QCOMPARE(recycleBinSizeBytes(), std::optional<qint64>(0));
        const QTemporaryDir scratch(QDir::homePath() + u"/bin-XXXXXX"_s);
        QFile file(scratch.filePath(u"thrown away"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(QByteArray(12345, 'x')), 12345);
        file.close();
        // Of two NULs at the end the text itself has one.
        const QString list = QDir::toNativeSeparators(file.fileName()) + QChar();
        SHFILEOPSTRUCTW operation{};
        operation.wFunc = FO_DELETE;
        operation.pFrom = native(list);
        operation.fFlags = FOF_ALLOWUNDO | FOF_NOCONFIRMATION | FOF_SILENT | FOF_NOERRORUI;
        QCOMPARE(SHFileOperationW(&operation), 0);
        QCOMPARE(recycleBinSizeBytes(), std::optional<qint64>(12345));
        QCOMPARE(emptyRecycleBin(), HResult::Ok);
        QCOMPARE(recycleBinSizeBytes(), std::optional<qint64>(0));
    }

    void specialFolders()
    {
        const QString before = specialFolder(SpecialFolder::Temporary);
        QVERIFY(QDir(before).exists());
        for (const auto& [variable, folder] : {std::pair(u"D:/Some Folder/Temp//"_s, u"D:\\Some Folder\\Temp"_s),
                                               {u"D:\\\u65e5\u672c \u00e9"_s, u"D:\\\u65e5\u672c \u00e9"_s},
                                               {QString(), QString()}}) {
            SetEnvironmentVariableW(L"TEMP", variable.isEmpty() ? nullptr : native(variable));
            _wputenv_s(L"TEMP", native(variable));
            const QString found = specialFolder(SpecialFolder::Temporary);
            _wputenv_s(L"TEMP", native(before));
            QCOMPARE(found, folder);
        }
        QCOMPARE(specialFolder(SpecialFolder::SystemRoot).toLower(), u"c:\\windows"_s);
        QCOMPARE(specialFolder(SpecialFolder::ProgramFiles), u"C:\\Program Files"_s);
        QCOMPARE(specialFolder(SpecialFolder::ProgramFilesX86), u"C:\\Program Files (x86)"_s);
        QCOMPARE(specialFolder(SpecialFolder::ProgramData), u"C:\\ProgramData"_s);
        QVERIFY(QDir(specialFolder(SpecialFolder::LocalAppData)).exists());
    }
};

QTEST_GUILESS_MAIN(tst_WindowsFacilities)
#include "tst_WindowsFacilities.moc"
