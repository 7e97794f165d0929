#include "applicationcontroller.h"
#include "atmegaupdate.h"
#include "fakeinstrument.h"
#include "messagelog.h"
#include "privatefolders.h"
#include "recordedsystem.h"
#include "vrkupdate.h"

#include <QDir>
#include <QGuiApplication>
#include <QMetaMethod>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <plog/Log.h>

#include <atomic>
#include <cstring>
#include <memory>

namespace {

using Controller = ApplicationController;

constexpr int failed = 256; // as system() says of a command that exits with 1
const char firmwareFolder[] = "/usr/local/share/zentar/atmega";
QString s_noPrivateFolders;

QString severityName(plog::Severity severity)
{
    switch (severity) {
    case plog::error: return QStringLiteral("ERROR ");
    case plog::warning: return QStringLiteral("WARN ");
    case plog::info: return QStringLiteral("INFO ");
    default: return QStringLiteral("OTHER ");
    }
}

/// Keeps the records of the shared logger as "SEVERITY text".
class RecordKeeper : public plog::IAppender
{
public:
    void write(const plog::Record &record) override
    {
        const plog::util::nstring text = record.getMessage();
        records << severityName(record.getSeverity()) + QString::fromStdString(text);
    }

    QStringList records;
};

RecordKeeper &logRecords()
{
    static RecordKeeper keeper;
    return keeper;
}

template <std::size_t Size>
void setText(char (&field)[Size], const char *text)
{
    qstrncpy(field, text, Size);
}

/// What the operator sees, in one comparable line.
QString screen(const Controller &controller)
{
    QStringList parts = { controller.instructionsText(), controller.message() };
    if (controller.isConfirmationVisible())
        parts << QStringLiteral("yes/no");
    if (controller.isButtonVisible())
        parts << controller.buttonText();
    if (controller.isProgressBarVisible())
        parts << (controller.isProgressBarIndeterminate() ? QStringLiteral("busy")
                                                          : QStringLiteral("bar"));
    return parts.join(QLatin1Char('|'));
}

QString inLatin1(const char *text)
{
    return QString::fromLatin1(text);
}

} // namespace

class ApplicationControllerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void loadedScreen();
    void startUp_data();
    void startUp();
    void welcomeIsShownWhileTheLibraryStarts();
    void question_data();
    void question();
    void versionTextsEndWithTheirRecord();
    void extractVersion_data();
    void extractVersion();
    void storedLanguage();
    void archiveCheck_data();
    void archiveCheck();
    void secondStartIsRefused();
    void firmwareSelection_data();
    void firmwareSelection();
    void oldestFirmwareFileIsChosen();
    void endings_data();
    void endings();
    void buttonsEndTheLoop();
    void progressOnlyRises();
    void destructionEndsTheInstallerBetweenCommands();
    void destructionAwaitsTheFlash();

private:
    std::unique_ptr<Controller> make(Controller::UpdaterMode mode, bool silent,
                                     const QString &path = QString());
    /// Runs the event loop until it ends or `condition` holds; the loop's status, -1 if it did not
    /// end.
    static int runLoop(const std::function<bool()> &condition = nullptr);
    QString archiveFile(const QString &name);
    static void addFirmware(const QString &name, int ageDays = 0);

    std::unique_ptr<QTemporaryDir> m_drive;
};

void ApplicationControllerTest::initTestCase()
{
    plog::init(plog::debug, &logRecords());
}

void ApplicationControllerTest::init()
{
    FakeInstrument::reset();
    RecordedSystem::reset();
    logRecords().records.clear();
    m_drive = std::make_unique<QTemporaryDir>();
    if (s_noPrivateFolders.isEmpty()) {
        QDir(inLatin1(firmwareFolder)).removeRecursively();
        QDir(QStringLiteral("/var/zepra")).removeRecursively();
        QVERIFY(QDir().mkpath(inLatin1(firmwareFolder)));
    }
}

std::unique_ptr<Controller> ApplicationControllerTest::make(Controller::UpdaterMode mode,
                                                            bool silent, const QString &path)
{
    return std::make_unique<Controller>(mode, false, silent, path, nullptr);
}

