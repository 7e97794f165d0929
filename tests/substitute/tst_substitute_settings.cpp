#include "bench.h"
#include "privatefolders.h"

#include <QDir>
#include <QFile>
#include <QtTest>

#include <algorithm>
#include <functional>
#include <limits>

Q_DECLARE_METATYPE(std::function<VRK_ResultCode()>)

class SubstituteSettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void nothingBeforeInitialisation();
    void texts_data();
    void texts();
    void byteOrderMark();
    void systemVersionFile();
    void resultsAndAbsentBoard();
    void complaints_data();
    void complaints();
    void missingFile();
    void unreadableDefaultFile();
    void refusals_data();
    void refusals();
};

namespace {

QString s_noPrivateFolders;

} // namespace

void SubstituteSettingsTest::nothingBeforeInitialisation()
{
    VRK_DeviceInfo info;
    VRK_Status status;
    QVERIFY(VRK_GetDeviceInfo(&info) != VRK_RESULT_OK);
    QVERIFY(VRK_GetStatus(&status) != VRK_RESULT_OK);
    QVERIFY(VRK_FlashATMEGA_file("/nowhere.hex", nullptr) != VRK_RESULT_OK);

    const Bench bench;
    QCOMPARE(bench.start(), VRK_RESULT_OK);
    QCOMPARE(VRK_GetStatus(&status), VRK_RESULT_OK);
    QCOMPARE(int { bench.start("[instrument]\ninitialize_result = -7\n") }, -7);
    QVERIFY(VRK_GetStatus(&status) != VRK_RESULT_OK);
}

void SubstituteSettingsTest::texts_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QByteArray>("system");
    QTest::addColumn<QByteArray>("board");

    const QByteArray section = "[instrument]\nsystem_version = ";
    QTest::newRow("defaults") << QByteArray() << QByteArray("1.0.0") << QByteArray("1.00");
    QTest::newRow("both") << section + "3.1\n[board]\nversion=2.07\n"
                          << QByteArray("3.1") << QByteArray("2.07");
    QTest::newRow("blanks, comments, carriage returns")
            << QByteArray("; one\r\n # two\r\n\r\n[ instrument ]\r\n"
                          "\tsystem_version\t= 3 beta \r\n")
            << QByteArray("3 beta") << QByteArray("1.00");
    QTest::newRow("quotes") << section + "\" 3 \"\n" << QByteArray(" 3 ") << QByteArray("1.00");
    QTest::newRow("last one wins, empty")
            << section + "3\nsystem_version = 4\n[board]\nversion =" << QByteArray("4")
            << QByteArray();
    QTest::newRow("longer than the record holds")
            << section + QByteArray(50, 's') + "\n[board]\nversion=" + QByteArray(50, 'b')
            << QByteArray(20, 's') << QByteArray(41, 'b');
}

void SubstituteSettingsTest::texts()
{
    QFETCH(QByteArray, settings);
    const Bench bench;
    const CapturedOutput output;
    QCOMPARE(bench.start(settings), VRK_RESULT_OK);
    QVERIFY2(!output.text().contains("WARN"), output.text().constData());
    VRK_DeviceInfo info;
    std::fill(std::begin(info.systemVersion), std::end(info.systemVersion), 'x');
    info.reserved204 = 1;
    QCOMPARE(VRK_GetDeviceInfo(&info), VRK_RESULT_OK);
    QTEST(QByteArray(info.systemVersion), "system");
    QTEST(QByteArray(info.atmegaVersion), "board");
    QCOMPARE(info.reserved204, 2000U);
}

void SubstituteSettingsTest::byteOrderMark()
{
    const Bench bench;
    bench.write("settings.ini", "\xef\xbb\xbf[instrument]\nsystem_version = 3\n");
    QCOMPARE(VRK_Lib_Initialize(nullptr, nullptr, VRK_LIB_MODE_UPDATER, true), VRK_RESULT_OK);
    VRK_DeviceInfo info;
    QCOMPARE(VRK_GetDeviceInfo(&info), VRK_RESULT_OK);
    QCOMPARE(info.systemVersion, "3");
}

void SubstituteSettingsTest::systemVersionFile()
{
    const Bench bench;
    const QByteArray file = QFile::encodeName(bench.path("version"));
    QCOMPARE(bench.start("[instrument]\nsystem_version = 3\nsystem_version_file = " + file),
             VRK_RESULT_OK);
    VRK_DeviceInfo info;
    QCOMPARE(VRK_GetDeviceInfo(&info), VRK_RESULT_OK);
    QCOMPARE(info.systemVersion, "3");
    bench.write("version", "4.2 \r\nsecond line\n");
    QCOMPARE(VRK_GetDeviceInfo(&info), VRK_RESULT_OK);
    QCOMPARE(info.systemVersion, "4.2");
}

void SubstituteSettingsTest::resultsAndAbsentBoard()
{
    const Bench bench;
    QCOMPARE(bench.start("[instrument]\nstatus_result = 12\ndevice_info_result = -2147483648\n"),
             VRK_RESULT_OK);
    VRK_Status status;
    VRK_DeviceInfo info;
    QCOMPARE(int { VRK_GetStatus(&status) }, 12);
    QVERIFY(status.boardConnected != 0);
    QCOMPARE(int { VRK_GetDeviceInfo(&info) }, std::numeric_limits<int>::min());
    QCOMPARE(info.atmegaVersion, "1.00");

    QCOMPARE(bench.start("[board]\nconnected = false\n"), VRK_RESULT_OK);
    QCOMPARE(VRK_GetStatus(&status), VRK_RESULT_OK);
    QCOMPARE(int { status.boardConnected }, 0);
    QCOMPARE(boardVersion(), QByteArray());
}

