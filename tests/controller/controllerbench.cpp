#include "controllerbench.h"

#include "fakeinstrument.h"
#include "privatefolders.h"
#include "recordedsystem.h"

#include <QDir>
#include <QGuiApplication>
#include <QTimer>
#include <QtTest>

#include <plog/Log.h>

#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

QString s_missingFolders;

QString severityName(plog::Severity severity)
{
    switch (severity) {
    case plog::error: return QStringLiteral("ERROR ");
    case plog::warning: return QStringLiteral("WARN ");
    case plog::info: return QStringLiteral("INFO ");
    default: return QStringLiteral("OTHER ");
    }
}

class RecordKeeper : public plog::IAppender
{
public:
    void write(const plog::Record &record) override
    {
        const plog::util::nstring text = record.getMessage();
        ControllerTest::logRecords()
                << severityName(record.getSeverity()) + QString::fromStdString(text);
    }
};

} // namespace

std::unique_ptr<ApplicationController> ControllerTest::make(Controller::UpdaterMode mode,
                                                            bool silent, const QString &path)
{
    return std::make_unique<Controller>(mode, false, silent, path, nullptr);
}

QString ControllerTest::screen(const Controller &controller)
{
    QStringList parts = { controller.instructionsText(), controller.message() };
    if (controller.isConfirmationVisible())
        parts << QStringLiteral("yes/no");
    if (controller.isButtonVisible())
        parts << controller.buttonText();
    if (controller.isProgressBarVisible())
        parts << (controller.isProgressBarIndeterminate() ? QStringLiteral("busy")
                                                          : QStringLiteral("bar"));
    return parts.join(QLatin1Char('|'));
}

const QString &ControllerTest::pleaseDoNot()
{
    static const QString text = QStringLiteral(
            "Please do not remove the usb drive or power off the device");
    return text;
}

int ControllerTest::runLoop(const std::function<bool()> &condition)
{
    constexpr int undecided = -1;
    QTimer poll;
    connect(&poll, &QTimer::timeout, [&] {
        if (condition && condition())
            QCoreApplication::exit(undecided);
    });
    poll.start(5);
    QTimer::singleShot(20000, &poll, [] { QCoreApplication::exit(99); });
    return QCoreApplication::exec();
}

QStringList &ControllerTest::logRecords()
{
    static QStringList records;
    return records;
}

QString ControllerTest::archiveFile(const QString &name) const
{
    QFile file(onDrive(name));
    [&] { QVERIFY(file.open(QIODevice::WriteOnly)); }();
    return file.fileName();
}

QString ControllerTest::firmwareFile(const QString &name)
{
    return QLatin1String("/usr/local/share/zentar/atmega/") + name;
}

void ControllerTest::addFirmware(const QString &name, int ageDays)
{
    QFile file(firmwareFile(name));
    [&] { QVERIFY(file.open(QIODevice::WriteOnly)); }();
    makeOlder(file.fileName(), ageDays);
}

void ControllerTest::makeOlder(const QString &path, int ageDays)
{
    timespec then = {};
    then.tv_sec = std::time(nullptr) - std::time_t { ageDays } * 24 * 60 * 60;
    const timespec times[] = { then, then };
    [&] {
        QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times,
                           AT_SYMLINK_NOFOLLOW),
                 0);
    }();
}

const QString &ControllerTest::missingFolders()
{
    return s_missingFolders;
}

void ControllerTest::enterFolders()
{
    s_missingFolders = enterPrivateFolders(
            { QStringLiteral("/usr/local/share"), QStringLiteral("/var") });
}

void ControllerTest::initTestCase()
{
    static RecordKeeper keeper;
    plog::init(plog::debug, &keeper);
}

void ControllerTest::init()
{
    FakeInstrument::reset();
    RecordedSystem::reset();
    logRecords().clear();
    m_drive = std::make_unique<QTemporaryDir>();
    if (!missingFolders().isEmpty())
        return;
    QDir(firmwareFile(QString())).removeRecursively();
    QDir(QStringLiteral("/var/zepra")).removeRecursively();
    QVERIFY(QDir().mkpath(firmwareFile(QString())));
}

int runControllerTest(ControllerTest *test, int argc, char **argv)
{
    ControllerTest::enterFolders();
    const QGuiApplication application(argc, argv);
    return QTest::qExec(test, argc, argv);
}
