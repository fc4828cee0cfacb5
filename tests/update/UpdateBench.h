#pragma once

#include "net/TestAuthority.h"
#include "platform/simulated/SimulatedPc.h"
#include "support/LoopbackServer.h"
#include "support/TestMachine.h"
#include "update/AutoUpdater.h"
#include "update/UpdateScript.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QMutex>
#include <QProcess>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

/// An installation, a feed that answers as a test wants, and the archives and signatures that it offers.
namespace torvelane::test {

using namespace Qt::StringLiterals;
using platform::SimulatedPc;

inline QByteArray runProgram(const QString& program, const QStringList& arguments, const QByteArray& input = {})
{
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished() || process.exitCode() != 0)
        qFatal("%s: %s", qPrintable(program), process.readAllStandardError().constData());
    return process.readAllStandardOutput();
}

inline QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

inline void put(const QString& path, const QByteArray& content,
                QFile::Permissions permissions = QFile::ReadOwner | QFile::WriteOwner)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile::remove(path);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.setPermissions(permissions))
        qFatal("Nothing to test with");
}

inline constexpr auto readable = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther;
inline constexpr auto executable = readable | QFile::ExeOwner | QFile::ExeOther;

/// An archive of entries that no tool for archives would make: "name=content", or "name@target" for a symbolic link.
inline QByteArray zip(const QStringList& entries)
{
    return runProgram(u"python3"_s, QStringList{u"-c"_s, uR"py(
import io, re, sys, zipfile
out = io.BytesIO()
with zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as archive:
    for argument in sys.argv[1:]:
        name, kind, content = re.fullmatch("([^=@]*)([=@])(.*)", argument).groups()
        entry = zipfile.ZipInfo(name)
        entry.create_system, entry.external_attr = 3, (0o120777 if kind == "@" else 0o100644) << 16
        archive.writestr(entry, content, zipfile.ZIP_DEFLATED)
sys.stdout.buffer.write(out.getvalue())
)py"_s} + entries);
}

inline const QStringList goodEntries{u"Torvelane/Torvelane.exe=new program"_s,
                                     u"Torvelane/platforms/qwindows.dll=new plugin"_s};

inline constexpr int amplyMs = 20000; ///< For a tool, whose start takes a busy machine a while.

/// A release server, an installation and a key.
struct Bench : TestMachine {
    Bench() : server([this](Exchange& exchange) { return serve(exchange); }, authority().server({}))
    {
        authority().trust();
        // As the machine's folder for temporary files, and within reach of other users.
        chmod(qPrintable(scratchFile(u"."_s)), 0755);
        QDir().mkpath(temporary());
        chmod(qPrintable(temporary()), 01777);
        put(inInstallation(u"Torvelane.exe"_s), "old program");
        QFile::link(u"/usr/bin/minisign"_s, inInstallation(u"minisign.exe"_s));
        for (const QString& key : {u"ours"_s, u"other"_s})
            runProgram(u"minisign"_s,
                       {u"-G"_s, u"-W"_s, u"-p"_s, scratchFile(key + u".pub"_s), u"-s"_s, scratchFile(key)});
        offer(zip(goodEntries));
        answers[u"/feed"_s] = {200,
                               R"({"tag_name":"v1.0.5","assets":[{"name":"Release.zip","browser_download_url":")"
                                   + server.url(u"/Release.zip"_s).toUtf8() + R"("}]})"};
    }

    static const TestAuthority& authority()
    {
        static const TestAuthority authority;
        return authority;
    }

    void offer(const QByteArray& archive, const QString& key = u"ours"_s)
    {
        put(scratchFile(u"signed"_s), archive);
        runProgram(u"minisign"_s,
                   {u"-S"_s, u"-s"_s, scratchFile(key), u"-m"_s, scratchFile(u"signed"_s), u"-x"_s,
                    scratchFile(u"signature"_s)});
        answers[u"/Release.zip"_s] = {200, archive};
        answers[u"/Release.zip.minisig"_s] = {200, contentOf(scratchFile(u"signature"_s))};
    }

    [[nodiscard]] QString temporary() const { return scratchFile(u"temporary"_s); }
    [[nodiscard]] QString staging() const { return temporary() + u"/torvelane_update"_s; }
    [[nodiscard]] QString script() const { return temporary() + u"/torvelane_update.bat"_s; }
    [[nodiscard]] QString inInstallation(const QString& name) const { return scratchFile(u"installation/"_s + name); }

    [[nodiscard]] UpdateSettings settings() const
    {
        return {.feedUrl = server.url(u"/feed"_s),
                .publicKey = QString::fromLatin1(contentOf(scratchFile(u"ours.pub"_s)).split('\n').value(1)),
                .currentVersion = u"1.0.4"_s,
                .programFile = inInstallation(u"Torvelane.exe"_s),
                .temporaryDir = temporary(),
                .toolTimeoutMs = toolTimeoutMs};
    }

    [[nodiscard]] bool update() const { return AutoUpdater::checkAndUpdate(settings()); }

    struct Answer {
        int status = 200;
        QByteArray content;
        QByteArray headers = {};
        qint64 missingBytes = 0; ///< Of what it says that it sends.
    };
    QHash<QString, Answer> answers;
    int toolTimeoutMs = amplyMs; ///< Shorter for tools that hang.

private:
    bool serve(Exchange& exchange)
    {
        const QMutexLocker lock(&m_mutex);
        const Answer answer = answers.value(QString::fromLatin1(exchange.path), {404, "not here", {}, 0});
        if (answer.missingBytes == 0)
            return exchange.answer(answer.status, answer.content, answer.headers);
        exchange.send("HTTP/1.1 200 OK\r\nContent-Length: "
                      + QByteArray::number(answer.content.size() + answer.missingBytes) + "\r\n\r\n" + answer.content);
        return false;
    }

    QMutex m_mutex;
    LoopbackServer server;
};

inline QStringList installationOf(const Bench& bench)
{
    QStringList files;
    for (const QFileInfo& file : QDir(bench.inInstallation({})).entryInfoList(QDir::Files | QDir::Hidden))
        files +=
            file.fileName() + u' ' + QString::fromLatin1(contentOf(file.filePath()).first(std::min(file.size(), 20LL)));
    return files;
}

} // namespace torvelane::test
