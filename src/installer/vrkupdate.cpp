#include "vrkupdate.h"

#include "shellpath.h"
#include "vrk-embedded-api.h"

#include <QDebug>
#include <QFileInfo>
#include <QSysInfo>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

const QString &localPartition1()
{
    static const QString name = QStringLiteral("mmcblk1p3");
    return name;
}

const QString &localPartition2()
{
    static const QString name = QStringLiteral("mmcblk1p4");
    return name;
}

const QString &setupScript()
{
    static const QString path = QStringLiteral("/usr/local/bin/zepra-setup.sh");
    return path;
}

/// Both the member of the archive and, below /tmp, the extracted file.
const QString &preSetupScript()
{
    static const QString path = QStringLiteral("usr/local/bin/zepra-prepare-update.sh");
    return path;
}

/// What is reported once a command has ended: a fraction of the whole update, and the time over
/// which the screen moves the bar to it.
struct Milestone {
    double progress;
    int msecs;
};

// All but the first are reported behind their command, because nothing measures how far a command
// has come. So the bar stands at 20 % for as long as the archive is unpacked, and only then sets
// out for 90 %.
constexpr Milestone begun = { 0.1, 3000 }; //      before the first command
constexpr Milestone mounted = { 0.15, 4000 }; //   mount /dev/<inactive> /usr/local
constexpr Milestone cleared = { 0.2, 4000 }; //    rm -rf /usr/local/*
constexpr Milestone extracted = { 0.9, 43000 }; // tar xvzf <archive> -C /
constexpr Milestone written = { 0.99, 3000 }; //   sync
constexpr Milestone switched = { 1.0, 20 }; //     sync, after sed -i on /etc/fstab

/// Runs one shell command line to its end; true when it exits with 0.
bool execSystem(const QString &command)
{
    qDebug() << command;
    return system(command.toUtf8().constData()) == 0;
}

/// Whether the mount table mentions a kernel device name such as "mmcblk1p3".
bool checkMounted(const QString &device)
{
    return execSystem(QLatin1String("mount | grep -c ") + device);
}

/// Makes a folder the working directory of the process for as long as the object lives.
class WorkingDirectory
{
public:
    explicit WorkingDirectory(const char *path)
        : m_previous(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC))
        , m_entered(m_previous >= 0 && chdir(path) == 0)
    {
    }

    ~WorkingDirectory()
    {
        if (m_entered && fchdir(m_previous) != 0)
            qWarning() << "Could not return to the previous working directory";
        if (m_previous >= 0)
            close(m_previous);
    }

    Q_DISABLE_COPY(WorkingDirectory)

    bool entered() const { return m_entered; }

private:
    int m_previous;
    bool m_entered;
};

/// The prepare script's extraction has its -C behind the member's name: BusyBox applies it there
/// to the whole call, GNU tar to nothing, and would unpack into the partition in use. Started in
/// /tmp both do what is meant.
bool execInTmp(const QString &command)
{
    const WorkingDirectory tmp("/tmp");
    return tmp.entered() && execSystem(command);
}

} // namespace

VRKUpdate::VRKUpdate(QObject *parent)
    : QThread(parent)
{
}

double VRKUpdate::progress() const
{
    return m_progress;
}

void VRKUpdate::setImagePath(const QString &path)
{
    m_imagePath = path;
}

void VRKUpdate::setProgress(double progress, int expectedDurationMsecs)
{
    if (qFuzzyCompare(m_progress, progress))
        return;
    m_progress = progress;
    emit progressChanged(progress, expectedDurationMsecs);
}

void VRKUpdate::run()
{
    const ScopeLogger scope("VRKUpdate::run", false);
    emit resultReady(install());
}

bool VRKUpdate::install()
{
    if (!checkArchive())
        return false;

    // Before any command: execInTmp() leaves the folder that a relative path counts from.
    const QString archive = shellPath(m_imagePath);
    Partitions partitions;
    return runPrepareScript(archive) && findPartitions(&partitions) && exchangeMounts(partitions)
            && fillInactivePartition(partitions, archive) && runSetupScript()
            && switchPartitions(partitions);
}

bool VRKUpdate::checkArchive()
{
    if (QSysInfo::buildCpuArchitecture() != QLatin1String("arm")) {
        qWarning() << "Update is not supported on non-ARM platforms";
        return false;
    }
    setProgress(begun.progress, begun.msecs);

    if (m_imagePath.isEmpty()) {
        qWarning() << "Image Path cannot be empty";
        return false;
    }
    if (!QFileInfo::exists(m_imagePath)) {
        qWarning() << "Could not find image file at " << m_imagePath;
        return false;
    }
    return true;
}

