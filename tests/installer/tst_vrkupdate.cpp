#include "fakeinstrument.h"
#include "messagelog.h"
#include "recordedsystem.h"
#include "vrkupdate.h"
#include "workerrun.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryFile>
#include <QtTest>

#include <atomic>

namespace {

// As system() says of a command that exits with 1, of a killed one, and where it cannot run any.
constexpr int failed = 256;
constexpr int killed = 9;
constexpr int noShell = -1;

QString prepareCommand(const QString &archive)
{
    return QLatin1String("tar -xf ") + archive
            + QLatin1String(" usr/local/bin/zepra-prepare-update.sh -C /tmp");
}

/// The command lines of a whole run with mmcblk1p3 in use.
QStringList wholeRun(const QString &archive)
{
    return {
        prepareCommand(archive),
        QStringLiteral("chmod +x /tmp/usr/local/bin/zepra-prepare-update.sh"
                       " && /tmp/usr/local/bin/zepra-prepare-update.sh"),
        QStringLiteral("mount | grep -c mmcblk1p3"),
        QStringLiteral("mount | grep -c mmcblk1p4"),
        QStringLiteral("cat /etc/fstab | grep -c /dev/mmcblk1p3"),
        QStringLiteral("umount -l /dev/mmcblk1p3"),
        QStringLiteral("mount /dev/mmcblk1p4 /usr/local"),
        QStringLiteral("rm -rf /usr/local/*"),
        QStringLiteral("tar xvzf %1 -C /").arg(archive),
        QStringLiteral("sync"),
        QStringLiteral("chmod +x /usr/local/bin/zepra-setup.sh"),
        QStringLiteral("/usr/local/bin/zepra-setup.sh"),
        QStringLiteral("sed -i 's/mmcblk1p3/mmcblk1p4/g' /etc/fstab"),
        QStringLiteral("sync"),
    };
}

/// Places in wholeRun().
enum Command {
    UnpackPrepare,
    RunPrepare,
    FirstMounted,
    SecondMounted,
    CheckFstab,
    Unmount,
    Mount,
    Clear,
    Extract,
    FirstSync,
    ChmodSetup,
    RunSetup,
    SwitchFstab,
    LastSync,
};

/// Everything that a whole run with mmcblk1p3 in use logs.
QStringList wholeLog(const QString &archive)
{
    const auto warning = [](const char *text) {
        return QStringLiteral("warning: ") + QLatin1String(text);
    };
    const auto command = [run = wholeRun(archive)](Command place) {
        return QStringLiteral("debug: \"%1\"").arg(run.at(place));
    };
    return {
        warning("Unpacking prepare setup script"),
        command(UnpackPrepare),
        warning("Starting prepare setup script"),
        command(RunPrepare),
        command(FirstMounted),
        command(SecondMounted),
        QStringLiteral("debug: activePartition:  \"mmcblk1p3\""
                       " inactivePartition:  \"mmcblk1p4\""),
        command(CheckFstab),
        warning("Unmounting active partition  \"mmcblk1p3\""),
        command(Unmount),
        warning("Mounting inactive partition \"mmcblk1p4\""),
        command(Mount),
        warning("Clearing inactive partition \"mmcblk1p4\""),
        command(Clear),
        warning("Extracting files..."),
        command(Extract),
        command(FirstSync),
        warning("Making setup script executable"),
        command(ChmodSetup),
        warning("Starting setup script"),
        command(RunSetup),
        warning("Restore completed successfully!"),
        command(SwitchFstab),
        QStringLiteral("debug: Set activePartition to  \"mmcblk1p4\""),
        command(LastSync),
    };
}

} // namespace

class VrkUpdateTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void installsAndReports();
    void progressIsReportedBetweenTheCommands();
    void swapsTheOtherWayRound();
    void ambiguousMountsEndTheRun_data();
    void ambiguousMountsEndTheRun();
    void failingCommands_data();
    void failingCommands();
    void badArchivePaths_data();
    void badArchivePaths();
    void folderPassesTheCheck();
    void unusualArchivePathsAreQuotedInBothCommands();
    void prepareScriptIsUnpackedFromTmp();
    void interruptionEndsBetweenCommands_data();
    void interruptionEndsBetweenCommands();
    void secondRunDropsTheProgressItAlreadyReported();

private:
    void answer(int failingCommand = -1, int status = failed);

    QTemporaryFile m_archiveFile;
    QString m_archive;
};

void VrkUpdateTest::initTestCase()
{
    QVERIFY(m_archiveFile.open());
    m_archive = m_archiveFile.fileName();
}

void VrkUpdateTest::init()
{
    FakeInstrument::reset();
    RecordedSystem::reset();
    answer();
}

/// mmcblk1p3 is mounted; the command at one place of a whole run ends with `status`.
void VrkUpdateTest::answer(int failingCommand, int status)
{
    const QString failing = wholeRun(m_archive).value(failingCommand);
    RecordedSystem::answerWith([failing, status](const QString &line) {
        if (line == failing)
            return status;
        return line == QLatin1String("mount | grep -c mmcblk1p4") ? failed : 0;
    });
}

void VrkUpdateTest::installsAndReports()
{
    MessageLog log;
    VRKUpdate update(nullptr);
    QCOMPARE(update.progress(), 0.0);
    update.setImagePath(m_archive);
    QSignalSpy progress(&update, &VRKUpdate::progressChanged);
    QVERIFY(runWorker(&update));

    QCOMPARE(RecordedSystem::commandLines(), wholeRun(m_archive));
    const QList<QVariantList> reports = { { 0.1, 3000 },  { 0.15, 4000 }, { 0.2, 4000 },
                                          { 0.9, 43000 }, { 0.99, 3000 }, { 1.0, 20 } };
    QCOMPARE(QList<QVariantList>(progress), reports);
    QCOMPARE(update.progress(), 1.0);

    QCOMPARE(log.messages(), wholeLog(m_archive));
    const QStringList scope = { QStringLiteral("+VRKUpdate::run"), QStringLiteral("resultReady"),
                                QStringLiteral("-VRKUpdate::run") };
    QCOMPARE(fakeInstrument().calls, scope);
}

void VrkUpdateTest::progressIsReportedBetweenTheCommands()
{
    VRKUpdate update(nullptr);
    update.setImagePath(m_archive);
    QVector<double> atCommand;
    RecordedSystem::answerWith([&](const QString &line) {
        atCommand << update.progress();
        return line == QLatin1String("mount | grep -c mmcblk1p4") ? failed : 0;
    });
    QVERIFY(runWorker(&update));
    QVector<double> expected(Clear, 0.1);
    expected << 0.15 << 0.2 << 0.9 << 0.99 << 0.99 << 0.99 << 0.99;
    QCOMPARE(atCommand, expected);
}

void VrkUpdateTest::swapsTheOtherWayRound()
{
    RecordedSystem::answerWith([](const QString &line) {
        return line == QLatin1String("mount | grep -c mmcblk1p3") ? failed : 0;
    });
    VRKUpdate update(nullptr);
    update.setImagePath(m_archive);
    QVERIFY(runWorker(&update));
    const QStringList lines = RecordedSystem::commandLines();
    QCOMPARE(lines.value(Unmount), QStringLiteral("umount -l /dev/mmcblk1p4"));
    QCOMPARE(lines.value(Mount), QStringLiteral("mount /dev/mmcblk1p3 /usr/local"));
    QCOMPARE(lines.value(SwitchFstab),
             QStringLiteral("sed -i 's/mmcblk1p4/mmcblk1p3/g' /etc/fstab"));
}

void VrkUpdateTest::ambiguousMountsEndTheRun_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("both") << 0;
    QTest::newRow("neither") << failed;
}

