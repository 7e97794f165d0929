// The controller from the installed system to the last screen: the board's firmware.
#include "controllerbench.h"
#include "fakeinstrument.h"
#include "recordedsystem.h"
#include "vrkupdate.h"

#include <QDir>
#include <QTimer>
#include <QtTest>

namespace {

QString s_goneFile;

void connectBoard()
{
    fakeInstrument().fillStatus = [](VRK_Status *status) { status->boardConnected = 1; };
}

} // namespace

/// Comes before Qt's own: the one file has gone since its folder was listed.
bool QFile::exists(const QString &path)
{
    return path != s_goneFile && QFileInfo::exists(path);
}

class ControllerFirmwareTest : public ControllerTest
{
    Q_OBJECT

private slots:
    void cleanup() { s_goneFile.clear(); }

    void firmwareSelection_data();
    void firmwareSelection();
    void oldestFirmwareFileIsChosen();
    void noFirmwareFile_data();
    void noFirmwareFile();
    void endings_data();
    void endings();
};

void ControllerFirmwareTest::firmwareSelection_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("newVersion");
    QTest::addColumn<QString>("boardVersion");
    QTest::addColumn<bool>("connected");
    QTest::addColumn<QString>("record"); // empty where the board is flashed
    const QString same = QStringLiteral("INFO Versions are the same, ignoring ATMEGA update");
    const QString absent = QStringLiteral(
            "ERROR Measurement board not connected, ignoring ATMEGA update");
    const auto row = [](const char *name, const char *file, const char *newVersion,
                        const char *board, bool connected, const QString &record) {
        QTest::newRow(name) << QString::fromLatin1(file) << QString::fromLatin1(newVersion)
                            << QString::fromLatin1(board) << connected << record;
    };
    row("older board", "ZEPRA_AFW_2.07.hex", "2.07", "2.06", true, {});
    row("newer board", "ZEPRA_AFW_2.07.hex", "2.07", "2.08", true, {});
    row("almost the same", "ZEPRA_AFW_2.07.hex", "2.07", "2.7", true, {});
    row("same", "ZEPRA_AFW_2.07.hex", "2.07", "2.07", true, same);
    row("absent", "ZEPRA_AFW_2.07.hex", "2.07", "2.06", false, absent);
    row("absent and the same", "ZEPRA_AFW_2.07.hex", "2.07", "2.07", false, absent);
    row("board without version", "ZEPRA_AFW_2.07.hex", "2.07", "", true, {});
    row("file without version", "ZEPRA_AFW_.hex", "", "2.07", true, {});
    row("neither has one", "ZEPRA_AFW_.hex", "", "", true, same);
    row("other letter case", "zepra_afw_2.07.HEX", "", "2.07", true, {});
}

void ControllerFirmwareTest::firmwareSelection()
{
    if (!missingFolders().isEmpty())
        QSKIP(qPrintable(missingFolders()));
    QFETCH(QString, file);
    QFETCH(QString, newVersion);
    QFETCH(QString, boardVersion);
    QFETCH(bool, connected);
    QFETCH(QString, record);
    fakeInstrument().fillDeviceInfo = [&](VRK_DeviceInfo *info) {
        qstrncpy(info->atmegaVersion, boardVersion.toLatin1().constData(),
                 sizeof info->atmegaVersion);
    };
    fakeInstrument().fillStatus = [&](VRK_Status *status) { status->boardConnected = connected; };
    QStringList flashedPaths;
    fakeInstrument().flash = [&](const char *path, const VRK_ProgressCallback *) {
        flashedPaths << QString::fromLatin1(path);
        return VRK_RESULT_OK;
    };
    addFirmware(file);
    addFirmware(QStringLiteral("ZEPRA_AFW_2.07.hex.bak"), 9);
    const auto controller = make(Controller::UPDATE_ZEPRA, false);
    QCoreApplication::processEvents();
    logRecords().clear();
    emit controller->findChild<VRKUpdate *>()->resultReady(true);

    QTRY_COMPARE(controller->message(), QStringLiteral("Firmware upgrade successful"));
    const bool flashed = record.isEmpty();
    QCOMPARE(flashedPaths, flashed ? QStringList(firmwareFile(file)) : QStringList());
    const QStringList records = {
        QLatin1String("INFO Current ATMEGA version: ") + boardVersion,
        QLatin1String("INFO New ATMEGA version: ") + newVersion,
        flashed ? QLatin1String("INFO AtmegaUpdate::setImagePath: ") + firmwareFile(file) : record
    };
    QCOMPARE(logRecords(), records);
}

void ControllerFirmwareTest::oldestFirmwareFileIsChosen()
{
    if (!missingFolders().isEmpty())
        QSKIP(qPrintable(missingFolders()));
    addFirmware(QStringLiteral("ZEPRA_AFW_1.hex"), 1);
    addFirmware(QStringLiteral("ZEPRA_AFW_2.hex"), 3);
    addFirmware(QStringLiteral("ZEPRA_AFW_3.hex"), 2);
    const QString folder = firmwareFile(QStringLiteral("ZEPRA_AFW_4.hex"));
    QVERIFY(QDir().mkdir(folder));
    makeOlder(folder, 8);
    const QString link = firmwareFile(QStringLiteral("ZEPRA_AFW_0.hex"));
    QVERIFY(QFile::link(QStringLiteral("/nowhere"), link));
    makeOlder(link, 9);
    const auto controller = make(Controller::UPDATE_ZEPRA, false);
    QCoreApplication::processEvents();
    emit controller->findChild<VRKUpdate *>()->resultReady(true);
    QVERIFY(logRecords().contains(QStringLiteral("INFO New ATMEGA version: 2")));
}