int ApplicationControllerTest::runLoop(const std::function<bool()> &condition)
{
    constexpr int undecided = -1;
    QTimer poll;
    connect(&poll, &QTimer::timeout, [&] {
        if (condition && condition())
            QCoreApplication::exit(undecided);
    });
    poll.start(5);
    QTimer::singleShot(20000, &poll, [] { QCoreApplication::exit(99); });
    return QCoreApplication::exec();
}

QString ApplicationControllerTest::archiveFile(const QString &name)
{
    QFile file(m_drive->filePath(name));
    [&] { QVERIFY(file.open(QIODevice::WriteOnly)); }();
    return file.fileName();
}

void ApplicationControllerTest::addFirmware(const QString &name, int ageDays)
{
    QFile file(QDir(inLatin1(firmwareFolder)).filePath(name));
    [&] {
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.setFileTime(QDateTime::currentDateTime().addDays(-ageDays),
                                 QFileDevice::FileModificationTime));
    }();
}

void ApplicationControllerTest::loadedScreen()
{
    MessageLog log;
    const auto controller = make(Controller::UPDATE_ZEPRA, false, QStringLiteral("/a.tar.gz"));
    QCOMPARE(screen(*controller), QStringLiteral("||yes/no"));
    QCOMPARE(controller->buttonText(), QStringLiteral("Reboot"));
    QCOMPARE(controller->expectedDuration(), 1000);
    QCOMPARE(controller->progress(), 0.0);
    QCOMPARE(log.messages(),
             QStringList(QStringLiteral(
                     "info: ApplicationController::ApplicationController init with mode:  0"
                     "  Path: \"/a.tar.gz\"")));
    QCOMPARE(fakeInstrument().calls, QStringList());
    QCOMPARE(screen(*make(Controller::UPDATE_ZEPRA, true)), QStringLiteral("|"));

    const QMetaObject *meta = controller->metaObject();
    QStringList methods;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
        methods << QString::fromLatin1(meta->method(i).name());
    QCOMPARE(methods.join(QLatin1Char(' ')),
             inLatin1("messageChanged confirmationVisibleChanged instructionsTextChanged "
                      "buttonTextChanged"
                      " progressBarVisibleChanged progressBarIndeterminateChanged progressChanged"
                      " buttonVisibleChanged expectedDurationChanged init onAtmegaUpdateFinished"
                      " onVRKUpdateFinished handleButtonCancel handleButtonContinue "
                      "handleButtonPress"));
}

void ApplicationControllerTest::startUp_data()
{
    QTest::addColumn<bool>("archiveNamed");
    QTest::addColumn<bool>("silent");
    QTest::addColumn<int>("initializeResult");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("libraryCalls");

    QTest::newRow("question")
            << true << false << 0
            << inLatin1("Please do not remove the usb drive or power off the device|"
                        "Are you sure you want to update the system from  to unknown?|yes/no")
            << 3;
    QTest::newRow("silent, archive gone")
            << true << true << 0 << inLatin1("|Required update files missing|Reboot") << 3;
    QTest::newRow("no archive named")
            << false << false << 0
            << inLatin1("|Error upgrading firmware: Please check USB drive|Reboot") << 3;
    QTest::newRow("library fails")
            << true << false << 5 << inLatin1("|Failed to initialize VRK library|Reboot") << 1;
    QTest::newRow("library fails without an archive")
            << false << true << -1 << inLatin1("|Failed to initialize VRK library|Reboot") << 1;
}

void ApplicationControllerTest::startUp()
{
    QFETCH(bool, archiveNamed);
    QFETCH(bool, silent);
    QFETCH(int, initializeResult);
    QFETCH(int, libraryCalls);
    fakeInstrument().initializeResult = static_cast<VRK_ResultCode>(initializeResult);
    Controller controller(archiveNamed ? Controller::UPDATE_ZEPRA : Controller::DISPLAY_ERROR, true,
                          silent, QString(), nullptr);
    QCoreApplication::processEvents();

    QTEST(screen(controller), "expected");
    QCOMPARE(controller.isProgressBarIndeterminate(),
             libraryCalls == 1 || (archiveNamed && silent));
    const QStringList calls = { QStringLiteral("VRK_Lib_Initialize"),
                                QStringLiteral("VRK_GetDeviceInfo"),
                                QStringLiteral("VRK_GetStatus") };
    QCOMPARE(fakeInstrument().calls, calls.mid(0, libraryCalls));
    QCOMPARE(int(fakeInstrument().mode), 3);
    QVERIFY(fakeInstrument().debug);
    QCOMPARE(controller.exitCode(), 0);

    QStringList records;
    if (libraryCalls == 3)
        records << QStringLiteral("INFO VRK_Status: 0")
                << QStringLiteral("WARN Measurement board not connected");
    if (archiveNamed && silent)
        records << QStringLiteral("ERROR Could not find file ");
    QCOMPARE(logRecords().records, records);
}

