#include "atmegaupdate.h"
#include "fakeinstrument.h"
#include "messagelog.h"
#include "workerrun.h"

#include <QSignalSpy>
#include <QTemporaryFile>
#include <QtTest>

#include <thread>

class AtmegaUpdateTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void flashesAndReportsATenth();
    void resultCodes_data();
    void resultCodes();
    void badImagePaths_data();
    void badImagePaths();
    void pathGoesToTheLibraryInLatin1();
    void everyRunStartsAtZero();
    void folderIsLeftToTheLibrary();

private:
    QTemporaryFile m_image;
};

void AtmegaUpdateTest::initTestCase()
{
    QVERIFY(m_image.open());
}

void AtmegaUpdateTest::init()
{
    FakeInstrument::reset();
}

void AtmegaUpdateTest::flashesAndReportsATenth()
{
    QByteArray flashedPath;
    fakeInstrument().flash = [&](const char *path, const VRK_ProgressCallback *progress) {
        flashedPath = path;
        std::thread([progress] {
            const int counts[][2] = { { 0, 4 }, { 1, 0 }, { 2, 4 }, { 1, 2 }, { 4, 4 }, { 5, 4 } };
            for (const auto &[done, total] : counts)
                progress->function(progress->userData, done, total);
        }).join();
        return VRK_RESULT_OK;
    };
    MessageLog log;
    AtmegaUpdate update(nullptr);
    update.setImagePath(m_image.fileName());
    QSignalSpy progress(&update, &AtmegaUpdate::progressChanged);
    QVERIFY(runWorker(&update));

    QCOMPARE(flashedPath, m_image.fileName().toLatin1());
    const QList<QVariantList> reports = { { 0.05, 2000 }, { 0.1, 2000 }, { 0.125, 2000 } };
    QCOMPARE(QList<QVariantList>(progress), reports);
    QCOMPARE(update.progress(), 1.25);
    QCOMPARE(log.messages(),
             QStringList(QStringLiteral("warning: ATMEGA Firmware upgrade successfully")));
    const QStringList calls = { QStringLiteral("+AtmegaUpdate::run"),
                                QStringLiteral("VRK_FlashATMEGA_file"),
                                QStringLiteral("resultReady"),
                                QStringLiteral("-AtmegaUpdate::run") };
    QCOMPARE(fakeInstrument().calls, calls);
}

void AtmegaUpdateTest::resultCodes_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("reason");
    const auto row = [](int code, const char *reason) {
        QTest::addRow("%d", code) << code << QString::fromLatin1(reason);
    };
    row(35, "because Connection to measurement board failed");
    row(58, "because Upgrade storage not mounted");
    row(59, "because Upgrade file not found");
    row(60, "because Upgrade file error");
    row(61, "because Another instance of ZEPRA is running");
    row(1, "for unknown reason");
    row(34, "for unknown reason");
    row(62, "for unknown reason");
    row(-1, "for unknown reason");
}

void AtmegaUpdateTest::resultCodes()
{
    QFETCH(int, code);
    QFETCH(QString, reason);
    fakeInstrument().flash = [code](const char *, const VRK_ProgressCallback *) {
        return static_cast<VRK_ResultCode>(code);
    };
    MessageLog log;
    AtmegaUpdate update(nullptr);
    update.setImagePath(m_image.fileName());
    QVERIFY(!runWorker(&update));

    const QStringList messages = {
        QStringLiteral("warning: Error upgrading firmware. Error return:  %1").arg(code),
        QLatin1String("warning: ATMEGA Upgrade failed ") + reason,
    };
    QCOMPARE(log.messages(), messages);
}

void AtmegaUpdateTest::badImagePaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("message");
    QTest::newRow("empty") << QString() << QStringLiteral("Image Path cannot be empty");
    QTest::newRow("nothing there")
            << QStringLiteral("/nowhere/a.hex")
            << QStringLiteral("Could not find image file at  \"/nowhere/a.hex\"");
}

void AtmegaUpdateTest::badImagePaths()
{
    QFETCH(QString, path);
    QFETCH(QString, message);
    MessageLog log;
    AtmegaUpdate update(nullptr);
    update.setImagePath(path);
    QVERIFY(!runWorker(&update));
    QCOMPARE(log.messages(), QStringList(QLatin1String("warning: ") + message));
    QVERIFY(!fakeInstrument().calls.contains(QStringLiteral("VRK_FlashATMEGA_file")));
}

void AtmegaUpdateTest::pathGoesToTheLibraryInLatin1()
{
    QTemporaryFile image(QDir::tempPath() + QStringLiteral("/\u00fc\u0416XXXXXX"));
    QVERIFY(image.open());
    QByteArray flashedPath;
    fakeInstrument().flash = [&](const char *path, const VRK_ProgressCallback *) {
        flashedPath = path;
        return VRK_RESULT_UPGRADE_FILE_NOT_FOUND;
    };
    AtmegaUpdate update(nullptr);
    update.setImagePath(image.fileName());
    QVERIFY(!runWorker(&update));
    QVERIFY2(flashedPath.contains("/\xfc?"), flashedPath.constData());
}

void AtmegaUpdateTest::everyRunStartsAtZero()
{
    fakeInstrument().flash = [](const char *, const VRK_ProgressCallback *progress) {
        progress->function(progress->userData, 1, 1);
        return VRK_RESULT_OK;
    };
    AtmegaUpdate update(nullptr);
    update.setImagePath(m_image.fileName());
    QVERIFY(runWorker(&update));
    QSignalSpy progress(&update, &AtmegaUpdate::progressChanged);
    QVERIFY(runWorker(&update));
    QCOMPARE(QList<QVariantList>(progress), QList<QVariantList>({ { 0.0, 2000 }, { 0.1, 2000 } }));
}

void AtmegaUpdateTest::folderIsLeftToTheLibrary()
{
    QByteArray flashedPath;
    fakeInstrument().flash = [&](const char *path, const VRK_ProgressCallback *) {
        flashedPath = path;
        return VRK_RESULT_UPGRADE_FILE_ERROR;
    };
    AtmegaUpdate update(nullptr);
    update.setImagePath(QStringLiteral("/tmp"));
    QVERIFY(!runWorker(&update));
    QCOMPARE(flashedPath, QByteArray("/tmp"));
}

QTEST_GUILESS_MAIN(AtmegaUpdateTest)

#include "tst_atmegaupdate.moc"
