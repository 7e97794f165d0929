#include "privatefolders.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

QString failure(const char *step)
{
    return QStringLiteral(
                   "cannot make private folders (%1: %2); this needs root or user namespaces")
            .arg(QString::fromLatin1(step), QString::fromLocal8Bit(std::strerror(errno)));
}

bool write(const char *path, const QString &text)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
            && file.write(text.toLatin1()) == text.size();
}

/// For everybody but root: a user namespace, in which the caller stays who he is.
bool enterUserNamespace()
{
    const QString user = QStringLiteral("%1 %1 1").arg(geteuid());
    const QString group = QStringLiteral("%1 %1 1").arg(getegid());
    return unshare(CLONE_NEWUSER) == 0 && write("/proc/self/uid_map", user)
            && write("/proc/self/setgroups", QStringLiteral("deny"))
            && write("/proc/self/gid_map", group);
}

} // namespace

QString enterPrivateFolders(const QStringList &folders)
{
    if (geteuid() != 0 && !enterUserNamespace())
        return failure("user namespace");
    if (unshare(CLONE_NEWNS) != 0)
        return failure("unshare");
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return failure("mount --make-private");
    for (const QString &folder : folders) {
        if (mount("tmpfs", folder.toLocal8Bit().constData(), "tmpfs", 0, nullptr) != 0)
            return failure("mount tmpfs");
    }
    return {};
}