/// Fails only on interruption: the script is the archive's own business.
bool VRKUpdate::runPrepareScript(const QString &archive)
{
    const QString unpackPreSetupScript = QLatin1String("tar -xf ") + archive + QLatin1Char(' ')
            + preSetupScript() + QLatin1String(" -C /tmp");
    qWarning() << "Unpacking prepare setup script";
    if (interrupted())
        return false;
    if (!execInTmp(unpackPreSetupScript)) {
        qWarning() << "Unpacking prepare setup failed";
        return true;
    }

    const QString script = QLatin1String("/tmp/") + preSetupScript();
    qWarning() << "Starting prepare setup script";
    if (interrupted())
        return false;
    if (!execSystem(QLatin1String("chmod +x ") + script + QLatin1String(" && ") + script))
        qWarning() << "prepare setup failed";
    return true;
}

bool VRKUpdate::findPartitions(Partitions *partitions)
{
    if (interrupted())
        return false;
    const bool firstMounted = checkMounted(localPartition1());
    if (interrupted())
        return false;
    const bool secondMounted = checkMounted(localPartition2());
    if (firstMounted == secondMounted) {
        qWarning() << "Could not find active partition";
        return false;
    }

    partitions->activePartition = firstMounted ? localPartition1() : localPartition2();
    partitions->inactivePartition = firstMounted ? localPartition2() : localPartition1();
    qDebug() << "activePartition: " << partitions->activePartition
             << "inactivePartition: " << partitions->inactivePartition;
    return require(QLatin1String("cat /etc/fstab | grep -c /dev/") + partitions->activePartition,
                   "Cannot find active partition in /etc/fstab");
}

bool VRKUpdate::exchangeMounts(const Partitions &partitions)
{
    qWarning() << "Unmounting active partition " << partitions.activePartition;
    if (!require(QLatin1String("umount -l /dev/") + partitions.activePartition,
                 "Unmounting active partition failed!"))
        return false;

    qWarning() << "Mounting inactive partition" << partitions.inactivePartition;
    if (!require(QLatin1String("mount /dev/") + partitions.inactivePartition
                         + QLatin1String(" /usr/local"),
                 "Mounting inactive partition failed!"))
        return false;
    setProgress(mounted.progress, mounted.msecs);
    return true;
}

bool VRKUpdate::fillInactivePartition(const Partitions &partitions, const QString &archive)
{
    qWarning() << "Clearing inactive partition" << partitions.inactivePartition;
    if (!require(QStringLiteral("rm -rf /usr/local/*"), "Clearing inactive partition failed!"))
        return false;
    setProgress(cleared.progress, cleared.msecs);

    qWarning() << "Extracting files...";
    if (!require(QStringLiteral("tar xvzf %1 -C /").arg(archive), "Extract failed"))
        return false;
    setProgress(extracted.progress, extracted.msecs);

    if (!attempt(QStringLiteral("sync")))
        return false;
    setProgress(written.progress, written.msecs);
    return true;
}

bool VRKUpdate::runSetupScript()
{
    qWarning() << "Making setup script executable";
    if (!attempt(QLatin1String("chmod +x ") + setupScript()))
        return false;

    qWarning() << "Starting setup script";
    if (!require(setupScript(), "CSetup script failed"))
        return false;
    qWarning() << "Restore completed successfully!";
    return true;
}

bool VRKUpdate::switchPartitions(const Partitions &partitions)
{
    if (!require(QStringLiteral("sed -i 's/%1/%2/g' /etc/fstab")
                         .arg(partitions.activePartition, partitions.inactivePartition),
                 "Changing fstab failed"))
        return false;
    qDebug() << "Set activePartition to " << partitions.inactivePartition;

    execSystem(QStringLiteral("sync"));
    setProgress(switched.progress, switched.msecs);
    return true;
}

bool VRKUpdate::interrupted() const
{
    if (!isInterruptionRequested())
        return false;
    qWarning() << "Update interrupted";
    return true;
}

/// Runs a command without which the update cannot go on; false when it failed or the run is to end.
bool VRKUpdate::require(const QString &command, const char *failureText) const
{
    if (interrupted())
        return false;
    if (execSystem(command))
        return true;
    qWarning() << failureText;
    return false;
}

/// Runs a command whose outcome does not matter; false only when the run is to end.
bool VRKUpdate::attempt(const QString &command) const
{
    if (interrupted())
        return false;
    execSystem(command);
    return true;
}
