#include "fakeinstrument.h"
#include "messagelog.h"
#include "shellpath.h"
#include "vrkupdate.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

namespace {

struct Step {
    QString command, failure, before, warning, progress; ///< as the table has them
};

const QString file = "tests/installer/commands.txt";
QString fault; ///< of that file

QVector<Step> readSteps()
{
    QVector<Step> steps;
    QFile table(QFINDTESTDATA("commands.txt"));
    table.open(QIODevice::ReadOnly);
    const QStringList lines = QString(table.readAll()).split('\n');
    const QRegularExpression form("^[^\t]+\t(skips next|goes on|ends|ends after next|always)"
                                  "(\t((warning|debug): [^\t]+)?(\t[^\t]*(\t[01](\\.\\d+)? \\d+)?)?)?$");
    for (int number = 0; number < lines.size(); ++number) {
        const QStringList column = lines[number].split('\t');
        if (lines[number].isEmpty() || lines[number].startsWith('#'))
            continue;
        if (!form.match(lines[number]).hasMatch() && fault.isEmpty())
            fault = QString("%1:%2: not columns that are tabs apart and as its head says").arg(file).arg(number + 1);
        steps << Step { column[0], column.value(1), column.value(2), column.value(3), column.value(4) };
    }
    return steps;
}

const QVector<Step> wholeRun = readSteps();
const int commands = wholeRun.size();
const int none = commands;
constexpr int failed = 256; // as system() says of a command that exits with 1

/// What one run meets.
struct Case {
    const char *archive = "a.gz";
    const char *word = "%1/a.gz"; ///< of the shell for it; %1 is the folder
    bool swapped = false; ///< mmcblk1p4 is in use
    int failing = none; ///< the command that does
    int status = failed; ///< and what system() says of it
    int interrupted = none; ///< the command during which the run is asked to end
};

/// Where the updater is started.
QString here()
{
    static const QTemporaryDir folder;
    return folder.path();
}

QString filled(QString text, const Case &run)
{
    return text.replace("ARCHIVE", QString(run.word).arg(here()))
            .replace("ACTIVE", run.swapped ? "mmcblk1p4" : "mmcblk1p3")
            .replace("OTHER", run.swapped ? "mmcblk1p3" : "mmcblk1p4");
}

QStringList expectedRun(Case run)
{
    QStringList lines = { "debug: +VRKUpdate::run", "progress 0.1 3000" };
    bool result = true;
    for (int place = 0; place < commands && result; ++place) {
        const Step &step = wholeRun[place];
        if (!step.before.isEmpty())
            lines << filled(step.before, run);
        if (place > run.interrupted && step.failure != "always") {
            lines << "warning: Update interrupted";
            result = false;
            break;
        }
        const QString command = filled(step.command, run);
        QString echo;
        QDebug(&echo) << command;
        // Behind a member's name tar passes over a -C, so the folder must be the one it starts in.
        lines << "debug: " + echo.trimmed() << (command.endsWith("-C /tmp") ? "/tmp" : here()) + "$ " + command;

        if (place == run.failing) {
            if (step.failure == "ends after next")
                ++run.failing;
            else if (!step.warning.isEmpty())
                lines << "warning: " + step.warning;
            result = step.failure != "ends";
            if (step.failure == "skips next")
                ++place;
        }
        if (result && !step.progress.isEmpty())
            lines << "progress " + step.progress;
    }
    return lines << QString("result %1").arg(result) << "debug: -VRKUpdate::run";
}

} // namespace

Q_DECLARE_METATYPE(Case)

class VrkUpdateTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void runs_data();
    void runs();
    void refusals();
    void everyPathIsOneWordForTheShell();
};

/// What would make every run fail is told once.
void VrkUpdateTest::initTestCase()
{
    QVERIFY2(fault.isEmpty(), qPrintable(fault));
    QVERIFY(commands > 0 && QDir::setCurrent(here()));
    QVERIFY(QFile("a.gz").open(QIODevice::WriteOnly));
    QStringList given;
    fakeInstrument().shell = [&](const QString &line) {
        given << line;
        return line == filled("mount | grep -c OTHER", {}) ? failed : 0;
    };
    VRKUpdate update(nullptr);
    update.setImagePath("a.gz");
    runWorker(&update);
    for (int place = 0; place < qMax(commands, given.size()); ++place) {
        const QString wanted = place < commands ? filled(wholeRun[place].command, {}) : QString();
        QVERIFY2(given.value(place) == wanted,
                 qPrintable(QString("command %1 is \"%2\", in %3 \"%4\"")
                                    .arg(place + 1)
                                    .arg(given.value(place), file, wanted)));
    }
}

