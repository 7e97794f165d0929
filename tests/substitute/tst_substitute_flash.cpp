#include "bench.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QtTest>

#include <atomic>
#include <thread>

class SubstituteFlashTest : public QObject
{
    Q_OBJECT

private slots:
    void keepsVersion_data();
    void keepsVersion();
    void failingFlash_data();
    void failingFlash();
    void unusablePath_data();
    void unusablePath();
    void progress();
    void secondFlashMeanwhile();
    void statusMessages();
    void unwritableState_data();
    void unwritableState();
    void damagedState();
};

namespace {

struct Progress {
    static void note(void *userData, int done, int total)
    {
        auto &self = *static_cast<Progress *>(userData);
        self.done << done;
        self.totals << total;
        self.otherThread = self.otherThread && std::this_thread::get_id() != self.caller;
    }

    VRK_ProgressCallback callback() { return { &Progress::note, this }; }

    QVector<int> done;
    QVector<int> totals;
    bool otherThread = true;
    const std::thread::id caller = std::this_thread::get_id();
};

} // namespace

void SubstituteFlashTest::keepsVersion_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("version");

    QTest::newRow("plain") << QByteArray("ZEPRA_AFW_2.07.hex") << QByteArray("2.07");
    QTest::newRow("first end counts") << QByteArray("ZEPRA_AFW_2.hex.hex") << QByteArray("2");
    QTest::newRow("blanks, quotes") << QByteArray("ZEPRA_AFW_ \"2\" .hex") << QByteArray(" \"2\" ");
    QTest::newRow("line break") << QByteArray("ZEPRA_AFW_2\n3.hex") << QByteArray("2?3");
    QTest::newRow("other name") << QByteArray("board.v3.hex") << QByteArray("board.v3");
    QTest::newRow("no version") << QByteArray("ZEPRA_AFW_.hex") << QByteArray("ZEPRA_AFW_");
}

void SubstituteFlashTest::keepsVersion()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, version);
    const Bench bench;
    QCOMPARE(bench.start(), VRK_RESULT_OK);
    const QByteArray file = bench.write(name.constData(), image(2));
    QCOMPARE(VRK_FlashATMEGA_file(file.constData(), nullptr), VRK_RESULT_OK);
    QCOMPARE(boardVersion(), version);
    QCOMPARE(bench.versionAfterRestart(), version);
    QCOMPARE(QDir(bench.path("state")).entryList(QDir::Files), { QStringLiteral("board.ini") });
}

void SubstituteFlashTest::failingFlash_data()
{
    QTest::addColumn<QByteArray>("setting");
    QTest::addColumn<int>("result");
    QTest::addColumn<QVector<int>>("done");

    const QVector<int> half = { 0, 1, 2 };
    for (const int code : { 35, 58, 61, 34, -1 })
        QTest::addRow("%d", code) << "flash_result = " + QByteArray::number(code) << code << half;
    QTest::newRow("absent") << QByteArray("connected = false") << 35 << QVector<int>();
}

void SubstituteFlashTest::failingFlash()
{
    QFETCH(QByteArray, setting);
    const Bench bench;
    QCOMPARE(bench.start(), VRK_RESULT_OK);
    const QByteArray first = bench.write("ZEPRA_AFW_2.hex", image(1));
    QCOMPARE(VRK_FlashATMEGA_file(first.constData(), nullptr), VRK_RESULT_OK);
    const QByteArray state = bench.read("state/board.ini");

    QCOMPARE(bench.start("[board]\n" + setting), VRK_RESULT_OK);
    const QByteArray second = bench.write("ZEPRA_AFW_3.hex", image(4));
    Progress progress;
    const VRK_ProgressCallback callback = progress.callback();
    QTEST(int { VRK_FlashATMEGA_file(second.constData(), &callback) }, "result");
    QTEST(progress.done, "done");
    QCOMPARE(bench.read("state/board.ini"), state);
    QCOMPARE(bench.versionAfterRestart(), QByteArray("2"));
}

void SubstituteFlashTest::unusablePath_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("result");

    QTest::newRow("missing") << QByteArray("missing.hex") << 59;
    QTest::newRow("below a file") << QByteArray("settings.ini/x.hex") << 59;
    QTest::newRow("folder") << QByteArray("") << 60;
    QTest::newRow("name too long") << QByteArray(5000, 'x') << 60;
}

void SubstituteFlashTest::unusablePath()
{
    QFETCH(QByteArray, name);
    const Bench bench;
    QCOMPARE(bench.start(), VRK_RESULT_OK);
    const QByteArray file = QFile::encodeName(bench.path(name.constData()));
    QTEST(int { VRK_FlashATMEGA_file(file.constData(), nullptr) }, "result");
    QCOMPARE(VRK_FlashATMEGA_file("", nullptr), VRK_RESULT_UPGRADE_FILE_NOT_FOUND);
}

