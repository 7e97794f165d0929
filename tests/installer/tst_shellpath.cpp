#include "shellpath.h"

#include <QDir>
#include <QProcess>
#include <QtTest>

class ShellPathTest : public QObject
{
    Q_OBJECT

private slots:
    void plainPathsStandAsTheyAre();
    void everyPathIsOneWordForTheShell_data();
    void everyPathIsOneWordForTheShell();
    void relativePathsBecomeAbsolute();
};

void ShellPathTest::plainPathsStandAsTheyAre()
{
    const QString path = QStringLiteral("/media/usb/zepra_update_v3.4-rc_1,@%+=:/a.tar.gz");
    QCOMPARE(shellPath(path), path);
}

void ShellPathTest::everyPathIsOneWordForTheShell_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("blank") << QStringLiteral("/media/usb stick/a.tar.gz");
    QTest::newRow("single quotes") << QStringLiteral("/it's 'here'");
    QTest::newRow("double quotes") << QStringLiteral("/a\"b\".gz");
    QTest::newRow("substitution") << QStringLiteral("/$(false)`false`$HOME");
    QTest::newRow("operators") << QStringLiteral("/a;b|c&d>e<f(g)!h#i~j*k?l[m]n{o}p\\q");
    QTest::newRow("line break") << QStringLiteral("/a\nfalse\n");
    QTest::newRow("not Latin") << QStringLiteral("/обновление/更新.tar.gz");
    QTest::newRow("trailing line break") << QStringLiteral("/a\n");
}

void ShellPathTest::everyPathIsOneWordForTheShell()
{
    QFETCH(QString, path);
    QProcess shell;
    shell.start(QStringLiteral("/bin/sh"),
                { QStringLiteral("-c"), QLatin1String("printf '%s|' ") + shellPath(path) });
    QVERIFY(shell.waitForFinished());
    QCOMPARE(QString::fromUtf8(shell.readAllStandardOutput()), path + QLatin1Char('|'));
}

void ShellPathTest::relativePathsBecomeAbsolute()
{
    const QString here = QDir::currentPath();
    QCOMPARE(shellPath(QStringLiteral("-u.tar.gz")), here + QLatin1String("/-u.tar.gz"));
    QCOMPARE(shellPath(QStringLiteral("host:a.tar.gz")), here + QLatin1String("/host:a.tar.gz"));

    QVERIFY(QDir::setCurrent(QStringLiteral("/")));
    const QString atRoot = shellPath(QStringLiteral("a.tar.gz"));
    QVERIFY(QDir::setCurrent(here));
    QCOMPARE(atRoot, QStringLiteral("/a.tar.gz"));
}

QTEST_GUILESS_MAIN(ShellPathTest)

#include "tst_shellpath.moc"