void ApplicationControllerTest::welcomeIsShownWhileTheLibraryStarts()
{
    const auto controller = make(Controller::UPDATE_ZEPRA, false);
    QString shown;
    fakeInstrument().onInitialize = [&] { shown = screen(*controller); };
    QCoreApplication::processEvents();
    QCOMPARE(shown, QStringLiteral("|Welcome to updater|yes/no|busy"));
}

void ApplicationControllerTest::question_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("offered");
    QTest::newRow("version") << inLatin1("/media/usb/zepra_update_v3.4.5.tar.gz")
                             << inLatin1("3.4.5");
    QTest::newRow("percent signs") << inLatin1("/zepra_update_v%1%2.tar.gz") << inLatin1("%1%2");
    QTest::newRow("not Latin") << QStringLiteral("/zepra_update_v3-б.tar.gz")
                               << QStringLiteral("3-б");
}

void ApplicationControllerTest::question()
{
    QFETCH(QString, path);
    QFETCH(QString, offered);
    fakeInstrument().fillDeviceInfo = [](VRK_DeviceInfo *info) {
        setText(info->systemVersion, "3.4.0 %2");
    };
    fakeInstrument().fillStatus = [](VRK_Status *status) { status->boardConnected = 2; };
    const auto controller = make(Controller::UPDATE_ZEPRA, false, path);
    QCoreApplication::processEvents();
    QCOMPARE(controller->message(),
             QLatin1String("Are you sure you want to update the system from 3.4.0 %2 to ") + offered
                     + QLatin1Char('?'));
    QCOMPARE(logRecords().records, QStringList(QStringLiteral("INFO VRK_Status: 0")));
}

void ApplicationControllerTest::versionTextsEndWithTheirRecord()
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

void ApplicationControllerTest::extractVersion_data()
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

void ApplicationControllerTest::extractVersion()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, version);
    QCOMPARE(
            Controller::ExtractVersionFromFilename(name.toStdString(), "zepra_update_v", ".tar.gz"),
            version.toStdString());
}

void ApplicationControllerTest::storedLanguage()
{
    if (!s_noPrivateFolders.isEmpty())
        QSKIP(qPrintable(s_noPrivateFolders));
    const QString file = QStringLiteral("/var/zepra/vrk-gui/settings.ini");
    QVERIFY(QDir().mkpath(QFileInfo(file).path()));
    const QMap<QByteArray, bool> values = { { "language=12", true },    { "language=\"12\"", true },
                                            { "language=0", false },    { "language=13", false },
                                            { "language=ru", false },   { "language=12.5", false },
                                            { "language=1, 2", false }, { "", false } };
    for (auto value = values.begin(); value != values.end(); ++value) {
        QFile settings(file);
        QVERIFY(settings.open(QIODevice::WriteOnly));
        const QByteArray content = "[Regional]\n" + value.key() + "\n";
        settings.write(content);
        settings.close();
        const bool translated = make(Controller::DISPLAY_ERROR, false)->buttonText()
                != QLatin1String("Reboot");
        QVERIFY2(translated == value.value(), value.key().constData());
        QVERIFY(settings.open(QIODevice::ReadOnly));
        QCOMPARE(settings.readAll(), content);
    }
}

void ApplicationControllerTest::archiveCheck_data()
{
    QTest::addColumn<QString>("archive");
    QTest::addColumn<int>("gzipStatus");
    QTest::addColumn<QString>("expected");
    QTest::newRow("intact") << inLatin1("zepra_update_v2.tar.gz") << 0
                            << inLatin1("|Upgrading...|bar");
    QTest::newRow("corrupt") << inLatin1("zepra_update_v2.tar.gz") << failed
                             << inLatin1("|Error upgrading firmware: corrupt archive|Reboot");
    QTest::newRow("killed") << inLatin1("zepra_update_v2.tar.gz") << 9
                            << inLatin1("|Error upgrading firmware: corrupt archive|Reboot");
    QTest::newRow("no shell") << inLatin1("zepra_update_v2.tar.gz") << -1
                              << inLatin1("|Error upgrading firmware: corrupt archive|Reboot");
    QTest::newRow("folder") << inLatin1(".") << failed
                            << inLatin1("|Error upgrading firmware: corrupt archive|Reboot");
}

