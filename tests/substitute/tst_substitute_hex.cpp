#include "bench.h"

#include <QFile>
#include <QtTest>

class SubstituteHexTest : public QObject
{
    Q_OBJECT

private slots:
    void goodFile_data();
    void goodFile();
    void badFile_data();
    void badFile();
    void readingStopsWhereALineIsTooLong();
};

namespace {

const QByteArray endRecord = ":00000001FF\n";
const QByteArray flash128K = "[board]\nflash_bytes = 131072\n";

} // namespace

void SubstituteHexTest::goodFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("row"); // as the board keeps it, 32 bytes a row

    const QByteArray erased28(2 * 28, 'f');
    const QByteArray word = QByteArrayLiteral("\x0c\x94\x34\x00");
    const QByteArray at0 = "0x000000 = 0c943400" + erased28 + "\n";
    const QByteArray plain = hexRecord(0, 0, word);
    QTest::newRow("plain") << plain + endRecord << at0;
    QTest::newRow("no end of line at the end") << plain + ":00000001FF" << at0;
    QTest::newRow("carriage returns, small digits") << plain.toLower().replace("\n", "\r\n")
                    + ":00000001ff\r\n" << at0;
    QTest::newRow("blank lines after the end") << plain + endRecord + "\r\n\n" << at0;
    QTest::newRow("start addresses")
            << plain + hexRecord(3, 0, word) + hexRecord(5, 0, word) + endRecord << at0;
    QTest::newRow("segment base") << hexRecord(2, 0, QByteArrayLiteral("\x10\x00")) + plain
                    + endRecord << "0x010000 = 0c943400" + erased28 + "\n";
    QTest::newRow("wrap within a segment") << hexRecord(2, 0, QByteArrayLiteral("\x10\x00"))
                    + hexRecord(0, 0xfffe, word)
                    + endRecord << QByteArray("0x010000 = 3400ff");
    QTest::newRow("linear base") << hexRecord(4, 0, QByteArrayLiteral("\x00\x01")) + plain
                    + endRecord << "0x010000 = 0c943400" + erased28 + "\n";
    QTest::newRow("linear form runs on")
            << hexRecord(0, 0xfffe, word) + endRecord << QByteArray("0x010000 = 3400ff");
    QTest::newRow("last byte") << hexRecord(4, 0, QByteArrayLiteral("\x00\x01"))
                    + hexRecord(0, 0xfffc, word)
                    + endRecord << "0x01ffe0 = " + erased28 + "0c943400\n";
    QTest::newRow("longest record") << hexRecord(0, 0, QByteArray(255, '\x5a')) + endRecord
                                    << "0x0000e0 = " + QByteArray("5a").repeated(31) + "ff\n";
}

void SubstituteHexTest::goodFile()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, row);
    const Bench bench;
    QCOMPARE(bench.start(flash128K), VRK_RESULT_OK);
    const QByteArray file = bench.write("ZEPRA_AFW_2.hex", content);
    QCOMPARE(VRK_FlashATMEGA_file(file.constData(), nullptr), VRK_RESULT_OK);
    const QByteArray state = bench.read("state/board.ini");
    QVERIFY2(state.contains(row), state.constData());
}

void SubstituteHexTest::badFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("complaint"); // line number and text

    const QByteArray good = hexRecord(0, 0, QByteArray(16, '\x11'));
    const auto add = [](const char *name, const QByteArray &content, const char *complaint) {
        QTest::newRow(name) << content << QByteArray(complaint);
    };
    add("empty", "", ":0: the end record is missing");
    add("no end record", good, ":1: the end record is missing");
    add("no data", endRecord, ":1: the file holds no data");
    add("data after the end", good + endRecord + good, ":3: something follows the end record");
    add("no colon", good + "00000001FF\n", ":2: the record does not begin with a colon");
    add("NUL bytes", good + QByteArray(600, '\0'), ":2: the line is longer than any record");
    add("not a digit", ":0000000xFF\n", ":1: character 9 is not a hexadecimal digit");
    add("digit above 7 bits",
        ":0000\xe4"
        "001FF\n",
        ":1: character 6 is not a hexadecimal digit");
    add("odd digits", ":00000001F\n", ":1: the record has an odd number of digits");
    add("colon alone", ":\n", ":1: the record is too short");
    add("cut", good.left(19) + "\n", ":1: the record holds 4 data bytes and announces 16");
    add("too much data", ":010000000102FC\n", ":1: the record holds 2 data bytes and announces 1");
    add("checksum", ":0100000001FF\n", ":1: the checksum is 0xff and should be 0xfe");
    add("unknown type", hexRecord(6, 0, ""), ":1: record type 0x06 is unknown");
    add("end with data", hexRecord(1, 0, "a"), ":1: a record of type 0x01 holds 0 data bytes");
    add("short base", hexRecord(4, 0, "a"), ":1: a record of type 0x04 holds 2 data bytes");
    add("base with address", hexRecord(2, 1, "ab"), ":1: a record of type 0x02 has the address 0");
    add("beyond the flash", hexRecord(4, 0, QByteArrayLiteral("\x00\x02")) + good,
        ":2: address 0x20000 is beyond the flash of 131072 bytes");
    add("overlap", good + hexRecord(0, 15, "ab"), ":2: address 0x000f is written a second time");
    add("huge line", ":" + QByteArray(3000000, '0'), ":1: the line is longer than any record");
}

void SubstituteHexTest::badFile()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, complaint);
    const Bench bench;
    QCOMPARE(bench.start(flash128K), VRK_RESULT_OK);
    const QByteArray file = bench.write("ZEPRA_AFW_2.hex", content);
    const CapturedOutput output;
    QCOMPARE(VRK_FlashATMEGA_file(file.constData(), nullptr), VRK_RESULT_UPGRADE_FILE_ERROR);
    QVERIFY2(output.text().contains(file + complaint), output.text().constData());
    QCOMPARE(boardVersion(), QByteArray("1.00"));
}

/// A file that would take minutes to read.
void SubstituteHexTest::readingStopsWhereALineIsTooLong()
{
    const Bench bench;
    QCOMPARE(bench.start(), VRK_RESULT_OK);
    const QByteArray path = bench.write("ZEPRA_AFW_2.hex", endRecord);
    QVERIFY(QFile::resize(QFile::decodeName(path), 256LL << 30));
    QCOMPARE(VRK_FlashATMEGA_file(path.constData(), nullptr), VRK_RESULT_UPGRADE_FILE_ERROR);
}

QTEST_GUILESS_MAIN(SubstituteHexTest)
#include "tst_substitute_hex.moc"
