// The controller from its constructor to its end, with the instrument, its commands and the
// operator as each row has them: all that the main thread does, in its order.
#include "applicationcontroller.h"
#include "atmegaupdate.h"
#include "fakeinstrument.h"
#include "messagelog.h"
#include "vrkupdate.h"

#include <QGuiApplication>
#include <QMetaProperty>
#include <QMouseEvent>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QSemaphore>
#include <QTimer>
#include <QWindow>

#include <plog/Log.h>

#include <thread>
#include <unistd.h>

namespace {

/// Skipped where there are neither root's rights nor user namespaces.
const char inOwnFolders[] = R"SH(
    [ "$(id -u)" = 0 ] || user=--map-root-user
    unshare --mount $user true || exit 77
    exec unshare --mount $user sh -ec '
        mount -t tmpfs tmpfs /usr/local/share
        mount -t tmpfs tmpfs /var
        exec "$0" "$@"' "$0" "$@"
)SH";

constexpr int waits = -1; // instead of an exit status
constexpr QPointF yes { 200, 456 }; // and Reboot, when it is there
const char usualPath[] = "/var/usb/zepra_update_v2.tar.gz";
const QString firmwareFolder = "/usr/local/share/zentar/atmega/";
QString s_goneFile;

class RecordKeeper : public plog::IAppender
{
public:
    void write(const plog::Record &record) override
    {
        static const char *const severities[] = { "NONE", "FATAL", "ERROR", "WARN", "INFO" };
        const plog::util::nstring text = record.getMessage();
        MessageLog::note(QString("%1 %2").arg(severities[record.getSeverity()], text.c_str()));
    }
};

QString tables()
{
    QFile file(QFINDTESTDATA("runs.txt"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QString();
}

/// All that a part of a run is made of.
QStringList expanded(const QString &part)
{
    const QString all = tables();
    const int at = all.indexOf('\n' + part.section(' ', 0, 0) + ": ");
    if (at < 0)
        return { part };
    QStringList lines;
    for (QString piece : all.mid(at + 1).section('\n', 0, 0).section(": ", 1).split("; "))
        lines += expanded(piece.replace("%1", part.section(' ', 1)));
    return lines;
}

} // namespace

/// Comes before Qt's own: one file has gone since its folder was listed.
bool QFile::exists(const QString &path) { return path != s_goneFile && QFileInfo::exists(path); }

class ApplicationControllerTest : public QObject
{
    Q_OBJECT

public slots:
    void noteChange();
    void turn();

private slots:
    void runs_data();
    void runs();
    void storedLanguages();
    void workersEndWithTheirController();

private:
    QString setting(const char *name, const char *usual) const { return m_settings.value(name, usual); }
    void prepare();
    void watch(ApplicationController *controller);
    static void post(QEvent::Type type, QPointF at = yes);
    static void tap(QPointF at = yes);
    void take(const QString &action, ApplicationController *controller);

    QHash<QString, QString> m_settings; ///< of the row
    QSemaphore m_turns;
};

void ApplicationControllerTest::runs_data()
{
    QTest::addColumn<QString>("differs");
    QTest::addColumn<QString>("happens");
    const QString all = tables().replace("LONG", QString(42, '8'));
    for (const QString &row : all.split('\n').filter(" | "))
        QTest::newRow(qPrintable(row.section('|', 0, 0)))
                << row.section('|', 1, 1).trimmed() << row.section('|', 2).trimmed();
}

/// The archive's drive, the firmware files and the instrument, as the row has them.
void ApplicationControllerTest::prepare()
{
    const char *const script = R"SH(
        rm -rf /var/usb /usr/local/share/zentar
        mkdir -p /var/usb
        case $1 in /var/usb/*) touch "$1" ;; esac
        age=$#
        while shift; [ $# -gt 0 ]; do
            mkdir -p /usr/local/share/zentar/atmega
            cd /usr/local/share/zentar/atmega
            case $1 in */) mkdir "$1" ;; *@) ln -s /nowhere "${1%@}" ;; *) : >"$1" ;; esac
            touch -h -d "$((age -= 1)) days ago" "${1%@}"
        done
    )SH";
    const QStringList files = setting("files", "ZEPRA_AFW_2.07.hex").split(' ').filter(QRegularExpression("."));
    const QStringList arguments = { "-ec", script, "sh", setting("path", usualPath) };
    QCOMPARE(QProcess::execute("sh", arguments + files), 0);
    s_goneFile = firmwareFolder + setting("gone", "");

    const auto code = [this](const char *name) { return static_cast<VRK_ResultCode>(setting(name, "0").toInt()); };
    fakeInstrument() = {};
    fakeInstrument().initializeResult = code("library");
    fakeInstrument().deviceInfo = [=](VRK_DeviceInfo *info) {
        setting("system", "1.0").toStdString().copy(info->systemVersion, sizeof info->systemVersion);
        setting("board", "2.06").toStdString().copy(info->atmegaVersion, sizeof info->atmegaVersion);
        return code("query");
    };
    fakeInstrument().status = [=](VRK_Status *status) {
        if (setting("tap", "") == "late")
            tap();
        if (setting("tap", "") == "long")
            post(QEvent::MouseButtonRelease);
        status->boardConnected = static_cast<std::uint8_t>(setting("connected", "1").toInt());
        return code("query");
    };
    fakeInstrument().flash = [=](const VRK_ProgressCallback *progress) {
        progress->function(progress->userData, 1, 2);
        return code("flash");
    };
    fakeInstrument().shell = [=](const QString &line) {
        if (!line.startsWith("gzip"))
            return line == setting("fails", "") || line.endsWith("grep -c mmcblk1p4") ? 256 : 0;
        MessageLog::note(line);
        m_turns.acquire(m_turns.available());
        QMetaObject::invokeMethod(this, "turn", Qt::QueuedConnection);
        return m_turns.tryAcquire(1, 2000) ? int(code("gzip")) : 256;
    };
}

