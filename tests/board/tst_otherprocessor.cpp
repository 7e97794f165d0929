// Both workers as built for a development machine: they refuse, and touch nothing.
#include "atmegaupdate.h"
#include "fakeinstrument.h"
#include "messagelog.h"
#include "recordedsystem.h"
#include "vrkupdate.h"

#include <QSignalSpy>
#include <QtTest>

class OtherProcessorTest : public QObject
{
    Q_OBJECT

private slots:
    void installerRefuses() { refuses<VRKUpdate>(); }
    void boardUpdaterRefuses() { refuses<AtmegaUpdate>(); }

private:
    template <typename Worker>
    static void refuses();
};

template <typename Worker>
void OtherProcessorTest::refuses()
{
    FakeInstrument::reset();
    MessageLog log;
    Worker worker(nullptr);
    worker.setImagePath(QCoreApplication::applicationFilePath());
    QSignalSpy results(&worker, &Worker::resultReady);
    QSignalSpy progress(&worker, &Worker::progressChanged);
    worker.start();
    QVERIFY(worker.wait(10000));
    QCoreApplication::processEvents();

    QCOMPARE(QList<QVariantList>(results), QList<QVariantList>({ { false } }));
    QCOMPARE(progress.count(), 0);
    QCOMPARE(log.messages(),
             QStringList(QStringLiteral("warning: Update is not supported on non-ARM platforms")));
    QCOMPARE(RecordedSystem::commandLines(), QStringList());
    QCOMPARE(fakeInstrument().calls.size(), 2); // in and out of the scope, no flash
}

QTEST_GUILESS_MAIN(OtherProcessorTest)

#include "tst_otherprocessor.moc"