void VrkUpdateTest::ambiguousMountsEndTheRun()
{
    QFETCH(int, status);
    RecordedSystem::answerWith([status](const QString &line) {
        return line.startsWith(QLatin1String("mount | grep")) ? status : 0;
    });
    MessageLog log;
    VRKUpdate update(nullptr);
    update.setImagePath(m_archive);
    QVERIFY(!runWorker(&update));
    QCOMPARE(RecordedSystem::commandLines(), wholeRun(m_archive).mid(0, CheckFstab));
    QCOMPARE(log.messages(QStringLiteral("warning")).last(),
             QStringLiteral("Could not find active partition"));
}

void VrkUpdateTest::failingCommands_data()
{
    QTest::addColumn<int>("failing");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("lastCommand");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<double>("progress");

    const auto row = [](const char *name, int failing, int last, const char *warning,
                        double progress, int status = failed) {
        QTest::newRow(name) << failing << status << last << (last == LastSync)
                            << QString::fromLatin1(warning) << progress;
    };
    row("unpack prepare", UnpackPrepare, LastSync, "Unpacking prepare setup failed", 1.0);
    row("run prepare", RunPrepare, LastSync, "prepare setup failed", 1.0);
    row("fstab check", CheckFstab, CheckFstab, "Cannot find active partition in /etc/fstab", 0.1);
    row("unmount", Unmount, Unmount, "Unmounting active partition failed!", 0.1);
    row("mount", Mount, Mount, "Mounting inactive partition failed!", 0.1);
    row("clear", Clear, Clear, "Clearing inactive partition failed!", 0.15);
    row("extract", Extract, Extract, "Extract failed", 0.2);
    row("sync", FirstSync, LastSync, "", 1.0);
    row("chmod", ChmodSetup, LastSync, "", 1.0);
    row("setup", RunSetup, RunSetup, "CSetup script failed", 0.99);
    row("switch", SwitchFstab, SwitchFstab, "Changing fstab failed", 0.99);
    row("extract killed", Extract, Extract, "Extract failed", 0.2, killed);
    row("extract without a shell", Extract, Extract, "Extract failed", 0.2, noShell);
    row("switch killed", SwitchFstab, SwitchFstab, "Changing fstab failed", 0.99, killed);
    row("switch without a shell", SwitchFstab, SwitchFstab, "Changing fstab failed", 0.99, noShell);
}

void VrkUpdateTest::failingCommands()
{
    QFETCH(int, failing);
    QFETCH(int, status);
    QFETCH(int, lastCommand);
    QFETCH(QString, warning);
    answer(failing, status);
    MessageLog log;
    VRKUpdate update(nullptr);
    update.setImagePath(m_archive);
    QTEST(runWorker(&update), "result");

    QStringList expected = wholeRun(m_archive).mid(0, lastCommand + 1);
    if (failing == UnpackPrepare)
        expected.removeAt(RunPrepare);
    QCOMPARE(RecordedSystem::commandLines(), expected);
    const QStringList warnings = log.messages(QStringLiteral("warning"));
    if (warning.isEmpty())
        QCOMPARE(warnings.size(), 9);
    else
        QCOMPARE(warnings.count(warning), 1);
    QCOMPARE(warnings.contains(QStringLiteral("Restore completed successfully!")),
             lastCommand >= SwitchFstab);
    QTEST(update.progress(), "progress");
}

void VrkUpdateTest::badArchivePaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("warning");
    QTest::newRow("empty") << QString() << QStringLiteral("Image Path cannot be empty");
    QTest::newRow("nothing there")
            << QStringLiteral("/nowhere/a.tar.gz")
            << QStringLiteral("Could not find image file at  \"/nowhere/a.tar.gz\"");
}