void SubstituteSettingsTest::complaints_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QByteArray>("complaint"); // the text begins in line 8

    const auto add = [](const char *name, const QByteArray &settings, const char *complaint) {
        QTest::newRow(name) << settings << QByteArray(complaint);
    };
    add("unknown section", "[bord]\nversion = 2\n", ":8: unknown section [bord]");
    add("unknown key", "[board]\nversoin = 2\n", ":8: unknown key versoin");
    add("no equals sign", "[board]\n\nversion 2\n", ":9: neither a section nor a key");
    add("open section", "[board\n", ":7: the section has no closing bracket");
    add("flag", "[board]\nconnected = yes\n", ":8: connected should be true or false");
    add("number", "[board]\npage_ms = 1x\n",
        ":8: page_ms should be a whole number from 0 to 10000");
    add("below", "[board]\npage_bytes = 0\n", ":8: page_bytes should be a whole number from 1");
    add("above", "[board]\nflash_bytes = 9999999999\n", ":8: flash_bytes should be a whole number");
    add("long line", QByteArray(100000, 'x') + "=1\n", ":7: the line is too long");
}

void SubstituteSettingsTest::complaints()
{
    QFETCH(QByteArray, settings);
    QFETCH(QByteArray, complaint);
    const Bench bench;
    const CapturedOutput output;
    QCOMPARE(bench.start(settings), VRK_RESULT_OK);
    const QByteArray file = QFile::encodeName(bench.path("settings.ini"));
    QVERIFY2(output.text().contains(file + complaint), output.text().constData());
    QCOMPARE(output.text().count("WARN"), 1);
    QCOMPARE(boardVersion(), QByteArray("1.00"));
}

void SubstituteSettingsTest::missingFile()
{
    const Bench bench;
    QFile::remove(bench.path("settings.ini"));
    const CapturedOutput output;
    QCOMPARE(VRK_Lib_Initialize(nullptr, nullptr, VRK_LIB_MODE_UPDATER, false), VRK_RESULT_OK);
    QVERIFY(output.text().contains("settings.ini: cannot be read"));
}

void SubstituteSettingsTest::unreadableDefaultFile()
{
    if (!s_noPrivateFolders.isEmpty())
        QSKIP(qPrintable(s_noPrivateFolders));
    qunsetenv("VRK_EMBEDDED_API_INI");
    const QByteArray complaint = "/etc/vrk-embedded-api.ini: cannot be read";
    const CapturedOutput output;
    VRK_Lib_Initialize(nullptr, nullptr, VRK_LIB_MODE_UPDATER, false);
    QVERIFY(!output.text().contains(complaint));
    QVERIFY(QDir().mkdir(QStringLiteral("/etc/vrk-embedded-api.ini")));
    VRK_Lib_Initialize(nullptr, nullptr, VRK_LIB_MODE_UPDATER, false);
    QVERIFY(output.text().contains(complaint));
}

void SubstituteSettingsTest::refusals_data()
{
    using Call = std::function<VRK_ResultCode()>;
    QTest::addColumn<bool>("initialized");
    QTest::addColumn<Call>("call");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("reason");
    const auto row = [](const char *reason, bool initialized, int result, const Call &call) {
        QTest::newRow(reason) << initialized << call << result << QByteArray(reason);
    };
    row("VRK_GetDeviceInfo refused: not initialised", false, -1, [] {
        VRK_DeviceInfo info;
        return VRK_GetDeviceInfo(&info);
    });
    row("VRK_GetStatus refused: not initialised", false, -1, [] {
        VRK_Status status;
        return VRK_GetStatus(&status);
    });
    row("VRK_FlashATMEGA_file refused: not initialised", false, -1,
        [] { return VRK_FlashATMEGA_file("/nowhere.hex", nullptr); });
    row("VRK_GetDeviceInfo refused: no record", true, -2,
        [] { return VRK_GetDeviceInfo(nullptr); });
    row("VRK_GetStatus refused: no record", true, -2, [] { return VRK_GetStatus(nullptr); });
    row("VRK_FlashATMEGA_file refused: no path", true, -2,
        [] { return VRK_FlashATMEGA_file(nullptr, nullptr); });
    row("VRK_Lib_Initialize refused: not the updater's mode", true, -2,
        [] { return VRK_Lib_Initialize(nullptr, nullptr, VRK_Lib_Mode { 4 }, false); });
}

void SubstituteSettingsTest::refusals()
{
    using Call = std::function<VRK_ResultCode()>;
    QFETCH(bool, initialized);
    QFETCH(Call, call);
    QFETCH(QByteArray, reason);
    const Bench bench;
    bench.start(initialized ? QByteArray() : QByteArray("[instrument]\ninitialize_result = 1\n"));
    const CapturedOutput output;
    QTEST(int { call() }, "result");
    QVERIFY2(output.text().contains("ERROR") && output.text().contains(reason),
             output.text().constData());
}

int main(int argc, char **argv)
{
    s_noPrivateFolders = enterPrivateFolders({ QStringLiteral("/etc") });
    QCoreApplication application(argc, argv);
    SubstituteSettingsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_substitute_settings.moc"
