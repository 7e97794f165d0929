#include "shellpath.h"

#include <QDir>
#include <QProcess>
#include <QtTest>

class ShellPathTest : public QObject
{
    Q_OBJECT

private slots:
    void everyPathIsOneWordForTheShell_data();
    void everyPathIsOneWordForTheShell();
};

void ShellPathTest::everyPathIsOneWordForTheShell_data()
{
    QTest::addColumn<bool>("plain"); // stands as it is
    for (const char *path : { "/media/usb/zepra_update_v3.4-rc_1,@%+=:/a.tar.gz", "-u.tar.gz", "h:a" })
        QTest::newRow(path) << true;
    for (const char *path : { "/usb stick/a", "/it's 'here'", "/a\"b\"", "/$(false)`false`$HOME", "~",
                              "/a;b|c&d>e<f(g)!h#i~j*k?l[m]n{o}p\\q", "/a\nfalse\n", "/a\n", "/更新" })
        QTest::newRow(path) << false;
}

void ShellPathTest::everyPathIsOneWordForTheShell()
{
    const QString path = QTest::currentDataTag();
    for (const char *folder : { "/", "/tmp" }) { // from which a relative path counts
        QVERIFY(QDir::setCurrent(folder));
        const QString absolute = QDir::current().absoluteFilePath(path);
        const QString word = shellPath(path);
        QTEST(word == absolute, "plain");
        QProcess shell;
        shell.start("/bin/sh", { "-c", "cd /; printf '%s|' " + word });
        QVERIFY(shell.waitForFinished());
        QCOMPARE(QString(shell.readAllStandardOutput()), absolute + '|');
    }
}

QTEST_GUILESS_MAIN(ShellPathTest)

#include "tst_shellpath.moc"