void SubstituteFlashTest::progress()
{
    const Bench bench;
    QCOMPARE(bench.start("[board]\npage_ms = 100\n"), VRK_RESULT_OK);
    // Pages 0 and 3; the two between them stay erased and are not written.
    const QByteArray file = bench.write("ZEPRA_AFW_2.hex",
                                        hexRecord(0, 0xff, "a") + hexRecord(0, 0x300, "b")
                                                + ":00000001FF\n");
    Progress progress;
    const VRK_ProgressCallback callback = progress.callback();
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(VRK_FlashATMEGA_file(file.constData(), &callback), VRK_RESULT_OK);
    QVERIFY(timer.elapsed() >= 200);
    QCOMPARE(progress.done, QVector<int>({ 0, 1, 2 }));
    QCOMPARE(progress.totals, QVector<int>({ 2, 2, 2 }));
    QVERIFY(progress.otherThread);

    const VRK_ProgressCallback withoutFunction = { nullptr, nullptr };
    QCOMPARE(VRK_FlashATMEGA_file(file.constData(), &withoutFunction), VRK_RESULT_OK);
}

void SubstituteFlashTest::secondFlashMeanwhile()
{
    const Bench bench;
    QCOMPARE(bench.start(), VRK_RESULT_OK);
    struct Meanwhile {
        QByteArray file;
        std::atomic<int> flash { 0 };
        std::atomic<int> initialize { 0 };
    } meanwhile;
    meanwhile.file = bench.write("ZEPRA_AFW_2.hex", image(1));
    const VRK_ProgressCallback callback = {
        [](void *userData, int, int) {
            auto &self = *static_cast<Meanwhile *>(userData);
            self.flash = VRK_FlashATMEGA_file(self.file.constData(), nullptr);
            self.initialize = VRK_Lib_Initialize(nullptr, nullptr, VRK_LIB_MODE_UPDATER, false);
        },
        &meanwhile
    };
    const CapturedOutput output;
    QCOMPARE(VRK_FlashATMEGA_file(meanwhile.file.constData(), &callback), VRK_RESULT_OK);
    QVERIFY(output.text().contains("VRK_FlashATMEGA_file refused: another thread"));
    QVERIFY(output.text().contains("VRK_Lib_Initialize refused: another thread"));
    QCOMPARE(meanwhile.flash.load(), 61);
    QCOMPARE(meanwhile.initialize.load(), 61);
}

void SubstituteFlashTest::statusMessages()
{
    const Bench bench;
    QCOMPARE(bench.start(), VRK_RESULT_OK);
    QVector<int> codes;
    const auto note = [](void *userData, VRK_ResultCode code, const char *message) {
        if (message != nullptr)
            static_cast<QVector<int> *>(userData)->append(code);
    };
    QCOMPARE(VRK_Lib_Initialize(note, &codes, VRK_LIB_MODE_UPDATER, true), VRK_RESULT_OK);
    VRK_FlashATMEGA_file("/nowhere.hex", nullptr);
    QCOMPARE(codes, QVector<int>({ 0, 59 }));
}

void SubstituteFlashTest::unwritableState_data()
{
    QTest::addColumn<QByteArray>("stateFile"); // %1 is a file
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("below a file") << QByteArray("%1/board.ini")
                                  << QByteArray("%1/board.ini: Not a directory");
    QTest::newRow("none set") << QByteArray() << QByteArray("] no state file is set");
}

void SubstituteFlashTest::unwritableState()
{
    QFETCH(QByteArray, stateFile);
    QFETCH(QByteArray, error);
    const Bench bench;
    const QByteArray obstacle = bench.write("file", "kept");
    QCOMPARE(bench.start("[state]\nfile = " + stateFile.replace("%1", obstacle) + "\n"),
             VRK_RESULT_OK);
    const QByteArray file = bench.write("ZEPRA_AFW_2.hex", image(1));
    const CapturedOutput output;
    QCOMPARE(VRK_FlashATMEGA_file(file.constData(), nullptr), VRK_RESULT_OK);
    error = error.replace("%1", obstacle) + "; the board forgets version 2";
    QVERIFY2(output.text().contains(error), output.text().constData());
    QCOMPARE(boardVersion(), QByteArray("2"));
    QCOMPARE(bench.read("file"), QByteArray("kept"));
    QCOMPARE(bench.versionAfterRestart(), QByteArray("1.00"));
}

void SubstituteFlashTest::damagedState()
{
    const Bench bench;
    QVERIFY(QDir().mkpath(bench.path("state")));
    bench.write("state/board.ini",
                QByteArrayLiteral("[board\0version = 2\n[flash]\nversion = 3\n"));
    const CapturedOutput output;
    QCOMPARE(bench.versionAfterRestart(), QByteArray("1.00"));
    QVERIFY2(output.text().contains("keeps no board version"), output.text().constData());
}

QTEST_GUILESS_MAIN(SubstituteFlashTest)
#include "tst_substitute_flash.moc"
