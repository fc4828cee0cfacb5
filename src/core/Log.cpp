#include "core/Log.h"

#include "core/Paths.h"

#include <QDateTime>
#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QTextStream>

#include <cstdio>

namespace torvelane {

namespace {

constexpr QIODevice::OpenMode fileMode = QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text;

struct LogState {
    QMutex mutex;
    LogLevel minimum = LogLevel::Info;
    bool openTried = false;
    QFile file;

    /// Keeps one old generation. After a failed open the file stays closed and lines go to standard error only.
    void rotate()
    {
        file.close();
        const QString path = file.fileName();
        const QString oldPath = path + QStringLiteral(".1");
        QFile::remove(oldPath);
        QFile::rename(path, oldPath);
        [[maybe_unused]] const bool opened = file.open(fileMode);
    }
};

LogState& state()
{
    static LogState instance;
    return instance;
}

QString levelText(LogLevel level)
{
    switch (level) {
    case LogLevel::Info:
        return QStringLiteral("INFO");
    case LogLevel::Warn:
        return QStringLiteral("WARN");
    case LogLevel::Error:
        return QStringLiteral("ERROR");
    case LogLevel::Debug:
        break;
    }
    return QStringLiteral("DEBUG");
}

/// Characters that would end the line, or steer the terminal that shows it or the order of its text, as \n, \r or their
/// number.
QString oneLine(const QString& message)
{
    QString line;
    line.reserve(message.size());
    for (const QChar c : message) {
        const QChar::Category kind = c.category();
        if (c == QLatin1Char('\n'))
            line += QLatin1String("\\n");
        else if (c == QLatin1Char('\r'))
            line += QLatin1String("\\r");
        else if (kind == QChar::Other_Control || kind == QChar::Other_Format || kind == QChar::Separator_Line
                 || kind == QChar::Separator_Paragraph)
            line += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        else
            line += c;
    }
    return line;
}

} // namespace

void initLogging(LogLevel minimum)
{
    LogState& log = state();
    const QMutexLocker locker(&log.mutex);
    log.minimum = minimum;
    if (log.openTried)
        return;
    log.openTried = true;
    log.file.setFileName(Paths::logFile());
    [[maybe_unused]] const bool opened = log.file.open(fileMode);
}

void logMessage(LogLevel level, const QString& category, const QString& message)
{
    LogState& log = state();
    const QMutexLocker locker(&log.mutex);
    if (level < log.minimum)
        return;

    const QString line = QStringLiteral("%1 [%2] %3: %4")
                             .arg(QDateTime::currentDateTime().toString(Qt::ISODateWithMs), levelText(level), category,
                                  oneLine(message));
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr);
    std::fflush(stderr);

    if (log.file.isOpen() && log.file.size() >= logRotationSizeBytes)
        log.rotate();
    if (log.file.isOpen()) {
        QTextStream stream(&log.file);
        stream.setEncoding(QStringConverter::Utf8);
        stream << line << QLatin1Char('\n');
        stream.flush();
        log.file.flush();
    }
}

void closeLogging()
{
    LogState& log = state();
    const QMutexLocker locker(&log.mutex);
    log.file.close();
    log.openTried = false;
    log.minimum = LogLevel::Info;
}

} // namespace torvelane