void ControllerFirmwareTest::noFirmwareFile_data()
{
    QTest::addColumn<QString>("present"); // of: a file, a matching "folder", "link" and "file"
    QTest::addColumn<QString>("expected");
    const QString none = QStringLiteral("|Error upgrading firmware|Reboot");
    QTest::newRow("missing folder") << QString() << none;
    QTest::newRow("nothing that matches") << QStringLiteral("other") << none;
    QTest::newRow("matching folder") << QStringLiteral("folder") << none;
    QTest::newRow("dangling link") << QStringLiteral("link") << none;
    QTest::newRow("gone again") << QStringLiteral("file")
                                << QStringLiteral("|ATMEGA update file missing: %1|Reboot")
                                           .arg(firmwareFile(QStringLiteral("ZEPRA_AFW_2.hex")));
}

/// Not even a silent run ends by itself here.
void ControllerFirmwareTest::noFirmwareFile()
{
    if (!missingFolders().isEmpty())
        QSKIP(qPrintable(missingFolders()));
    QFETCH(QString, present);
    QFETCH(QString, expected);
    const QString name = QStringLiteral("ZEPRA_AFW_2.hex");
    if (present.isEmpty())
        QVERIFY(QDir().rmdir(firmwareFile(QString())));
    else if (present == QLatin1String("folder"))
        QVERIFY(QDir().mkdir(firmwareFile(name)));
    else if (present == QLatin1String("link"))
        QVERIFY(QFile::link(QStringLiteral("/nowhere"), firmwareFile(name)));
    else
        addFirmware(present == QLatin1String("file") ? name : QStringLiteral("ZEPRA_AFW_2.hex~"));
    s_goneFile = firmwareFile(name);
    connectBoard();
    for (const bool silent : { false, true }) {
        const auto controller = make(Controller::UPDATE_ZEPRA, silent);
        QCoreApplication::processEvents();
        bool finished = false;
        QTimer::singleShot(0, controller.get(), [&] {
            emit controller->findChild<VRKUpdate *>()->resultReady(true);
            finished = true;
        });
        QCOMPARE(runLoop([&] { return finished; }), -1);
        QCOMPARE(screen(*controller), silent ? expected : pleaseDoNot() + expected);
    }
    QVERIFY(!fakeInstrument().calls.contains(QStringLiteral("VRK_FlashATMEGA_file")));
}

void ControllerFirmwareTest::endings_data()
{
    QTest::addColumn<bool>("installed");
    QTest::addColumn<int>("flashResult");
    QTest::addColumn<bool>("silent");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("status");
    const QString done = QStringLiteral("Please remove USB and then select Reboot|"
                                        "Firmware upgrade successful|Reboot");
    const QString boardFailed = QStringLiteral(
            "|Error upgrading measurement board firmware|Reboot");
    const QString systemFailed = QStringLiteral("|Error upgrading firmware|Reboot");
    QTest::newRow("success, silent") << true << 0 << true << done << 0;
    QTest::newRow("success") << true << 0 << false << done << -1;
    QTest::newRow("board fails, silent") << true << 35 << true << boardFailed << 1;
    QTest::newRow("board fails") << true << 35 << false << pleaseDoNot() + boardFailed << -1;
    QTest::newRow("system fails, silent") << false << 0 << true << systemFailed << -1;
    QTest::newRow("system fails") << false << 0 << false << pleaseDoNot() + systemFailed << -1;
}

/// A whole run, from the start or the yes to its last screen. A loop that goes on is status -1.
void ControllerFirmwareTest::endings()
{
    if (!missingFolders().isEmpty())
        QSKIP(qPrintable(missingFolders()));
    QFETCH(bool, installed);
    QFETCH(int, flashResult);
    QFETCH(bool, silent);
    connectBoard();
    fakeInstrument().flash = [=](const char *, const VRK_ProgressCallback *) {
        return static_cast<VRK_ResultCode>(flashResult);
    };
    RecordedSystem::answerWith([=](const QString &line) {
        const bool otherMounted = line == QLatin1String("mount | grep -c mmcblk1p4");
        return otherMounted || (!installed && line.startsWith(QLatin1String("sed"))) ? failed : 0;
    });
    addFirmware(QStringLiteral("ZEPRA_AFW_2.07.hex"));
    const auto controller = make(Controller::UPDATE_ZEPRA, silent, archiveFile());
    if (!silent) {
        QCoreApplication::processEvents(); // up to the question
        QTimer::singleShot(0, controller.get(), &Controller::handleButtonContinue);
    }
    QTEST(runLoop([&] { return !silent || !installed ? controller->isButtonVisible() : false; }),
          "status");

    QTEST(screen(*controller), "expected");
    QCOMPARE(controller->progress(), installed ? 1.0 : 0.99);
    QCOMPARE(controller->exitCode(), 0);
    const QString record = QStringLiteral("WARN Update finished successfully, please reboot the "
                                          "device to complete update");
    QCOMPARE(logRecords().count(record), silent && installed && flashResult == 0 ? 1 : 0);
}

int main(int argc, char **argv)
{
    ControllerFirmwareTest test;
    return runControllerTest(&test, argc, argv);
}

#include "tst_controllerfirmware.moc"
