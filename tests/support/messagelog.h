// What happens in a test, in its order: Qt's messages, and what the test and its fakes note.
#pragma once

#include <QThread>
#include <QtTest>

/// Takes over Qt's message log for as long as it lives; one at a time. Each message is kept as
/// "warning: text", "debug: text" or "info: text".
class MessageLog
{
public:
    /// Keeps the messages of all threads, or of the one that is named.
    explicit MessageLog(const QThread *thread = nullptr);
    ~MessageLog();
    Q_DISABLE_COPY(MessageLog)

    /// Adds a line of another kind; on any thread.
    static void note(const QString &line);

    /// Shows a thread sanitizer, which sees none of Qt's locks, that this thread's work is before whatever follows
    /// take().
    static void handOver();

    /// All lines so far, which are then forgotten.
    static QStringList take();

private:
    QtMessageHandler m_previous;
};

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
