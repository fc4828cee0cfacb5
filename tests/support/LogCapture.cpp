#include "support/LogCapture.h"

#include "core/Paths.h"

#include <QFile>
#include <QFileInfo>

namespace torvelane::test {

LogCapture::LogCapture() : m_start(QFileInfo(Paths::logFile()).size()) { }

QStringList LogCapture::lines() const
{
    QFile file(Paths::logFile());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text) || !file.seek(m_start))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (QString& line : lines)
        line = line.sliced(line.indexOf(QLatin1Char(' ')) + 1);
    return lines;
}

qsizetype LogCapture::count(const QString& line) const
{
    return lines().count(line);
}

} // namespace torvelane::test