/// Notes the property whose change has been signalled.
void ApplicationControllerTest::noteChange()
{
    const QMetaObject &meta = ApplicationController::staticMetaObject;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        if (meta.property(i).notifySignalIndex() == senderSignalIndex())
            MessageLog::note(meta.property(i).name() + ('=' + meta.property(i).read(sender()).toString()));
    }
}

/// Notes the properties and, from then on, their changes.
void ApplicationControllerTest::watch(ApplicationController *controller)
{
    const QMetaObject &meta = ApplicationController::staticMetaObject;
    const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("noteChange()"));
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        MessageLog::note(meta.property(i).name() + ('=' + meta.property(i).read(controller).toString()));
        if (meta.property(i).hasNotifySignal())
            connect(controller, meta.property(i).notifySignal(), this, slot);
    }
}

/// The main thread processes its events.
void ApplicationControllerTest::turn()
{
    MessageLog::note("turn");
    m_turns.release();
    if (setting("tap", "") != "touch")
        return;
    static QTouchDevice *const device = QTest::createTouchDevice();
    QWindow *window = QGuiApplication::topLevelWindows().first();
    QTest::touchEvent(window, device, false).press(0, yes.toPoint()).commit(false); // comes at once
    QTest::touchEvent(window, device, false).release(0, yes.toPoint()).commit(false);
}

