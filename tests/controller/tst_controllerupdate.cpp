// The controller's archive check and the operator's buttons.
#include "atmegaupdate.h"
#include "controllerbench.h"
#include "fakeinstrument.h"
#include "messagelog.h"
#include "recordedsystem.h"
#include "vrkupdate.h"

#include <QTimer>
#include <QtTest>

#include <atomic>

using Handler = void (ApplicationController::*)();
Q_DECLARE_METATYPE(Handler)

class ControllerUpdateTest : public ControllerTest
{
    Q_OBJECT

private slots:
    void archiveCheck_data();
    void archiveCheck();
    void yesLeadsThroughWelcome();
    void screenLivesDuringTheArchiveCheck();
    void secondStartIsRefused_data();
    void secondStartIsRefused();
    void buttons_data();
    void buttons();
};

void ControllerUpdateTest::archiveCheck_data()
{
    QTest::addColumn<QString>("archive");
    QTest::addColumn<QString>("word"); // for the shell; %1 is the drive
    QTest::addColumn<int>("gzipStatus");
    const QString plain = QStringLiteral("a.tar.gz");
    const QString plainWord = QStringLiteral("%1/a.tar.gz");
    QTest::newRow("intact") << plain << plainWord << 0;
    QTest::newRow("corrupt") << plain << plainWord << failed;
    QTest::newRow("killed") << plain << plainWord << 9;
    QTest::newRow("no shell") << plain << plainWord << -1;
    QTest::newRow("folder") << QStringLiteral(".") << QStringLiteral("%1/.") << failed;
    QTest::newRow("shell characters")
            << QStringLiteral("a b'$(x).tar.gz") << QStringLiteral("'%1/a b'\\''$(x).tar.gz'") << 0;
    QTest::newRow("not Latin") << QStringLiteral("\u66f4\u65b0.tar.gz")
                               << QStringLiteral("'%1/\u66f4\u65b0.tar.gz'") << failed;
}

void ControllerUpdateTest::archiveCheck()
{
    QFETCH(QString, archive);
    QFETCH(QString, word);
    QFETCH(int, gzipStatus);
    if (archive != QLatin1String("."))
        archiveFile(archive);
    const auto controller = make(Controller::UPDATE_ZEPRA, true, onDrive(archive));
    QString shownDuringTest;
    bool onMainThread = true;
    RecordedSystem::answerWith([&](const QString &line) {
        if (!line.startsWith(QLatin1String("gzip -t")))
            return failed;
        shownDuringTest = screen(*controller); // the main thread only waits meanwhile
        onMainThread = QThread::currentThread() == controller->thread();
        return gzipStatus;
    });
    QCoreApplication::processEvents();
    QCOMPARE(screen(*controller),
             gzipStatus == 0 ? QStringLiteral("|Upgrading...|bar")
                             : QStringLiteral("|Error upgrading firmware: corrupt archive|Reboot"));
    QCOMPARE(shownDuringTest, QStringLiteral("|Checking for updates|busy"));
    QVERIFY(!onMainThread);

    auto *installer = controller->findChild<VRKUpdate *>();
    QVERIFY(installer->wait(10000));
    const QString shellWord = word.arg(drive());
    QCOMPARE(RecordedSystem::commandLines().value(0), QLatin1String("gzip -t ") + shellWord);
    QCOMPARE(RecordedSystem::commandLines().size() > 1, gzipStatus == 0);
    // A corrupt archive's path has reached the installer, too.
    installer->start();
    QVERIFY(installer->wait(10000));
    QVERIFY(RecordedSystem::commandLines().value(1).startsWith(QLatin1String("tar -xf ")
                                                               + shellWord));
}

void ControllerUpdateTest::yesLeadsThroughWelcome()
{
    const auto controller = make(Controller::UPDATE_ZEPRA, false, archiveFile());
    QCoreApplication::processEvents();
    QString shownDuringTest;
    RecordedSystem::answerWith([&](const QString &) {
        shownDuringTest = screen(*controller);
        return failed;
    });
    QStringList screens;
    connect(controller.get(), &Controller::messageChanged,
            [&] { screens << screen(*controller).mid(pleaseDoNot().size()); });
    controller->handleButtonContinue();
    QCOMPARE(shownDuringTest, pleaseDoNot() + QLatin1String("|Checking for updates|busy"));
    QCOMPARE(screens.value(0), QStringLiteral("|Welcome to updater"));
}

