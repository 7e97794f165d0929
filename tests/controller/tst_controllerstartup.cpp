// The controller from its first turn of the event loop to the operator's question.
#include "controllerbench.h"
#include "fakeinstrument.h"

#include <QTimer>
#include <QtTest>

#include <cstring>

class ControllerStartupTest : public ControllerTest
{
    Q_OBJECT

private slots:
    void startUp_data();
    void startUp();
    void welcomeIsShownWhileTheLibraryStarts();
    void question_data();
    void question();
    void versionTextsEndWithTheirRecord();
    void extractVersion_data();
    void extractVersion();
};

void ControllerStartupTest::startUp_data()
{
    QTest::addColumn<bool>("archiveNamed");
    QTest::addColumn<bool>("silent");
    QTest::addColumn<bool>("debug");
    QTest::addColumn<int>("initializeResult");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("libraryCalls");

    const auto row = [](const char *name, bool archiveNamed, bool silent, bool debug, int result,
                        const char *expected) {
        QTest::newRow(name) << archiveNamed << silent << debug << result
                            << QString::fromLatin1(expected) << (result == 0 ? 3 : 1);
    };
    row("question", true, false, false, 0,
        "Please do not remove the usb drive or power off the device|"
        "Are you sure you want to update the system from  to unknown?|yes/no");
    row("silent, archive gone", true, true, true, 0, "|Required update files missing|Reboot");
    row("no archive named", false, false, true, 0,
        "|Error upgrading firmware: Please check USB drive|Reboot");
    row("no archive named, silent", false, true, false, 0,
        "|Error upgrading firmware: Please check USB drive|Reboot");
    row("library fails", true, false, false, 5, "|Failed to initialize VRK library|Reboot");
    row("library fails without an archive", false, true, true, -1,
        "|Failed to initialize VRK library|Reboot");
}

void ControllerStartupTest::startUp()
{
    QFETCH(bool, archiveNamed);
    QFETCH(bool, silent);
    QFETCH(bool, debug);
    QFETCH(int, initializeResult);
    QFETCH(int, libraryCalls);
    fakeInstrument().initializeResult = static_cast<VRK_ResultCode>(initializeResult);
    Controller controller(archiveNamed ? Controller::UPDATE_ZEPRA : Controller::DISPLAY_ERROR,
                          debug, silent, QString(), nullptr);
    QCoreApplication::processEvents();

    QTEST(screen(controller), "expected");
    QCOMPARE(controller.isProgressBarIndeterminate(),
             libraryCalls == 1 || (archiveNamed && silent));
    const QStringList calls = { QStringLiteral("VRK_Lib_Initialize"),
                                QStringLiteral("VRK_GetDeviceInfo"),
                                QStringLiteral("VRK_GetStatus") };
    QCOMPARE(fakeInstrument().calls, calls.mid(0, libraryCalls));
    QCOMPARE(int(fakeInstrument().mode), 3);
    QCOMPARE(fakeInstrument().debug, debug);
    QCOMPARE(fakeInstrument().userData, static_cast<void *>(&controller));
    QCOMPARE(controller.exitCode(), 0);

    QStringList records;
    if (libraryCalls == 3)
        records << QStringLiteral("INFO VRK_Status: 0")
                << QStringLiteral("WARN Measurement board not connected");
    if (archiveNamed && silent)
        records << QStringLiteral("ERROR Could not find file ");
    QCOMPARE(logRecords(), records);
}

void ControllerStartupTest::welcomeIsShownWhileTheLibraryStarts()
{
    const auto controller = make(Controller::UPDATE_ZEPRA, false);
    bool pendingProcessed = false;
    QTimer::singleShot(0, controller.get(), [&] { pendingProcessed = true; });
    QString shown;
    bool processedBefore = false;
    fakeInstrument().onInitialize = [&] {
        shown = screen(*controller);
        processedBefore = pendingProcessed;
    };
    QCoreApplication::processEvents();
    QCOMPARE(shown, QStringLiteral("|Welcome to updater|yes/no|busy"));
    QVERIFY(processedBefore);
}

void ControllerStartupTest::question_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("offered");
    QTest::addColumn<int>("queryResult");
    QTest::newRow("version") << QStringLiteral("/media/usb/zepra_update_v3.4.5.tar.gz")
                             << QStringLiteral("3.4.5") << 0;
    QTest::newRow("percent signs")
            << QStringLiteral("/zepra_update_v%1%2.tar.gz") << QStringLiteral("%1%2") << 0;
    QTest::newRow("not Latin") << QStringLiteral("/zepra_update_v3-\u0431.tar.gz")
                               << QStringLiteral("3-\u0431") << 0;
    QTest::newRow("library answers with an error")
            << QStringLiteral("/zepra_update_v4.tar.gz") << QStringLiteral("4") << 35;
}

void ControllerStartupTest::question()
{
    QFETCH(QString, path);
    QFETCH(QString, offered);
    QFETCH(int, queryResult);
    fakeInstrument().queryResult = static_cast<VRK_ResultCode>(queryResult);
    fakeInstrument().fillDeviceInfo = [](VRK_DeviceInfo *info) {
        qstrncpy(info->systemVersion, "3.4.0 %2", sizeof info->systemVersion);
    };
    fakeInstrument().fillStatus = [](VRK_Status *status) { status->boardConnected = 2; };
    const auto controller = make(Controller::UPDATE_ZEPRA, false, path);
    QCoreApplication::processEvents();
    QCOMPARE(screen(*controller),
             QStringLiteral("Please do not remove the usb drive or power off the device|"
                            "Are you sure you want to update the system from 3.4.0 %2 to ")
                     + offered + QLatin1String("?|yes/no"));
    QCOMPARE(logRecords(), QStringList(QStringLiteral("INFO VRK_Status: %1").arg(queryResult)));
}

void ControllerStartupTest::versionTextsEndWithTheirRecord()
{
    fakeInstrument().fillDeviceInfo = [](VRK_DeviceInfo *info) {
        std::memset(info->systemVersion, '7', sizeof info->systemVersion);
        std::memset(info->atmegaVersion, '8', sizeof info->atmegaVersion);
    };
    const auto controller = make(Controller::UPDATE_ZEPRA, false);
    QCoreApplication::processEvents();
    QVERIFY(controller->message().contains(QLatin1String("from ") + QString(21, QLatin1Char('7'))
                                           + QLatin1String(" to")));
}

void ControllerStartupTest::extractVersion_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("version");
    const auto row = [](const char *name, const char *version) {
        QTest::newRow(name) << QByteArray(name) << QByteArray(version);
    };
    row("zepra_update_v3.4.5.tar.gz", "3.4.5");
    row("update.tar.gz", "");
    row("/media/zepra_update_v.tar.gz", "");
    row("/media/a.tar.gz/zepra_update_v2.tar.gz", "");
    row("/media/zepra_update_v1/zepra_update_v2.tar.gz", "1/zepra_update_v2");
    row("zepra_update_v3.TAR.GZ", "");
    row("zepra_update_v3", "");
    row(".tar.gz", "");
    row("", "");
}

void ControllerStartupTest::extractVersion()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, version);
    QCOMPARE(
            Controller::ExtractVersionFromFilename(name.toStdString(), "zepra_update_v", ".tar.gz"),
            version.toStdString());
}

int main(int argc, char **argv)
{
    ControllerStartupTest test;
    return runControllerTest(&test, argc, argv);
}

#include "tst_controllerstartup.moc"