/// An event that waits for the next turn.
void ApplicationControllerTest::post(QEvent::Type type, QPointF at)
{
    const bool down = type == QEvent::MouseButtonPress;
    auto *event = new QMouseEvent(type, at, Qt::LeftButton, down ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
    QCoreApplication::postEvent(QGuiApplication::topLevelWindows().first(), event);
}

void ApplicationControllerTest::tap(QPointF at)
{
    post(QEvent::MouseButtonPress, at);
    post(QEvent::MouseButtonRelease, at);
}

void ApplicationControllerTest::take(const QString &action, ApplicationController *controller)
{
    auto *installer = controller->findChild<VRKUpdate *>();
    MessageLog::note("> " + action);
    if (action == "yes") {
        controller->handleButtonContinue();
    } else if (action == "installed") {
        emit installer->resultReady(true);
    } else if (action == "reported") {
        emit installer->progressChanged(0.1, 1000);
        emit installer->progressChanged(0.9, 43000);
        emit controller->findChild<AtmegaUpdate *>()->progressChanged(0.05, 2000);
        emit controller->findChild<AtmegaUpdate *>()->progressChanged(-0.1, 2000);
        emit controller->findChild<AtmegaUpdate *>()->progressChanged(1.25, 2000);
    } else if (action == "tap") {
        tap();
        QCoreApplication::processEvents();
    } else { // a button that ends the run, but processes the pending events before
        QTimer::singleShot(0, this, &ApplicationControllerTest::turn);
        if (action.startsWith("tap"))
            tap();
        if (action.startsWith("key"))
            QCoreApplication::postEvent(QGuiApplication::topLevelWindows().first(),
                                        new QKeyEvent(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier));
        action.endsWith("no") ? controller->handleButtonCancel() : controller->handleButtonPress();
        MessageLog::note("pressed");
    }
}

void ApplicationControllerTest::runs()
{
    QFETCH(QString, differs);
    QFETCH(QString, happens);
    m_settings.clear();
    for (const QString &item : differs.split(", "))
        m_settings[item.section('=', 0, 0)] = item.section('=', 1);
    prepare();
    const bool silent = m_settings.contains("silent");
    const QString path = setting("path", usualPath);
    const int mode = setting("mode", "0").toInt();
    const bool debug = m_settings.contains("debug");

    const MessageLog log(thread());
    ApplicationController controller(static_cast<ApplicationController::UpdaterMode>(mode), debug, silent, path,
                                     nullptr);
    watch(&controller);
    QTimer::singleShot(0, this, &ApplicationControllerTest::turn);
    if (setting("tap", "") == "aside")
        tap({ 400, 100 });
    if (setting("tap", "") == "long")
        post(QEvent::MouseButtonPress);
    for (int taps = setting("tap", "0").toInt(); taps > 0; --taps)
        tap();
    QStringList actions = setting("then", "").split(' ').filter(QRegularExpression("."));
    bool answered = false;
    int restingPolls = 0;
    QTimer poll;
    connect(&poll, &QTimer::timeout, [&] {
        const bool rests = (answered || !controller.isProgressBarVisible())
                && !controller.findChild<VRKUpdate *>()->isRunning()
                && !controller.findChild<AtmegaUpdate *>()->isRunning();
        restingPolls = rests ? restingPolls + 1 : 0;
        if (restingPolls < 2) // what a worker has reported comes between them
            return;
        restingPolls = 0;
        if (actions.isEmpty())
            return QCoreApplication::exit(waits);
        answered = true;
        take(actions.takeFirst(), &controller);
    });
    poll.start(20);
    QTimer::singleShot(20000, &poll, [] { QCoreApplication::exit(99); });
    const int status = QCoreApplication::exec();
    if (status != waits)
        MessageLog::note(QString("exit %1").arg(status));

    QStringList expected;
    QHash<QString, QString> values;
    for (const QString &part : ("begins; " + happens).split("; ")) {
        for (QString line : expanded(part)) {
            line.replace("MODE", QString::number(mode)).replace("PATH", path).replace("FOLDER", firmwareFolder);
            line.replace("DEBUG", QString::number(debug)).replace("QUERY", setting("query", "0"));
            line.replace("SILENT", QVariant(silent).toString()).replace("ASKING", QVariant(!silent).toString());
            QString &last = values[line.section('=', 0, 0)];
            if (last != line || !line.contains('='))
                expected << line;
            last = line;
        }
    }
    compareLines(log.take(), expected);
    QCOMPARE(fakeInstrument().userData, static_cast<void *>(&controller));
}

/// What stands in the settings' group, and the label that it leads to.
void ApplicationControllerTest::storedLanguages()
{
    fakeInstrument().processor = "x86_64"; // whose translations lie beside the program
    const QStringList german = { "language=2" }, russian = { "language=12", "language=\"12\"" };
    const QString folder; // in the place of the file
    const QStringList others = { "language=0",    "language=1000", "language=-1", "language=ru",
                                 "language=12.5", "language=1, 2", "; nothing",   folder };
    QVERIFY(QDir().mkpath("/var/zepra/vrk-gui"));
    QFile settings("/var/zepra/vrk-gui/settings.ini");
    for (const QString &stored : german + russian + others) {
        const QByteArray content = "[Regional]\n" + stored.toUtf8() + '\n';
        QVERIFY(settings.remove() || !settings.exists());
        QVERIFY(stored == folder ? QDir().mkdir(settings.fileName())
                                 : settings.open(QIODevice::WriteOnly) && settings.write(content) > 0);
        settings.close();
        {
            const MessageLog log;
            const ApplicationController controller(ApplicationController::DISPLAY_ERROR, false, false, "", nullptr);
            compareLines(log.take(),
                         expanded("begins").mid(0, 1).replaceInStrings("MODE", "1").replaceInStrings("PATH", ""));
            QCOMPARE(controller.buttonText(),
                     german.contains(stored)            ? "Neu starten"
                             : russian.contains(stored) ? "Перезагрузить"
                                                        : "Reboot");
            const auto *engine = controller.findChild<QQmlApplicationEngine *>();
            QVERIFY(engine->importPathList().contains("qrc:/"));
            QVERIFY(engine->rootContext()->contextProperty("_localeManager").value<QObject *>() != nullptr);
        }
        QVERIFY(stored == folder || (settings.open(QIODevice::ReadOnly) && settings.readAll() == content));
        settings.close();
    }
    QVERIFY(QDir().rmdir(settings.fileName()));
}

/// A second start is refused while a worker runs. The controller's end awaits its command, or its flash.
void ApplicationControllerTest::workersEndWithTheirController()
{
    for (const bool flash : { false, true }) {
        QSemaphore begun, gate;
        const auto work = [&] {
            begun.release();
            gate.acquire();
            MessageLog::note("worked");
            return VRK_RESULT_OK;
        };
        fakeInstrument() = {};
        fakeInstrument().shell = [&](const QString &) { return work(); };
        fakeInstrument().flash = [&](const VRK_ProgressCallback *) { return work(); };
        auto controller = std::make_unique<ApplicationController>(ApplicationController::UPDATE_ZEPRA, false, false,
                                                                  "/", nullptr);
        QTRY_COMPARE(controller->message().left(7), "Are you"); // the question
        QTRY_COMPARE(controller->children().size(), 4); // no held input any more
        for (QObject *child : controller->children())
            connect(child, &QObject::destroyed, [name = child->metaObject()->className()] { MessageLog::note(name); });
        auto *installer = controller->findChild<VRKUpdate *>();
        auto *board = controller->findChild<AtmegaUpdate *>();
        installer->setImagePath("/");
        board->setImagePath("/");
        watch(controller.get());

        const MessageLog log(thread());
        (flash ? static_cast<QThread *>(board) : installer)->start();
        QVERIFY(begun.tryAcquire(1, 10000));
        controller->handleButtonContinue();
        std::thread opener([&] {
            QThread::msleep(200);
            gate.release(100);
        });
        controller.reset();
        opener.join();
        const QString end = flash ? "worked AtmegaUpdate VRKUpdate" : "AtmegaUpdate worked VRKUpdate";
        compareLines(log.take(),
                     QStringList("VRK_FlashATMEGA_file /").mid(flash ? 0 : 1) + expanded("accepted")
                             + QStringList("warning: Update is already running in background thread!")
                             + (end + " QQmlApplicationEngine LocaleManager").split(' '));
    }
}

/// Starts the program once more, with empty folders of its own over the instrument's.
int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet("VRK_OWN_FOLDERS")) {
        qputenv("VRK_OWN_FOLDERS", "yes");
        std::vector<char *> arguments = { qstrdup("sh"), qstrdup("-c"), qstrdup(inOwnFolders) };
        arguments.insert(arguments.end(), argv, argv + argc + 1);
        return execvp("sh", arguments.data());
    }
    const QGuiApplication application(argc, argv);
    RecordKeeper keeper;
    plog::init(plog::debug, &keeper);
    ApplicationControllerTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_applicationcontroller.moc"
