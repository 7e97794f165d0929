// Runs a worker thread of the product from start to end, as a test wants it.
#pragma once

#include "messagelog.h"

#include <QtTest>

/// Runs `worker` to its end; all that happened, with "progress fraction msecs" and "result 0 or 1"
/// at the moments when its signals were emitted.
template <typename Worker>
QStringList runWorker(Worker *worker)
{
    const MessageLog log;
    const QObject connections;
    QObject::connect(
            worker, &Worker::progressChanged, &connections,
            [](double progress, int msecs) { MessageLog::note(QString("progress %1 %2").arg(progress).arg(msecs)); },
            Qt::DirectConnection);
    QObject::connect(
            worker, &Worker::resultReady, &connections,
            [](bool result) { MessageLog::note(QString("result %1").arg(result)); }, Qt::DirectConnection);
    worker->start();
    [&] { QVERIFY(worker->wait(20000)); }();
    return log.take();
}

/// Compares line by line, so that the first that differs is shown.
inline void compareLines(const QStringList &lines, const QStringList &expected)
{
    for (int i = 0; i < qMax(lines.size(), expected.size()); ++i)
        QCOMPARE(lines.value(i), expected.value(i));
}
