#include "bench.h"

#include <QtTest>

#include <plog/Log.h>

class SubstituteLoggerTest : public QObject
{
    Q_OBJECT

private slots:
    void sharedWithTheExecutable();
    void scopes_data();
    void scopes();
};

void SubstituteLoggerTest::sharedWithTheExecutable()
{
    QVERIFY(plog::get() == nullptr);
    const Bench bench;
    const CapturedOutput output;
    bench.start();
    bench.start();
    QVERIFY(plog::get() != nullptr);
    LOG_INFO << "record of the executable";
    VRK_FlashATMEGA_file("/nowhere.hex", nullptr);
    const QByteArray text = output.text();
    QCOMPARE(text.count("record of the executable\n"), 1);
    QCOMPARE(text.count("/nowhere.hex: does not exist\n"), 1);
}

void SubstituteLoggerTest::scopes_data()
{
    QTest::addColumn<bool>("debug");
    QTest::addColumn<bool>("quiet");
    QTest::addColumn<QByteArrayList>("records");

    QTest::newRow("debug") << true << false
                           << QByteArrayList({ "Scope: entered", "inside", "Scope: left" });
    QTest::newRow("quiet") << true << true << QByteArrayList({ "inside" });
    QTest::newRow("info only") << false << false << QByteArrayList({ "inside" });
}

void SubstituteLoggerTest::scopes()
{
    QFETCH(bool, debug);
    QFETCH(bool, quiet);
    const Bench bench;
    bench.start();
    VRK_Lib_Initialize(nullptr, nullptr, VRK_LIB_MODE_UPDATER, debug);
    const CapturedOutput output;
    {
        const ScopeLogger scope("Scope", quiet);
        LOG_INFO << "inside";
    }
    QByteArrayList records = output.text().trimmed().split('\n');
    for (QByteArray &record : records)
        record.remove(0, record.indexOf("] ") + 2);
    QTEST(records, "records");
}

QTEST_GUILESS_MAIN(SubstituteLoggerTest)
#include "tst_substitute_logger.moc"
