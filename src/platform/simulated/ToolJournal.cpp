#include "platform/simulated/ToolJournal.h"

#include "platform/simulated/Machine.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QThread>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {

ToolCallRecord::ToolCallRecord(const QString& tool, const QStringList& arguments)
    : m_commandLine((QStringList{tool} + arguments).join(u' '))
{
    Machine* const machine = Machine::current();
    if (!machine)
        return;
    QSqlQuery insert(machine->database());
    insert.prepare(u"INSERT INTO toolCall (startedMs, processId, tool, arguments) VALUES (?, ?, ?, ?)"_s);
    const QByteArray list = QJsonDocument(QJsonArray::fromStringList(arguments)).toJson(QJsonDocument::Compact);
    const Execution inserted(
        insert,
        {QDateTime::currentMSecsSinceEpoch(), QCoreApplication::applicationPid(), tool, QString::fromUtf8(list)});
    m_id = insert.lastInsertId().toLongLong();
}

std::optional<int> ToolCallRecord::meetFaults() const
{
    Machine* const machine = Machine::current();
    if (!machine)
        return std::nullopt;
    std::optional<int> exitCode;
    for (const Fault& fault : machine->conditions().faults) {
        if (fault.kind != FaultKind::HangTool && fault.kind != FaultKind::FailTool)
            continue;
        if (!m_commandLine.contains(fault.subject, Qt::CaseInsensitive))
            continue;
        if (fault.kind == FaultKind::HangTool)
            QThread::msleep(static_cast<unsigned long>(fault.code));
        else
            exitCode = static_cast<int>(fault.code);
    }
    return exitCode;
}

void ToolCallRecord::finish(int exitCode)
{
    Machine* const machine = Machine::current();
    if (!machine)
        return;
    QSqlQuery update(machine->database());
    update.prepare(u"UPDATE toolCall SET exitCode = ? WHERE id = ?"_s);
    const Execution updated(update, {exitCode, m_id});
}

} // namespace torvelane::platform::simulated
