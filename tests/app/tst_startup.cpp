// The product as the launcher sees it: its output and its exit status.
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

namespace {

const char usage[] = "Usage: vrk-updater -u <update-file> [--debug] [--silent]\n";

/// The product as a process, with everything that it has said so far.
class Updater
{
public:
    explicit Updater(const QStringList &arguments,
                     const QString &program = QStringLiteral(VRK_UPDATER))
    {
        m_process.start(program, arguments);
    }

    bool saysOnOutput(const char *text) { return waitFor(QProcess::StandardOutput, &output, text); }

    bool saysOnErrorChannel(const char *text)
    {
        return waitFor(QProcess::StandardError, &errors, text);
    }

    /// Sends a signal and checks that the process ends with 0 and without a fault of the screen.
    void endBy(int signal)
    {
        QCOMPARE(kill(static_cast<pid_t>(m_process.processId()), signal), 0);
        QVERIFY(m_process.waitForFinished());
        QCOMPARE(m_process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_process.exitCode(), 0);
        output += m_process.readAllStandardOutput();
        errors += m_process.readAllStandardError();
        QVERIFY2(!errors.contains("TypeError"), errors.constData());
    }

    QByteArray output;
    QByteArray errors;

private:
    bool waitFor(QProcess::ProcessChannel channel, QByteArray *seen, const char *text)
    {
        m_process.setReadChannel(channel);
        do {
            *seen += m_process.readAll();
            if (seen->contains(text))
                return true;
        } while (m_process.waitForReadyRead(20000));
        qWarning("%s", seen->constData());
        return false;
    }

    QProcess m_process;
};

} // namespace

class StartupTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commandLines_data();
    void commandLines();
    void signalsEndWithZero_data();
    void signalsEndWithZero();
    void flagsAreLogged();
    void debugReachesTheLibrary_data();
    void debugReachesTheLibrary();
    void signalAwaitsTheArchiveTest();

private:
    QTemporaryDir m_folder;
};

void StartupTest::initTestCase()
{
    QFile ini(m_folder.filePath(QStringLiteral("instrument.ini")));
    QVERIFY(ini.open(QIODevice::WriteOnly));
    ini.write("[instrument]\ninitialize_ms=0\n");
    qputenv("VRK_EMBEDDED_API_INI", ini.fileName().toLocal8Bit());
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
    Updater updater(tokens);
    QVERIFY(updater.saysOnErrorChannel(logged.constData()));
    QVERIFY(updater.saysOnOutput("VRK_Status"));
    updater.endBy(SIGTERM);

    QByteArray expected(VRK_UPDATER "\n");
    for (const QString &argument : tokens)
        expected += argument.toUtf8() + '\n';
    if (usageShown)
        expected += usage;
    QVERIFY2(updater.output.startsWith(expected), updater.output.constData());
    QCOMPARE(updater.output.contains("Usage:"), usageShown);
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
    Updater updater({});
    QVERIFY(updater.saysOnErrorChannel("init with mode"));
    updater.endBy(number);
}

void StartupTest::flagsAreLogged()
{
    Updater updater({ QStringLiteral("--debug"), QStringLiteral("--silent") },
                    QStringLiteral(VRK_UPDATER_WITH_LOGGER));
    QVERIFY(updater.saysOnErrorChannel("init with mode"));
    updater.endBy(SIGTERM);
    QVERIFY2(updater.errors.contains("record: SILENT MODE!\nrecord: DEBUG MODE!\n"),
             updater.errors.constData());
}

void StartupTest::debugReachesTheLibrary_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<bool>("debug");
    QTest::newRow("none") << QStringLiteral("x") << false;
    QTest::newRow("other letter case") << QStringLiteral("--Debug") << false;
    QTest::newRow("value") << QStringLiteral("--debug=1") << false;
    QTest::newRow("set") << QStringLiteral("--debug") << true;
}

void StartupTest::debugReachesTheLibrary()
{
    QFETCH(QString, option);
    Updater updater({ option });
    QVERIFY(updater.saysOnOutput("VRK_Status"));
    updater.endBy(SIGTERM);
    QTEST(updater.output.contains(" DEBUG "), "debug");
}

/// A silent run tests its archive at once; the program leaves only when that has ended.
void StartupTest::signalAwaitsTheArchiveTest()
{
    QFile gzip(m_folder.filePath(QStringLiteral("gzip")));
    QVERIFY(gzip.open(QIODevice::WriteOnly));
    gzip.write("#!/bin/sh\n"
               "echo \"testing $2 with $QT_IM_MODULE\"\n"
               "sleep 1\n"
               "echo tested\n"
               "exit 1\n");
    gzip.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    gzip.close();
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", m_folder.path().toLocal8Bit() + ':' + path);
    qputenv("QT_IM_MODULE", "other");
    Updater updater({ QStringLiteral("-u"), gzip.fileName(), QStringLiteral("--silent") });
    qputenv("PATH", path);
    qunsetenv("QT_IM_MODULE");

    QVERIFY(updater.saysOnOutput(
            ("testing " + gzip.fileName().toLocal8Bit() + " with qtvirtualkeyboard\n")
                    .constData()));
    updater.endBy(SIGTERM);
    QVERIFY2(updater.output.contains("tested\n"), updater.output.constData());
}

QTEST_GUILESS_MAIN(StartupTest)

#include "tst_startup.moc"
