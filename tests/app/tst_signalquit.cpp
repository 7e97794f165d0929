#include "signalquit.h"

#include <QTimer>
#include <QtTest>

#include <cerrno>
#include <csignal>

class SignalQuitTest : public QObject
{
    Q_OBJECT

private slots:
    /// Before it runs, in it, and more of them than the pipe holds; errno stays as it is.
    void everySignalEndsTheLoop()
    {
        QVERIFY(prepareSignalQuit(QCoreApplication::instance()));
        for (const int early : { 1, 0, 100000 }) {
            errno = 4711;
            for (int i = 0; i < early; ++i)
                signalQuit(SIGTERM);
            QCOMPARE(errno, 4711);
            QTimer::singleShot(early == 0 ? 0 : 5000,
                               [early] { early == 0 ? signalQuit(SIGINT) : QCoreApplication::exit(99); });
            QCOMPARE(QCoreApplication::exec(), 0);
        }
    }
};

QTEST_GUILESS_MAIN(SignalQuitTest)
#include "tst_signalquit.moc"
