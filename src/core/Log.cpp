#include "core/Log.h"

#include "core/Paths.h"

#include <QDateTime>
#include <QMutex>
#include <QMutexLocker>

#include <cstdio>

namespace torvelane {

namespace {

struct LogState {
    QMutex mutex;
    LogLevel minimum = LogLevel::Info;
    bool openTried = false;
    std::unique_ptr<LogFile> file; ///< Null if it couldn't be opened: lines then go to standard error only.
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

void initLogging(LogLevel minimum, LogFileOpener open)
{
    LogState& log = state();
    const QMutexLocker locker(&log.mutex);
    log.minimum = minimum;
    if (log.openTried)
        return;
    log.openTried = true;
    log.file = open(Paths::logFile(), logRotationSizeBytes);
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
    const QByteArray bytes = line.toUtf8();
    const QByteArray whole = bytes + '\n';
    std::fwrite(whole.constData(), 1, static_cast<std::size_t>(whole.size()), stderr);
    std::fflush(stderr);
    if (log.file)
        log.file->append(bytes);
}

void closeLogging()
{
    LogState& log = state();
    const QMutexLocker locker(&log.mutex);
    log.file.reset();
    log.openTried = false;
    log.minimum = LogLevel::Info;
}

} // namespace torvelane
