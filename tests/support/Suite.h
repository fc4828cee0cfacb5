#pragma once

#include "support/ScratchMachine.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <thread>
#include <vector>

namespace torvelane::test {

/// A suite with a new machine for each of its tests.
class MachineSuite : public QObject {
    Q_OBJECT

protected Q_SLOTS:
    void init() { m_machine.emplace(); }
    void cleanup() { m_machine.reset(); }

protected:
    std::optional<ScratchMachine> m_machine;
};

/// For what is at random: TORVELANE_RANDOM_SEED, which repeats a run, or another one each time.
inline quint32 randomSeed()
{
    const QString any = QString::number(QRandomGenerator::system()->generate());
    const quint32 seed = qEnvironmentVariable("TORVELANE_RANDOM_SEED", any).toUInt();
    qInfo("TORVELANE_RANDOM_SEED=%u", seed);
    return seed;
}

} // namespace torvelane::test

/// What every suite begins with. Included by suites and their benches alone, which is why it may open namespaces.
using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