void VrkUpdateTest::runs_data()
{
    QTest::addColumn<Case>("run");
    QTest::newRow("mmcblk1p3 in use") << Case();
    QTest::newRow("mmcblk1p4 in use") << Case { "it's 更新", "'%1/it'\\''s 更新'", true };
    QTest::newRow("archive is a folder") << Case { ".", "%1/." };
    for (int place = 0; place < commands; ++place) {
        for (const int status : { failed, 9 /* killed */, -1 /* there is no shell */ })
            QTest::addRow("command %d answers %d", place + 1, status)
                    << Case { "a.gz", "%1/a.gz", false, place, status };
        QTest::addRow("interrupted during command %d", place)
                << Case { "a.gz", "%1/a.gz", true, none, failed, place - 1 };
    }
    QTest::addRow("interrupted during the last") << Case { "a.gz", "%1/a.gz", true, none, failed, commands - 1 };
}

void VrkUpdateTest::runs()
{
    QFETCH(Case, run);
    QVERIFY(QFileInfo::exists(run.archive) || QFile(run.archive).open(QIODevice::WriteOnly));
    VRKUpdate update(nullptr);
    int place = -1;
    const auto interrupt = [&] {
        if (place == run.interrupted)
            update.requestInterruption();
    };
    connect(&update, &VRKUpdate::progressChanged, &update, interrupt, Qt::DirectConnection);
    fakeInstrument().shell = [&](const QString &line) {
        MessageLog::note(QDir::currentPath() + "$ " + line);
        do
            ++place;
        while (place < commands && filled(wholeRun[place].command, run) != line);
        interrupt();
        const bool otherMounted = line == filled("mount | grep -c OTHER", run);
        return (place == run.failing) != otherMounted ? run.status : 0;
    };
    update.setImagePath(run.archive);
    const QStringList lines = runWorker(&update);
    compareLines(lines, expectedRun(run));
    QCOMPARE(update.progress(), lines.filter("progress ").last().section(' ', 1, 1).toDouble());
    if (update.progress() == 1.0) { // the next run reports from the start again
        place = -1;
        compareLines(runWorker(&update), expectedRun(run));
    }
}

void VrkUpdateTest::refusals()
{
    const QString noArm = "Update is not supported on non-ARM platforms";
    const QString rows[][3] = {
        // processor, archive, warning
        { "arm", "", "Image Path cannot be empty" },
        { "arm", "/nowhere/a.gz", "Could not find image file at  \"/nowhere/a.gz\"" },
        { "x86_64", "/", noArm },
        { "arm64", "/", noArm },
        { "ARM", "/", noArm },
        { "", "/", noArm },
    };
    for (const auto &[processor, archive, warning] : rows) {
        fakeInstrument() = {};
        fakeInstrument().processor = processor;
        VRKUpdate update(nullptr);
        update.setImagePath(archive);
        QStringList lines = { "debug: +VRKUpdate::run", "warning: " + warning, "result 0", "debug: -VRKUpdate::run" };
        const QStringList first = runWorker(&update);
        compareLines(runWorker(&update), lines); // what it has reported already it does not report again
        if (processor == "arm")
            lines.insert(1, "progress 0.1 3000");
        compareLines(first, lines);
    }
}

void VrkUpdateTest::everyPathIsOneWordForTheShell()
{
    const QStringList plain = { "/media/usb/zepra_update_v3.4-rc_1,@%+=:/a.tar.gz", "-u.tar.gz", "h:a" };
    const QStringList quoted = {
        "/usb stick/a", "/it's 'here'", "/a\"b\"", "/$(false)`false`$HOME", "~", "/a;b|c&d>e<f(g)!h#i~j*k?l[m]n{o}p\\q",
        "/a\nfalse\n",  "/a\n",         "/更新",
    };
    for (const QString &folder : { QString("/"), here() }) { // from which a relative path counts
        QVERIFY(QDir::setCurrent(folder));
        for (const QString &path : plain + quoted) {
            const QString absolute = QDir::current().absoluteFilePath(path);
            QCOMPARE(shellPath(path) == absolute, plain.contains(path));
            QProcess shell;
            shell.start("/bin/sh", { "-c", "cd /; printf '%s|' " + shellPath(path) });
            QVERIFY(shell.waitForFinished());
            QCOMPARE(QString(shell.readAllStandardOutput()), absolute + '|');
        }
    }
}

QTEST_GUILESS_MAIN(VrkUpdateTest)

#include "tst_vrkupdate.moc"
