#include "platform/GraphicsAdapters.h"
#include "platform/NetDevices.h"
#include "platform/Processes.h"
#include "platform/RecycleBin.h"
#include "platform/SpecialFolders.h"
#include "platform/SystemLoad.h"
#include "support/Suite.h"
#include "support/windows/Native.h"

#include <QProcessEnvironment>

#include <shellapi.h>

using namespace torvelane::platform;

namespace {

/// Has this program wait for the end of its standard input.
const QString waitOption = u"--wait"_s;

/// A copy of this program runs from `path`, which may be longer than what most calls take.
class RunningCopy {
public:
    explicit RunningCopy(const QString& path)
    {
        const QString own = QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
        if (!CopyFileW(native(own), native(u"\\\\?\\"_s + path), TRUE))
            return;
        SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        HANDLE input = nullptr;
        CreatePipe(&input, &m_end, &inherited, 0);
        SetHandleInformation(m_end, HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = input;
        startup.hStdOutput = startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
        QString line = u"copy "_s + waitOption;
        // Wine takes none with the prefix, and no long one at all.
        for (const QString& spelling : {QString(u"\\\\?\\"_s + path), path}) {
            if (CreateProcessW(native(spelling), reinterpret_cast<wchar_t*>(line.data()), nullptr, nullptr, TRUE, 0,
                               nullptr, nullptr, &startup, &m_process))
                break;
            m_process = {};
        }
        CloseHandle(input);
    }
    ~RunningCopy() { end(); }
    RunningCopy(const RunningCopy&) = delete;
    RunningCopy& operator=(const RunningCopy&) = delete;

    void end()
    {
        if (m_end)
            CloseHandle(std::exchange(m_end, nullptr));
        if (m_process.hProcess) {
            WaitForSingleObject(m_process.hProcess, 20000);
            CloseHandle(std::exchange(m_process.hProcess, nullptr));
            CloseHandle(m_process.hThread);
        }
    }

    [[nodiscard]] quint32 id() const { return m_process.dwProcessId; }

private:
    HANDLE m_end = nullptr;
    PROCESS_INFORMATION m_process{};
};

} // namespace

/// The facilities that ask the system for something, with the real calls.
class tst_WindowsFacilities : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void graphicsAdapters()
    {
        QList<GraphicsAdapter> adapters{GraphicsAdapter()};
        QCOMPARE(listGraphicsAdapters(adapters), HResult::Ok);
        QVERIFY(!adapters.isEmpty());
        for (const GraphicsAdapter& adapter : std::as_const(adapters)) {
            QVERIFY(!adapter.description.isEmpty());
            QVERIFY(adapter.vendorId != 0);
        }
    }

    void processorTimes()
    {
        const std::optional<SystemTimes> before = systemTimes();
        QVERIFY(before.has_value());
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 300) { }
        const std::optional<SystemTimes> after = systemTimes();
        QVERIFY(after.has_value());
        const quint64 passed = (after->kernel - before->kernel) + (after->user - before->user);
        QVERIFY2(passed >= 1'000'000, qPrintable(QString::number(passed))); // a third of what one processor did
        QVERIFY(after->kernel - before->kernel >= after->idle - before->idle);
    }

    void counterThatDoesNotExist()
    {
        CounterQuery query;
        QVERIFY(!query.open(u"\\No Such Object(*)\\No Such Counter"_s));
        QVERIFY(!query.collect());
        QVERIFY(!query.items().has_value());
        QVERIFY(!query.open(u"no path"_s));
    }

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

    void imagePaths()
    {
        for (const qsizetype length : {259, 260, 700}) {
            const bool fits = length < 260;
            if (!fits && isWine())
                continue; // it starts nothing with such a path
            const QTemporaryDir scratch;
            QString folder = QDir::toNativeSeparators(scratch.path());
            while (length - folder.size() > 120) {
                folder += u'\\' + QString(100, u'f');
                QVERIFY(CreateDirectoryW(native(u"\\\\?\\"_s + folder), nullptr));
            }
            const QString path = folder + u'\\' + QString(length - folder.size() - 5, u'p') + u".exe"_s;
            QCOMPARE(path.size(), length);
            {
                RunningCopy copy(path);
                QVERIFY(copy.id() != 0);
                const QString found = processImagePath(copy.id());
                copy.end();
                QCOMPARE(found, fits ? path : QString());
                QTRY_COMPARE(processImagePath(copy.id()), QString());
            }
            // Qt's own recursive removal stops at such a length.
            for (QString at = path; at.size() > scratch.path().size(); at = at.left(at.lastIndexOf(u'\\'))) {
                const QString prefixed = u"\\\\?\\"_s + at;
                QVERIFY(at == path ? DeleteFileW(native(prefixed)) : RemoveDirectoryW(native(prefixed)));
            }
        }
    }

    void noNetworkDevice()
    {
        NetDeviceList devices;
        QCOMPARE(devices.open(), Win32Error::Success);
        QVERIFY(!devices.select(100'000));
        QVERIFY(!devices.instanceId().has_value());
        QVERIFY(devices.restart() != Win32Error::Success);
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
        for (const auto& [variable, folder] : {std::pair(u"D:\\Temp"_s, u"D:\\Temp"_s),
                                               {u"D:/Some Folder/Temp//"_s, u"D:\\Some Folder\\Temp"_s},
                                               {u"D:\\"_s, u"D:\\"_s},
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

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(waitOption))
        return waitForEndOfInput();
    tst_WindowsFacilities test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_WindowsFacilities.moc"
