// The program as its launcher sees it: arguments, output, signals and exit status.
#include "signalquit.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <cerrno>
#include <csignal>

namespace {

const char usage[] = "Usage: vrk-updater -u <update-file> [--debug] [--silent]\n";

} // namespace

class StartupTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commandLines_data();
    void commandLines();
    void signalAwaitsTheArchiveTest();
    void everySignalEndsTheLoop();

private:
    void start(const QStringList &arguments);
    QByteArray textUpTo(const QByteArray &text);
    void endBy(int signal);

    QTemporaryDir m_folder;
    QProcess m_updater;
    QByteArray m_output;
};

/// The instrument library starts at once; `gzip` takes its time and finds the archive corrupt.
void StartupTest::initTestCase()
{
    QFile ini(m_folder.filePath("instrument.ini"));
    QVERIFY(ini.open(QIODevice::WriteOnly) && ini.write("[instrument]\ninitialize_ms=0\n") > 0);
    qputenv("VRK_EMBEDDED_API_INI", ini.fileName().toLocal8Bit());

    QFile gzip(m_folder.filePath("gzip"));
    QVERIFY(gzip.open(QIODevice::WriteOnly));
    gzip.write("#!/bin/sh\necho \"testing $2 with $QT_IM_MODULE\"\nsleep 1\necho tested\nexit 1\n");
    gzip.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    qputenv("PATH", m_folder.path().toLocal8Bit() + ':' + qgetenv("PATH"));
    qputenv("QT_IM_MODULE", "other");
}

void StartupTest::start(const QStringList &arguments)
{
    m_output.clear();
    m_updater.setProcessChannelMode(QProcess::MergedChannels);
    m_updater.start(VRK_UPDATER, arguments);
}

/// What the program has written, as soon as a text is in it.
QByteArray StartupTest::textUpTo(const QByteArray &text)
{
    while (!m_output.contains(text) && m_updater.waitForReadyRead(20000))
        m_output += m_updater.readAll();
    return m_output;
}

/// Sends a signal and checks that the program ends with 0 and without a fault of the screen.
void StartupTest::endBy(int signal)
{
    QCOMPARE(kill(static_cast<pid_t>(m_updater.processId()), signal), 0);
    QVERIFY(m_updater.waitForFinished());
    QCOMPARE(m_updater.exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_updater.exitCode(), 0);
    m_output += m_updater.readAll();
    QVERIFY2(!m_output.contains("TypeError"), m_output.constData());
}

void StartupTest::commandLines_data()
{
    QTest::addColumn<QString>("starts"); // with mode and path
    const auto row = [](const char *arguments, const char *starts) { QTest::newRow(arguments) << starts; };
    row("", "1  Path: \"\"");
    row("-u", "0  Path: \"\"");
    row("-u --silent", "0  Path: \"--silent\"");
    row("b.tar.gz -u a.tar.gz -u c", "0  Path: \"a.tar.gz\"");
    row("/a/zepra_update_v2.tar.gz --debug", "0  Path: \"/a/zepra_update_v2.tar.gz\"");
    row("notes.tar.gz.txt", "0  Path: \"notes.tar.gz.txt\"");
    row("--debug /a.tar.gz", "1  Path: \"\"");
    row("/a/IMAGE.TAR.GZ --debug=1", "1  Path: \"\"");
    row("-ua --Debug", "1  Path: \"\"");
    row("-u /а.tar.gz", "0  Path: \"/а.tar.gz\"");
    row("-u a -platform offscreen", "0  Path: \"a\"");
    row("--debug --silent", "1  Path: \"\"");
}

void StartupTest::commandLines()
{
    QFETCH(QString, starts);
    const QString line = QTest::currentDataTag();
    const QStringList arguments = line.split(' ', Qt::SkipEmptyParts);
    start(arguments);
    QVERIFY(textUpTo("VRK_Status").contains("init with mode:  " + starts.toUtf8() + '\n'));
    endBy(line.contains("-u") ? SIGTERM : SIGINT);

    QByteArray expected(VRK_UPDATER "\n");
    for (const QString &argument : arguments)
        expected += argument.toUtf8() + '\n';
    expected += arguments.contains("--silent") ? "record 3 SILENT MODE!\n" : "";
    expected += arguments.contains("--debug") ? "record 3 DEBUG MODE!\n" : "";
    expected += starts.startsWith('1') ? usage : "";
    QVERIFY2(m_output.startsWith(expected), m_output.constData());
    QCOMPARE(m_output.contains("Usage:"), starts.startsWith('1'));
    QCOMPARE(m_output.contains("\nrecord 5 "), arguments.contains("--debug"));
}

/// A silent run tests its archive at once; the program leaves only when that has ended.
void StartupTest::signalAwaitsTheArchiveTest()
{
    const QString archive = m_folder.filePath("gzip");
    start({ "-u", archive, "--silent" });
    const QByteArray test = "testing " + archive.toLocal8Bit() + " with qtvirtualkeyboard\n";
    QVERIFY2(textUpTo(test).contains(test), m_output.constData());
    endBy(SIGTERM);
    QVERIFY2(m_output.contains("tested\n"), m_output.constData());
}

/// Before it runs, in it, and more of them than the pipe holds; errno stays as it is.
void StartupTest::everySignalEndsTheLoop()
{
    QVERIFY(prepareSignalQuit(QCoreApplication::instance()));
    std::signal(SIGTERM, signalQuit);
    for (const int count : { 1, 0, 100000 }) {
        errno = 4711;
        for (int i = 0; i < count; ++i)
            signalQuit(SIGTERM);
        QCOMPARE(errno, 4711);
        QTimer::singleShot(count == 0 ? 0 : 5000,
                           [=] { count == 0 ? void(std::raise(SIGTERM)) : QCoreApplication::exit(99); });
        QCOMPARE(QCoreApplication::exec(), 0);
    }
}

QTEST_GUILESS_MAIN(StartupTest)

#include "tst_startup.moc"
