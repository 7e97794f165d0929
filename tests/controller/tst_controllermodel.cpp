// The controller as a model: properties and their signals, progress, language, lifetime.
#include "atmegaupdate.h"
#include "controllerbench.h"
#include "fakeinstrument.h"
#include "messagelog.h"
#include "recordedsystem.h"
#include "vrkupdate.h"

#include <QDir>
#include <QMetaMethod>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QtTest>

#include <atomic>

class ControllerModelTest : public ControllerTest
{
    Q_OBJECT

private slots:
    void loadedScreen();
    void membersOfTheMetaObject();
    void changesAreSignalledOnce();
    void progressOnlyRises();
    void storedLanguage_data();
    void storedLanguage();
    void destructionEndsTheInstallerBetweenCommands();
    void destructionAwaitsTheFlash();
};

void ControllerModelTest::loadedScreen()
{
    MessageLog log;
    const auto controller = make(Controller::UPDATE_ZEPRA, false, QStringLiteral("/a.tar.gz"));
    QCOMPARE(screen(*controller), QStringLiteral("||yes/no"));
    QCOMPARE(controller->buttonText(), QStringLiteral("Reboot"));
    QCOMPARE(controller->expectedDuration(), 1000);
    QCOMPARE(controller->progress(), 0.0);
    QCOMPARE(log.messages(),
             QStringList(QStringLiteral(
                     "info: ApplicationController::ApplicationController init with mode:  0"
                     "  Path: \"/a.tar.gz\"")));
    QCOMPARE(fakeInstrument().calls, QStringList());
    QCOMPARE(screen(*make(Controller::UPDATE_ZEPRA, true)), QStringLiteral("|"));

    const auto *engine = controller->findChild<QQmlApplicationEngine *>();
    const QQmlContext *context = engine->rootContext();
    QCOMPARE(context->contextProperty(QStringLiteral("_appController")),
             QVariant::fromValue<QObject *>(controller.get()));
    auto *locale = qvariant_cast<QObject *>(
            context->contextProperty(QStringLiteral("_localeManager")));
    QVERIFY(locale != nullptr);
    QCOMPARE(locale->metaObject()->className(), "LocaleManager");
    QVERIFY(engine->importPathList().contains(QStringLiteral("qrc:/")));
    QCOMPARE(engine->rootObjects().size(), 1);
}

void ControllerModelTest::membersOfTheMetaObject()
{
    const QMetaObject &meta = Controller::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        methods << QString::fromLatin1(meta.method(i).name());
    QCOMPARE(methods.join(QLatin1Char(' ')),
             QStringLiteral("messageChanged confirmationVisibleChanged instructionsTextChanged"
                            " buttonTextChanged progressBarVisibleChanged"
                            " progressBarIndeterminateChanged progressChanged buttonVisibleChanged"
                            " expectedDurationChanged init onAtmegaUpdateFinished"
                            " onVRKUpdateFinished handleButtonCancel handleButtonContinue"
                            " handleButtonPress"));
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        QVERIFY2(!property.isWritable(), property.name());
        QCOMPARE(property.hasNotifySignal(), qstrcmp(property.name(), "isSilent") != 0);
    }
}

void ControllerModelTest::changesAreSignalledOnce()
{
    const auto controller = make(Controller::UPDATE_ZEPRA, false, QStringLiteral("/nowhere"));
    QStringList signalled;
    const auto note = [&](void (Controller::*signal)(), const char *name) {
        connect(controller.get(), signal, [&, name] { signalled << QString::fromLatin1(name); });
    };
    note(&Controller::messageChanged, "message");
    note(&Controller::confirmationVisibleChanged, "box");
    note(&Controller::instructionsTextChanged, "instructions");
    note(&Controller::buttonTextChanged, "label");
    note(&Controller::progressBarVisibleChanged, "bar");
    note(&Controller::progressBarIndeterminateChanged, "busy");
    note(&Controller::buttonVisibleChanged, "button");
    const auto taken = [&] {
        const QString all = signalled.join(QLatin1Char(' '));
        signalled.clear();
        return all;
    };

    QCoreApplication::processEvents();
    QCOMPARE(taken(), QStringLiteral("message bar busy bar busy instructions message"));
    controller->handleButtonContinue();
    QCOMPARE(taken(), QStringLiteral("box message bar busy message message button bar"));
    controller->handleButtonContinue();
    QCOMPARE(taken(), QStringLiteral("message bar button message message button bar"));
    emit controller->findChild<VRKUpdate *>()->resultReady(false);
    QCOMPARE(taken(), QStringLiteral("message"));
    emit controller->findChild<VRKUpdate *>()->resultReady(false);
    QCOMPARE(taken(), QString());
    emit controller->findChild<AtmegaUpdate *>()->resultReady(true);
    QCOMPARE(taken(), QStringLiteral("instructions message"));
    emit controller->findChild<AtmegaUpdate *>()->resultReady(true);
    QCOMPARE(taken(), QString());
    controller->handleButtonPress();
    QCOMPARE(taken(), QStringLiteral("button bar message"));
    controller->handleButtonPress();
    QCOMPARE(taken(), QString());
}

