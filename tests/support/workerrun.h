// Runs a worker thread of the product from start to end, as a test wants it.
#pragma once

#include "fakeinstrument.h"

#include <QSignalSpy>
#include <QtTest>

/// Runs `worker` to its end and returns its one result. Notes the moment of the result among the
/// fake instrument's calls.
template <typename Worker>
bool runWorker(Worker *worker)
{
    QSignalSpy results(worker, &Worker::resultReady);
    QObject::connect(worker, &Worker::resultReady,
                     [] { FakeInstrument::note(QStringLiteral("resultReady")); });
    worker->start();
    [&] { QVERIFY(worker->wait(10000)); }();
    QCoreApplication::processEvents();
    [&] { QCOMPARE(results.count(), 1); }();
    return results.value(0).value(0).toBool();
}
