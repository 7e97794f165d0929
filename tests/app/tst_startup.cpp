// The product as the launcher sees it: its output and its exit status.
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

class StartupTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commandLines_data();
    void commandLines();
    void signalsEndWithZero_data();
    void signalsEndWithZero();

private:
    static bool waitFor(QProcess *process, const char *text);

    QTemporaryDir m_folder;
};

namespace {

const char usage[] = "Usage: vrk-updater -u <update-file> [--debug] [--silent]\n";

} // namespace

void StartupTest::initTestCase()
{
    QFile ini(m_folder.filePath(QStringLiteral("instrument.ini")));
    QVERIFY(ini.open(QIODevice::WriteOnly));
    ini.write("[instrument]\ninitialize_ms=0\n");
    qputenv("VRK_EMBEDDED_API_INI", ini.fileName().toLocal8Bit());
}

/// Reads the error channel until `text` has come.
bool StartupTest::waitFor(QProcess *process, const char *text)
{
    QByteArray seen;
    while (process->waitForReadyRead(20000)) {
        seen += process->readAllStandardError();
        if (seen.contains(text))
            return true;
    }
    qWarning("%s", seen.constData());
    return false;
}

void StartupTest::commandLines_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<bool>("usageShown");
    QTest::addColumn<QByteArray>("logged");
    const auto row = [](const char *name, const char *arguments, bool usageShown,
                        const char *logged) {
        QTest::newRow(name) << QString::fromUtf8(arguments) << usageShown << QByteArray(logged);
    };
    row("nothing", "", true, "mode:  1  Path: \"\"");
    row("-u last", "-u", false, "mode:  0  Path: \"\"");
    row("-u and an option", "-u --silent", false, "mode:  0  Path: \"--silent\"");
    row("-u wins", "b.tar.gz -u a.tar.gz", false, "mode:  0  Path: \"a.tar.gz\"");
    row("bare archive", "/a/zepra_update_v2.tar.gz --debug", false,
        "mode:  0  Path: \"/a/zepra_update_v2.tar.gz\"");
    row("somewhere in the name", "notes.tar.gz.txt", false, "mode:  0  Path: \"notes.tar.gz.txt\"");
    row("not the first", "--debug /a.tar.gz", true, "mode:  1  Path: \"\"");
    row("letter case", "/a/IMAGE.TAR.GZ", true, "mode:  1  Path: \"\"");
    row("not Latin", "-u /\u0430.tar.gz", false, "Path: \"/\u0430.tar.gz\"");
    row("Qt's own options", "-u a -platform offscreen", false, "mode:  0  Path: \"a\"");
}

void StartupTest::commandLines()
{
    QFETCH(QString, arguments);
    QFETCH(bool, usageShown);
    QFETCH(QByteArray, logged);
    QStringList tokens;
    if (!arguments.isEmpty())
        tokens = arguments.split(QLatin1Char(' '));
    QProcess updater;
    updater.start(QStringLiteral(VRK_UPDATER), tokens);
    QVERIFY(waitFor(&updater, logged.constData()));
    updater.terminate();
    QVERIFY(updater.waitForFinished());
    QCOMPARE(updater.exitStatus(), QProcess::NormalExit);
    QCOMPARE(updater.exitCode(), 0);

    QByteArray expected(VRK_UPDATER "\n");
    for (const QString &argument : tokens)
        expected += argument.toUtf8() + '\n';
    if (usageShown)
        expected += usage;
    const QByteArray output = updater.readAllStandardOutput();
    QVERIFY2(output.startsWith(expected), output.constData());
    QCOMPARE(output.contains("Usage:"), usageShown);
}

void StartupTest::signalsEndWithZero_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void StartupTest::signalsEndWithZero()
{
    QFETCH(int, number);
    QProcess updater;
    updater.start(QStringLiteral(VRK_UPDATER), QStringList());
    QVERIFY(waitFor(&updater, "init with mode"));
    QCOMPARE(kill(static_cast<pid_t>(updater.processId()), number), 0);
    QVERIFY(updater.waitForFinished());
    QCOMPARE(updater.exitStatus(), QProcess::NormalExit);
    QCOMPARE(updater.exitCode(), 0);
}

QTEST_GUILESS_MAIN(StartupTest)

#include "tst_startup.moc"
