#include "atmegaupdate.h"
#include "fakeinstrument.h"
#include "messagelog.h"

#include <QTemporaryDir>

#include <thread>

namespace {

constexpr int notAsked = -1000; // the library

VRK_ResultCode flash(const VRK_ProgressCallback *progress, int code)
{
    const int counts[][2] = {
        { 0, 4 }, { 1, 0 }, { 1000000, 2000001 }, { 1000001, 2000003 }, { 0, 4 }, { -1, 4 }, { 1, -2 },
        { 4, 4 }, { 5, 4 }
    };
    for (const auto &[done, total] : counts) // on threads of the library's choosing
        std::thread(progress->function, progress->userData, done, total).join();
    return static_cast<VRK_ResultCode>(code);
}

} // namespace

class AtmegaUpdateTest : public QObject
{
    Q_OBJECT

private slots:
    void runs_data();
    void runs();
};

void AtmegaUpdateTest::runs_data()
{
    QTest::addColumn<QString>("image");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("said");
    const auto row = [](const char *image, int code, const char *said, const char *processor = "arm") {
        QTest::addRow("%s %s %d", processor, image, code) << image << code << said;
    };
    for (const char *processor : { "x86_64", "arm64", "ARM", "" })
        row("ü/Ж.hex", notAsked, "Update is not supported on non-ARM platforms", processor);
    row("", notAsked, "Image Path cannot be empty");
    row("no.hex", notAsked, "Could not find image file at  \"%1\"");
    row("ü/Ж.hex", 0, "ATMEGA Firmware upgrade successfully");
    row("ü", 35, "because Connection to measurement board failed");
    row("ü/Ж.hex", 58, "because Upgrade storage not mounted");
    row("ü/Ж.hex", 59, "because Upgrade file not found");
    row("ü/Ж.hex", 60, "because Upgrade file error");
    row("ü/Ж.hex", 61, "because Another instance of ZEPRA is running");
    for (const int other : { 1, 34, 36, 57, 62, -1 })
        row("ü/Ж.hex", other, "for unknown reason");
}

void AtmegaUpdateTest::runs()
{
    QFETCH(QString, image);
    QFETCH(int, code);
    QFETCH(QString, said);
    const QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir("ü") && QFile(folder.filePath("ü/Ж.hex")).open(QFile::WriteOnly));
    const QString path = image.isEmpty() ? image : folder.filePath(image);
    fakeInstrument().flash = [code](const auto *progress) { return flash(progress, code); };
    fakeInstrument().processor = QString(QTest::currentDataTag()).section(' ', 0, 0);

    QStringList lines = { "debug: +AtmegaUpdate::run" };
    if (code != notAsked)
        lines << "VRK_FlashATMEGA_file " + QString(path).replace("Ж", "?")
              << QString("progress 0.05 2000,progress 0 2000,progress -0.025 2000,progress -0.05 2000,progress 0.1 "
                         "2000,progress 0.125 2000")
                         .split(',');
    if (code != notAsked && code != 0) {
        lines << QString("warning: Error upgrading firmware. Error return:  %1").arg(code);
        said.prepend("ATMEGA Upgrade failed ");
    }
    lines << "warning: " + said.replace("%1", path) << QString("result %1").arg(code == 0)
          << "debug: -AtmegaUpdate::run";

    AtmegaUpdate update(nullptr);
    update.setImagePath(path);
    compareLines(runWorker(&update), lines);
    QCOMPARE(update.progress(), code == notAsked ? 0.0 : 1.25);
    if (code != notAsked)
        lines.insert(1, "progress 0 2000");
    compareLines(runWorker(&update), lines); // a second run starts anew
}

QTEST_GUILESS_MAIN(AtmegaUpdateTest)

#include "tst_atmegaupdate.moc"
