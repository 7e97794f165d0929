// What whole runs with the substitute of the instrument library would not show.
#include "vrk-embedded-api.h"

#include <QtTest>

class SubstituteTest : public QObject
{
    Q_OBJECT

private slots:
    void flash_data();
    void flash();
};

void SubstituteTest::flash_data()
{
    QTest::addColumn<int>("result");
    const auto row = [](int result, const char *lines) { QTest::newRow(lines) << result; };
    row(0, ":01000000aa55 :0400000512345678E3 :00000001FF  ");
    row(0, ":01000000AA55 :020000040001F9 :02FFFF00AABB9B :010000005AA5 :00000001FF");
    row(60, ":020000021000EC :02FFFF00AABB9B :010000005AA5 :00000001FF"); // the segment wraps
    row(59, ""); // no image
    row(60, ":01000000AA56 :00000001FF"); // checksum
    row(60, ":02000000AA54 :00000001FF"); // length
    row(60, ":01000000AAx55 :00000001FF"); // digit
    row(60, ":01000000AA55 :01000006AA4F :00000001FF"); // type
    row(60, ":020000040004F6 :01000000AA55 :00000001FF"); // beyond the flash
    row(60, ":01000000AA55"); // no end
    row(60, ":01000000AA55 :00000001FF :00000001FF"); // something after it
    row(60, ":00000001FF"); // no data
}

void SubstituteTest::flash()
{
    QFETCH(int, result);
    const QTemporaryDir folder;
    const auto write = [&folder](const char *name, const QByteArray &content) {
        QFile file(folder.filePath(name));
        if (!content.isEmpty() && file.open(QIODevice::WriteOnly))
            file.write(content);
        return file.fileName().toUtf8();
    };
    const QByteArray image = write("ZEPRA_AFW_2.07.hex", QByteArray(QTest::currentDataTag()).replace(' ', "\r\n"));
    QFile state(write("board.ini", "[board]\nversion=1.5\n"));
    // The board's settings are wrong, so that its defaults hold.
    const QByteArray settings = "[instrument]\ninitialize_ms=0\n[board]\nconnected=no\npage_bytes=0\n";
    qputenv("VRK_EMBEDDED_API_INI", write("settings.ini", settings + "[state]\nfile=" + state.fileName().toUtf8()));
    QCOMPARE(VRK_Lib_Initialize(nullptr, nullptr, VRK_LIB_MODE_UPDATER, false), VRK_RESULT_OK);
    QCOMPARE(int { VRK_FlashATMEGA_file(image.constData(), nullptr) }, result);
    VRK_DeviceInfo info;
    QCOMPARE(VRK_GetDeviceInfo(&info), VRK_RESULT_OK);
    QCOMPARE(info.atmegaVersion, result == 0 ? "2.07" : "1.5");
    QVERIFY(state.open(QIODevice::ReadOnly));
    const QByteArray kept = result == 0 ? "2.07\n\n[flash]\n0x000000=aaff" : "1.5\n";
    QVERIFY(state.readAll().startsWith("[board]\nversion=" + kept));
}

QTEST_GUILESS_MAIN(SubstituteTest)
#include "tst_substitute.moc"
