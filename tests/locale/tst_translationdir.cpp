// The folder of the translations on other processors than this machine's: the answer of Qt comes
// from here.
#include "localemanager.h"

#include <QSysInfo>
#include <QtTest>

namespace {

QString s_processor;

} // namespace

QString QSysInfo::currentCpuArchitecture()
{
    return s_processor;
}

class TranslationDirTest : public QObject
{
    Q_OBJECT

private slots:
    void instrumentsHaveTheirOwn_data();
    void instrumentsHaveTheirOwn();
};

void TranslationDirTest::instrumentsHaveTheirOwn_data()
{
    QTest::addColumn<bool>("instrument");
    for (const char *name : { "arm", "armv7", "arm64" })
        QTest::newRow(name) << true;
    for (const char *name : { "ARM", "aarch64", "x86_64", "" })
        QTest::newRow(name) << false;
}

void TranslationDirTest::instrumentsHaveTheirOwn()
{
    QFETCH(bool, instrument);
    s_processor = QString::fromLatin1(QTest::currentDataTag());
    QCOMPARE(translationDir(),
             instrument ? QStringLiteral("/usr/local/share/zentar/translations")
                        : QCoreApplication::applicationDirPath() + QLatin1String("/translations"));
}

QTEST_GUILESS_MAIN(TranslationDirTest)

#include "tst_translationdir.moc"