void ControllerUpdateTest::screenLivesDuringTheArchiveCheck()
{
    const auto controller = make(Controller::UPDATE_ZEPRA, true, archiveFile());
    std::atomic<bool> turned = false;
    std::atomic<bool> turnedMeanwhile = false;
    QTimer::singleShot(100, controller.get(), [&] { turned = true; });
    RecordedSystem::answerWith([&](const QString &) {
        for (int waits = 0; waits < 500 && !turned; ++waits)
            QThread::msleep(10);
        turnedMeanwhile = turned.load();
        return failed;
    });
    QCoreApplication::processEvents();
    QVERIFY(turnedMeanwhile);
}

void ControllerUpdateTest::secondStartIsRefused_data()
{
    QTest::addColumn<bool>("flashing");
    QTest::newRow("while installing") << false;
    QTest::newRow("while flashing") << true;
}

void ControllerUpdateTest::secondStartIsRefused()
{
    QFETCH(bool, flashing);
    std::atomic<bool> hold = true;
    const auto wait = [&hold] {
        while (hold)
            QThread::msleep(1);
    };
    RecordedSystem::answerWith([&](const QString &line) {
        if (!line.startsWith(QLatin1String("gzip")))
            wait();
        return failed;
    });
    fakeInstrument().flash = [&](const char *, const VRK_ProgressCallback *) {
        wait();
        return VRK_RESULT_UPGRADE_FILE_ERROR;
    };
    const auto controller = make(Controller::UPDATE_ZEPRA, false, archiveFile());
    QCoreApplication::processEvents();
    controller->findChild<VRKUpdate *>()->setImagePath(archiveFile());
    controller->findChild<AtmegaUpdate *>()->setImagePath(archiveFile());
    if (flashing)
        controller->findChild<AtmegaUpdate *>()->start();
    else
        controller->findChild<VRKUpdate *>()->start();

    MessageLog log;
    controller->handleButtonContinue();
    hold = false;
    QCOMPARE(log.messages(QStringLiteral("warning"))
                     .count(QStringLiteral("Update is already running in background thread!")),
             1);
    QCOMPARE(screen(*controller), pleaseDoNot() + QLatin1String("|Welcome to updater|busy"));
    QTRY_VERIFY(controller->isButtonVisible());
    QVERIFY(RecordedSystem::commandLines().filter(QStringLiteral("gzip")).isEmpty());
}

void ControllerUpdateTest::buttons_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<Handler>("press");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("status");
    const Handler yes = &Controller::handleButtonContinue;
    const Handler no = &Controller::handleButtonCancel;
    const Handler action = &Controller::handleButtonPress;
    const int update = Controller::UPDATE_ZEPRA;
    const int error = Controller::DISPLAY_ERROR;
    QTest::newRow("no") << update << no
                        << pleaseDoNot() + QLatin1String("|Cancelling...|yes/no|busy") << 0;
    QTest::newRow("no after an error") << error << no << QStringLiteral("|Cancelling...|busy") << 0;
    QTest::newRow("action after an error")
            << error << action << QStringLiteral("|Rebooting...|busy") << 0;
    QTest::newRow("yes after an error")
            << error << yes << QStringLiteral("|Welcome to updater|Reboot|busy") << -1;
}

void ControllerUpdateTest::buttons()
{
    QFETCH(int, mode);
    QFETCH(Handler, press);
    QFETCH(int, status);
    const auto controller = make(static_cast<Controller::UpdaterMode>(mode), false);
    QCoreApplication::processEvents();
    bool drawn = false;
    bool drawnInTime = false;
    bool pressed = false;
    QTimer::singleShot(0, controller.get(), [&] {
        QTimer::singleShot(0, controller.get(), [&] { drawn = true; });
        (controller.get()->*press)();
        drawnInTime = drawn;
        pressed = true;
    });
    QCOMPARE(runLoop([&] { return pressed; }), status);
    QTEST(screen(*controller), "expected");
    QCOMPARE(drawnInTime, status == 0);
    QCOMPARE(RecordedSystem::commandLines(), QStringList());
}

int main(int argc, char **argv)
{
    ControllerUpdateTest test;
    return runControllerTest(&test, argc, argv);
}

#include "tst_controllerupdate.moc"