void ApplicationControllerTest::archiveCheck()
{
    QFETCH(QString, archive);
    QFETCH(int, gzipStatus);
    archiveFile(QStringLiteral("zepra_update_v2.tar.gz"));
    const QString path = m_drive->filePath(archive);
    std::atomic<bool> installing = false;
    QString shownDuringTest;
    const auto controller = make(Controller::UPDATE_ZEPRA, true, path);
    RecordedSystem::answerWith([&](const QString &line) {
        if (line.startsWith(QLatin1String("gzip -t"))) {
            shownDuringTest = screen(*controller); // the main thread only waits meanwhile
            return gzipStatus;
        }
        installing = true;
        return failed;
    });
    QCoreApplication::processEvents();
    QTEST(screen(*controller), "expected");
    QCOMPARE(shownDuringTest, QStringLiteral("|Checking for updates|busy"));
    QCOMPARE(RecordedSystem::commandLines().value(0), QLatin1String("gzip -t ") + path);
    QTRY_VERIFY(!controller->findChild<VRKUpdate *>()->isRunning());
    QCOMPARE(installing.load(), gzipStatus == 0);
}

void ApplicationControllerTest::secondStartIsRefused()
{
    const QString path = archiveFile(QStringLiteral("zepra_update_v2.tar.gz"));
    std::atomic<bool> hold = true;
    RecordedSystem::answerWith([&](const QString &line) {
        while (hold && line.startsWith(QLatin1String("tar")))
            QThread::msleep(1);
        return line.startsWith(QLatin1String("mount")) ? failed : 0;
    });
    const auto controller = make(Controller::UPDATE_ZEPRA, true, path);
    QCoreApplication::processEvents();
    MessageLog log;
    controller->handleButtonContinue();
    QCOMPARE(log.messages(QStringLiteral("warning"))
                     .count(QStringLiteral("Update is already running in background thread!")),
             1);
    QCOMPARE(screen(*controller), QStringLiteral("|Welcome to updater|busy"));
    hold = false;
    QTRY_COMPARE(screen(*controller), QStringLiteral("|Error upgrading firmware|Reboot"));
}

void ApplicationControllerTest::firmwareSelection_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("boardVersion");
    QTest::addColumn<bool>("connected");
    QTest::addColumn<bool>("flashed");
    QTest::addColumn<QString>("record");
    const QString same = inLatin1("INFO Versions are the same, ignoring ATMEGA update");
    const QString absent = inLatin1(
            "ERROR Measurement board not connected, ignoring ATMEGA update");
    const auto row = [](const char *name, const char *file, const char *board, bool connected,
                        bool flashed, const QString &record) {
        QTest::newRow(name) << inLatin1(file) << inLatin1(board) << connected << flashed << record;
    };
    row("older board", "ZEPRA_AFW_2.07.hex", "2.06", true, true, {});
    row("newer board", "ZEPRA_AFW_2.07.hex", "2.08", true, true, {});
    row("almost the same", "ZEPRA_AFW_2.07.hex", "2.7", true, true, {});
    row("same", "ZEPRA_AFW_2.07.hex", "2.07", true, false, same);
    row("absent", "ZEPRA_AFW_2.07.hex", "2.06", false, false, absent);
    row("board without version", "ZEPRA_AFW_2.07.hex", "", true, true, {});
    row("file without version", "ZEPRA_AFW_.hex", "2.07", true, true, {});
    row("neither has one", "ZEPRA_AFW_.hex", "", true, false, same);
    row("other letter case", "zepra_afw_2.07.HEX", "2.07", true, true, {});
}