void VrkUpdateTest::badArchivePaths()
{
    QFETCH(QString, path);
    QFETCH(QString, warning);
    MessageLog log;
    VRKUpdate update(nullptr);
    update.setImagePath(path);
    QVERIFY(!runWorker(&update));
    QCOMPARE(log.messages(), QStringList(QLatin1String("warning: ") + warning));
    QCOMPARE(RecordedSystem::commandLines(), QStringList());
    QCOMPARE(update.progress(), 0.1);
}

void VrkUpdateTest::folderPassesTheCheck()
{
    VRKUpdate update(nullptr);
    update.setImagePath(QStringLiteral("/tmp"));
    QVERIFY(runWorker(&update));
    QCOMPARE(RecordedSystem::commandLines(), wholeRun(QStringLiteral("/tmp")));
}

void VrkUpdateTest::unusualArchivePathsAreQuotedInBothCommands()
{
    QTemporaryFile file(QDir::tempPath() + QStringLiteral("/it's \u66f4\u65b0 XXXXXX"));
    QVERIFY(file.open());
    VRKUpdate update(nullptr);
    update.setImagePath(file.fileName());
    QVERIFY(runWorker(&update));

    QString quoted = file.fileName();
    quoted = QLatin1Char('\'') + quoted.replace(QLatin1String("'"), QLatin1String("'\\''"))
            + QLatin1Char('\'');
    QCOMPARE(RecordedSystem::commandLines(), wholeRun(quoted));
}

void VrkUpdateTest::prepareScriptIsUnpackedFromTmp()
{
    const QString here = QDir::currentPath();
    QVERIFY(here != QLatin1String("/tmp"));
    QStringList folders;
    RecordedSystem::answerWith([&folders](const QString &line) {
        folders << QDir::currentPath();
        return line == QLatin1String("mount | grep -c mmcblk1p4") ? failed : 0;
    });
    VRKUpdate update(nullptr);
    update.setImagePath(m_archive);
    QVERIFY(runWorker(&update));
    QCOMPARE(folders.takeFirst(), QStringLiteral("/tmp"));
    QCOMPARE(folders.count(here), LastSync);
    QCOMPARE(QDir::currentPath(), here);
}

void VrkUpdateTest::interruptionEndsBetweenCommands_data()
{
    QTest::addColumn<int>("during");
    QTest::addColumn<int>("commands");
    for (int place = UnpackPrepare; place <= RunSetup; ++place)
        QTest::addRow("during command %d", place + 1) << place << place + 1;
    QTest::newRow("once /etc/fstab is switched") << int(SwitchFstab) << LastSync + 1;
}

void VrkUpdateTest::interruptionEndsBetweenCommands()
{
    QFETCH(int, during);
    QFETCH(int, commands);
    VRKUpdate update(nullptr);
    update.setImagePath(m_archive);
    std::atomic<int> count = 0;
    RecordedSystem::answerWith([&](const QString &line) {
        if (count++ == during)
            update.requestInterruption();
        return line == QLatin1String("mount | grep -c mmcblk1p4") ? failed : 0;
    });
    MessageLog log;
    QCOMPARE(runWorker(&update), commands > LastSync);
    QCOMPARE(RecordedSystem::commandLines(), wholeRun(m_archive).mid(0, commands));
    QCOMPARE(log.messages(QStringLiteral("warning")).count(QStringLiteral("Update interrupted")),
             commands > LastSync ? 0 : 1);
}

void VrkUpdateTest::secondRunDropsTheProgressItAlreadyReported()
{
    VRKUpdate update(nullptr);
    QVERIFY(!runWorker(&update));
    QSignalSpy progress(&update, &VRKUpdate::progressChanged);
    QVERIFY(!runWorker(&update));
    QCOMPARE(progress.count(), 0);
    update.setImagePath(m_archive);
    QVERIFY(runWorker(&update));
    QCOMPARE(progress.count(), 5);
}

QTEST_GUILESS_MAIN(VrkUpdateTest)

#include "tst_vrkupdate.moc"
