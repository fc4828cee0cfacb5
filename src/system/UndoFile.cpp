#include "system/UndoFile.h"

#include "core/Log.h"
#include "core/WholeFile.h"
#include "platform/Registry.h"
#include "system/MachineLock.h"

#include <QFile>

#include <algorithm>
#include <chrono>
#include <utility>

namespace torvelane {

namespace {

constexpr std::chrono::milliseconds delay(100);
constexpr qsizetype longestLine = 78; ///< As long as Windows' own exports make them.

const QString lineEnd = QStringLiteral("\r\n");

bool hasControlCharacter(const QString& text)
{
    return std::ranges::any_of(text, [](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7f; });
}

QString quoted(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('"'), QLatin1String("\\\""));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

/// Bytes with the number of their type, in lines that go on behind a backslash.
QString hexText(const QString& begin, quint32 type, const QByteArray& bytes)
{
    QString text =
        begin + (type == platform::regBinary ? QStringLiteral("hex:") : QStringLiteral("hex(%1):").arg(type, 0, 16));
    qsizetype lineBegin = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (i > 0)
            text += QLatin1Char(',');
        if (text.size() - lineBegin > longestLine - 3) {
            text += QLatin1Char('\\') + lineEnd;
            lineBegin = text.size();
            text += QLatin1String("  ");
        }
        text += QString::fromLatin1(bytes.mid(i, 1).toHex());
    }
    return text;
}

QByteArray littleEndian(quint64 number)
{
    QByteArray bytes;
    for (int i = 0; i < 8; ++i)
        bytes.append(static_cast<char>(number >> (8 * i)));
    return bytes;
}

/// In UTF-16, with the terminator.
QByteArray textBytes(const QString& text)
{
    QByteArray bytes;
    const auto append = [&bytes](char16_t unit) {
        bytes.append(static_cast<char>(unit));
        bytes.append(static_cast<char>(unit >> 8));
    };
    for (const QChar c : text)
        append(c.unicode());
    append(0);
    return bytes;
}

QString valueLine(const QString& name, const RegistryValue& value)
{
    const QString begin = (name.isEmpty() ? QStringLiteral("@") : quoted(name)) + QLatin1Char('=');
    switch (value.exists ? value.kind : RegistryValueKind::None) {
    case RegistryValueKind::Dword:
        return begin + QStringLiteral("dword:%1").arg(static_cast<quint32>(value.number), 8, 16, QLatin1Char('0'));
    case RegistryValueKind::Qword:
        return hexText(begin, platform::regQword, littleEndian(value.number));
    case RegistryValueKind::Sz:
        return hasControlCharacter(value.text) ? hexText(begin, platform::regSz, textBytes(value.text))
                                               : begin + quoted(value.text);
    case RegistryValueKind::ExpandSz:
        return hexText(begin, platform::regExpandSz, textBytes(value.text));
    case RegistryValueKind::Binary:
        return hexText(begin, platform::regBinary, value.bytes);
    case RegistryValueKind::None:
        break;
    }
    return begin + QLatin1Char('-');
}

/// A text of the snapshots, without what would end its line.
QString comment(QString text)
{
    std::ranges::replace_if(
        text, [](QChar c) { return hasControlCharacter(c); }, QLatin1Char(' '));
    return QLatin1String("; ") + text + lineEnd;
}

} // namespace

QByteArray undoFileText(QList<ValueLedger::Held> values)
{
    QList<std::pair<QString, const ValueLedger::Held*>> sorted;
    for (const ValueLedger::Held& held : std::as_const(values))
        sorted.emplaceBack(held.place.key(), &held);
    std::ranges::sort(sorted);

    QString text = QStringLiteral("Windows Registry Editor Version 5.00") + lineEnd + lineEnd
        + comment(QStringLiteral("Puts back every registry value that Torvelane has changed at present."));
    QString key;
    for (const auto& [sortKey, held] : std::as_const(sorted)) {
        const auto& [place, original, wish, holders] = *held;
        const QString heldKey = longHiveName(place.hive) + QLatin1Char('\\') + place.path;
        const bool isWritable =
            original && !place.path.isEmpty() && !hasControlCharacter(place.path) && !hasControlCharacter(place.name);
        if (isWritable && heldKey.compare(std::exchange(key, heldKey), Qt::CaseInsensitive) != 0)
            text += lineEnd + QLatin1Char('[') + heldKey + QLatin1Char(']') + lineEnd;
        for (const QString& holder : holders)
            text += comment(holder);
        text += isWritable ? valueLine(place.name, *original) + lineEnd
                           : comment(QStringLiteral("its original isn't known: %1").arg(placeText(place)));
    }
    return QByteArray("\xFF\xFE") + textBytes(text).chopped(2);
}

UndoFile::UndoFile(ValueLedger& ledger, QString path) : m_ledger(ledger), m_path(std::move(path)) { }

UndoFile::~UndoFile()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_isEnding = true;
    }
    m_condition.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void UndoFile::request()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_isRequested = true;
        if (!m_thread.joinable())
            m_thread = std::thread([this] { run(); });
    }
    m_condition.notify_all();
}

void UndoFile::flush()
{
    std::unique_lock lock(m_mutex);
    m_isHurried = true;
    m_condition.notify_all();
    m_condition.wait(lock, [this] { return !m_isRequested && !m_isWriting; });
    m_isHurried = false;
}

void UndoFile::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_condition.wait(lock, [this] { return m_isRequested || m_isEnding; });
        if (!m_isRequested)
            return;
        m_condition.wait_for(lock, delay, [this] { return m_isEnding || m_isHurried; });
        m_isRequested = false;
        m_isWriting = true;
        lock.unlock();
        const bool isWritten = write();
        lock.lock();
        m_isWriting = false;
        m_isRequested = m_isRequested || (!isWritten && !m_isEnding);
        m_condition.notify_all();
    }
}

/// Under the lock between processes, so that an older state doesn't replace a newer one. False if another process has it:
/// that one writes the file after its change. Waiting in the lock would have this process's other threads wait as well.
bool UndoFile::write() const
{
    const MachineLock machineLock(0);
    if (machineLock.isHeldElsewhere())
        return false;
    const QByteArray bytes = undoFileText(m_ledger.heldValues());
    if (QFile present(m_path); present.open(QIODevice::ReadOnly) && present.readAll() == bytes)
        return true;
    QString reason;
    if (WholeFile::write(m_path, bytes, {}, &reason) != WholeFile::WriteError::None)
        logMessage(LogLevel::Error, QStringLiteral("ledger"), QStringLiteral("Cannot write undo.reg: ") + reason);
    return true;
}

} // namespace torvelane