void ApplicationControllerTest::firmwareSelection()
{
    if (!s_noPrivateFolders.isEmpty())
        QSKIP(qPrintable(s_noPrivateFolders));
    QFETCH(QString, file);
    QFETCH(QString, boardVersion);
    QFETCH(bool, connected);
    QFETCH(bool, flashed);
    QFETCH(QString, record);
    fakeInstrument().fillDeviceInfo = [&](VRK_DeviceInfo *info) {
        setText(info->atmegaVersion, boardVersion.toLatin1().constData());
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
    logRecords().records.clear();
    emit controller->findChild<VRKUpdate *>()->resultReady(true);

    QTRY_COMPARE(controller->message(), QStringLiteral("Firmware upgrade successful"));
    const QString path = inLatin1(firmwareFolder) + QLatin1Char('/') + file;
    QCOMPARE(flashedPaths, flashed ? QStringList(path) : QStringList());
    const std::string newVersion = Controller::ExtractVersionFromFilename(file.toStdString(),
                                                                          "ZEPRA_AFW_", ".hex");
    QStringList records = { QLatin1String("INFO Current ATMEGA version: ") + boardVersion,
                            QLatin1String("INFO New ATMEGA version: ")
                                    + QString::fromStdString(newVersion) };
    records << (flashed ? QLatin1String("INFO AtmegaUpdate::setImagePath: ") + path : record);
    QCOMPARE(logRecords().records, records);
}

void ApplicationControllerTest::oldestFirmwareFileIsChosen()
{
    if (!s_noPrivateFolders.isEmpty())
        QSKIP(qPrintable(s_noPrivateFolders));
    addFirmware(QStringLiteral("ZEPRA_AFW_1.hex"), 1);
    addFirmware(QStringLiteral("ZEPRA_AFW_3.hex"), 3);
    addFirmware(QStringLiteral("ZEPRA_AFW_2.hex"), 2);
    const auto controller = make(Controller::UPDATE_ZEPRA, false);
    QCoreApplication::processEvents();
    emit controller->findChild<VRKUpdate *>()->resultReady(true);
    QVERIFY(logRecords().records.contains(QStringLiteral("INFO New ATMEGA version: 3")));
}

void ApplicationControllerTest::endings_data()
{
    QTest::addColumn<bool>("installed");
    QTest::addColumn<int>("flashResult");
    QTest::addColumn<bool>("silent");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("status");
    const QString done = inLatin1("Please remove USB and then select Reboot|"
                                  "Firmware upgrade successful|Reboot");
    const QString boardFailed = inLatin1("|Error upgrading measurement board firmware|Reboot");
    const QString systemFailed = inLatin1("|Error upgrading firmware|Reboot");
    QTest::newRow("success, silent") << true << 0 << true << done << 0;
    QTest::newRow("success") << true << 0 << false << done << -1;
    QTest::newRow("board fails, silent") << true << 35 << true << boardFailed << 1;
    QTest::newRow("board fails") << true << 35 << false << boardFailed << -1;
    QTest::newRow("system fails, silent") << false << 0 << true << systemFailed << -1;
    QTest::newRow("system fails") << false << 0 << false << systemFailed << -1;
}

/// A whole run, from the start or the yes to its last screen. A loop that goes on is status -1.
void ApplicationControllerTest::endings()
{
    if (!s_noPrivateFolders.isEmpty())
        QSKIP(qPrintable(s_noPrivateFolders));
    QFETCH(bool, installed);
    QFETCH(int, flashResult);
    QFETCH(bool, silent);
    QFETCH(QString, expected);
    fakeInstrument().fillStatus = [](VRK_Status *status) { status->boardConnected = 1; };
    fakeInstrument().flash = [=](const char *, const VRK_ProgressCallback *) {
        return static_cast<VRK_ResultCode>(flashResult);
    };
    RecordedSystem::answerWith([=](const QString &line) {
        const bool otherMounted = line == QLatin1String("mount | grep -c mmcblk1p4");
        return otherMounted || (!installed && line.startsWith(QLatin1String("sed"))) ? failed : 0;
    });
    addFirmware(QStringLiteral("ZEPRA_AFW_2.07.hex"));
    const auto controller = make(Controller::UPDATE_ZEPRA, silent,
                                 archiveFile(QStringLiteral("zepra_update_v2.tar.gz")));
    QTimer::singleShot(0, controller.get(), [&] {
        if (!silent)
            controller->handleButtonContinue();
    });
    QTEST(runLoop([&] { return !silent || !installed ? controller->isButtonVisible() : false; }),
          "status");

    if (!silent && expected.startsWith(QLatin1Char('|')))
        expected.prepend(inLatin1("Please do not remove the usb drive or power off the device"));
    QCOMPARE(screen(*controller), expected);
    QCOMPARE(controller->progress(), installed ? 1.0 : 0.99);
    QCOMPARE(logRecords().records.count(inLatin1("WARN Update finished successfully, please reboot "
                                                 "the device to complete update")),
             silent && installed && flashResult == 0 ? 1 : 0);
}

void ApplicationControllerTest::buttonsEndTheLoop()
{
    const auto controller = make(Controller::DISPLAY_ERROR, false);
    QCoreApplication::processEvents();
    QTimer::singleShot(0, controller.get(), &Controller::handleButtonPress);
    QCOMPARE(runLoop(), 0);
    QCOMPARE(screen(*controller), QStringLiteral("|Rebooting...|busy"));
    QTimer::singleShot(0, controller.get(), &Controller::handleButtonCancel);
    QCOMPARE(runLoop(), 0);
    QCOMPARE(screen(*controller), QStringLiteral("|Cancelling...|busy"));
}

void ApplicationControllerTest::progressOnlyRises()
{
    const auto controller = make(Controller::UPDATE_ZEPRA, false);
    QStringList signalled;
    connect(controller.get(), &Controller::expectedDurationChanged, [&] {
        signalled << QStringLiteral("duration %1").arg(controller->expectedDuration());
    });
    connect(controller.get(), &Controller::progressChanged,
            [&] { signalled << QStringLiteral("progress %1").arg(controller->progress()); });
    MessageLog log;
    auto *installer = controller->findChild<VRKUpdate *>();
    auto *board = controller->findChild<AtmegaUpdate *>();
    emit installer->progressChanged(0.1, 1000);
    emit installer->progressChanged(0.9, 43000);
    emit board->progressChanged(0.05, 2000);
    emit board->progressChanged(0.9, 2000);

    const QStringList expected = { QStringLiteral("progress 0.1"), QStringLiteral("duration 43000"),
                                   QStringLiteral("progress 0.9"),
                                   QStringLiteral("duration 2000") };
    QCOMPARE(signalled, expected);
    const QStringList messages = { QStringLiteral("warning: Progress update: 0.1"),
                                   QStringLiteral("warning: Progress update: 0.9") };
    QCOMPARE(log.messages(), messages);
}

void ApplicationControllerTest::destructionEndsTheInstallerBetweenCommands()
{
    std::atomic<bool> unmounting = false;
    RecordedSystem::answerWith([&](const QString &line) {
        if (line.startsWith(QLatin1String("umount"))) {
            unmounting = true;
            QThread::msleep(300);
        }
        return line == QLatin1String("mount | grep -c mmcblk1p4") ? failed : 0;
    });
    auto controller = make(Controller::UPDATE_ZEPRA, true,
                           archiveFile(QStringLiteral("zepra_update_v2.tar.gz")));
    QCoreApplication::processEvents();
    QTRY_VERIFY(unmounting);
    controller.reset();
    QCOMPARE(RecordedSystem::commandLines().last(), QStringLiteral("umount -l /dev/mmcblk1p3"));
    QCOMPARE(fakeInstrument().calls.last(), QStringLiteral("-VRKUpdate::run"));
}

void ApplicationControllerTest::destructionAwaitsTheFlash()
{
    std::atomic<bool> flashing = false;
    std::atomic<bool> flashed = false;
    fakeInstrument().flash = [&](const char *, const VRK_ProgressCallback *) {
        flashing = true;
        QThread::msleep(300);
        flashed = true;
        return VRK_RESULT_OK;
    };
    auto controller = make(Controller::UPDATE_ZEPRA, false);
    auto *board = controller->findChild<AtmegaUpdate *>();
    board->setImagePath(archiveFile(QStringLiteral("a.hex")));
    board->start();
    QTRY_VERIFY(flashing);
    controller.reset();
    QVERIFY(flashed);
}

int main(int argc, char **argv)
{
    s_noPrivateFolders = enterPrivateFolders(
            { QStringLiteral("/usr/local/share"), QStringLiteral("/var") });
    QGuiApplication application(argc, argv);
    ApplicationControllerTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_applicationcontroller.moc"
