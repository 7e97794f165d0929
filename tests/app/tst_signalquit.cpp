#include "signalquit.h"

#include <QTimer>
#include <QtTest>

#include <cerrno>
#include <csignal>

class SignalQuitTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void signalBeforeTheLoopIsNotLost();
    void signalDuringTheLoopEndsIt();
    void manySignalsDoNoHarm();

private:
    static int runLoop();
};

void SignalQuitTest::initTestCase()
{
    QVERIFY(prepareSignalQuit(QCoreApplication::instance()));
    std::signal(SIGTERM, signalQuit);
}

int SignalQuitTest::runLoop()
{
    QTimer giveUp;
    QObject::connect(&giveUp, &QTimer::timeout, [] { QCoreApplication::exit(99); });
    giveUp.start(5000);
    return QCoreApplication::exec();
}

void SignalQuitTest::signalBeforeTheLoopIsNotLost()
{
    std::raise(SIGTERM);
    QCOMPARE(runLoop(), 0);
}

void SignalQuitTest::signalDuringTheLoopEndsIt()
{
    QTimer::singleShot(0, [] { std::raise(SIGTERM); });
    QCOMPARE(runLoop(), 0);
}

void SignalQuitTest::manySignalsDoNoHarm()
{
    errno = 4711;
    for (int i = 0; i < 100000; ++i) // more than the pipe holds
        signalQuit(SIGTERM);
    QCOMPARE(errno, 4711);
    QCOMPARE(runLoop(), 0);
}

QTEST_GUILESS_MAIN(SignalQuitTest)

#include "tst_signalquit.moc"