void ControllerModelTest::progressOnlyRises()
{
    const auto controller = make(Controller::UPDATE_ZEPRA, false);
    QStringList signalled;
    connect(controller.get(), &Controller::expectedDurationChanged, [&] {
        signalled << QStringLiteral("duration %1").arg(controller->expectedDuration());
    });
    connect(controller.get(), &Controller::progressChanged,
            [&] { signalled << QStringLiteral("progress %1").arg(controller->progress()); });
    MessageLog log;
    auto *installer = controller->findChild<VRKUpdate *>();
    auto *board = controller->findChild<AtmegaUpdate *>();
    emit installer->progressChanged(0.1, 1000);
    emit installer->progressChanged(0.9, 43000);
    emit board->progressChanged(0.05, 2000);
    emit board->progressChanged(0.9, 2000);

    const QStringList expected = { QStringLiteral("progress 0.1"), QStringLiteral("duration 43000"),
                                   QStringLiteral("progress 0.9"),
                                   QStringLiteral("duration 2000") };
    QCOMPARE(signalled, expected);
    const QStringList messages = { QStringLiteral("warning: Progress update: 0.1"),
                                   QStringLiteral("warning: Progress update: 0.9") };
    QCOMPARE(log.messages(), messages);
}

void ControllerModelTest::storedLanguage_data()
{
    QTest::addColumn<QString>("label");
    const QString russian = QString::fromUtf8("Перезагрузить");
    const QString untranslated = QStringLiteral("Reboot");
    QTest::newRow("language=2") << QStringLiteral("Neu starten");
    QTest::newRow("language=12") << russian;
    QTest::newRow("language=\"12\"") << russian;
    for (const char *none : { "language=0", "language=13", "language=-1", "language=ru",
                              "language=12.5", "language=1, 2", "; nothing" })
        QTest::newRow(none) << untranslated;
}

void ControllerModelTest::storedLanguage()
{
    if (!missingFolders().isEmpty())
        QSKIP(qPrintable(missingFolders()));
    QVERIFY(QDir().mkpath(QStringLiteral("/var/zepra/vrk-gui")));
    QFile settings(QStringLiteral("/var/zepra/vrk-gui/settings.ini"));
    QVERIFY(settings.open(QIODevice::WriteOnly));
    const QByteArray content = QByteArray("[Regional]\n") + QTest::currentDataTag() + "\n";
    settings.write(content);
    settings.close();
    QTEST(make(Controller::DISPLAY_ERROR, false)->buttonText(), "label");
    QVERIFY(settings.open(QIODevice::ReadOnly));
    QCOMPARE(settings.readAll(), content);
}

void ControllerModelTest::destructionEndsTheInstallerBetweenCommands()
{
    std::atomic<bool> unmounting = false;
    RecordedSystem::answerWith([&](const QString &line) {
        if (line.startsWith(QLatin1String("umount"))) {
            unmounting = true;
            QThread::msleep(300);
        }
        return line == QLatin1String("mount | grep -c mmcblk1p4") ? failed : 0;
    });
    auto controller = make(Controller::UPDATE_ZEPRA, true, archiveFile());
    QCoreApplication::processEvents();
    QTRY_VERIFY(unmounting);
    controller.reset();
    QCOMPARE(RecordedSystem::commandLines().last(), QStringLiteral("umount -l /dev/mmcblk1p3"));
    QCOMPARE(fakeInstrument().calls.last(), QStringLiteral("-VRKUpdate::run"));
}

void ControllerModelTest::destructionAwaitsTheFlash()
{
    std::atomic<bool> flashing = false;
    std::atomic<bool> flashed = false;
    fakeInstrument().flash = [&](const char *, const VRK_ProgressCallback *) {
        flashing = true;
        QThread::msleep(300);
        flashed = true;
        return VRK_RESULT_OK;
    };
    auto controller = make(Controller::UPDATE_ZEPRA, false);
    auto *board = controller->findChild<AtmegaUpdate *>();
    board->setImagePath(archiveFile());
    board->start();
    QTRY_VERIFY(flashing);
    controller.reset();
    QVERIFY(flashed);
}

int main(int argc, char **argv)
{
    ControllerModelTest test;
    return runControllerTest(&test, argc, argv);
}

#include "tst_controllermodel.moc"
