#include "privatefolders.h"

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

} // namespace

QString enterPrivateFolders(const QStringList &folders)
{
    const int userNamespace = geteuid() == 0 ? 0 : CLONE_NEWUSER;
    if (unshare(CLONE_NEWNS | userNamespace) != 0)
        return failure("unshare");
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return failure("mount --make-private");
    for (const QString &folder : folders) {
        if (mount("tmpfs", folder.toLocal8Bit().constData(), "tmpfs", 0, nullptr) != 0)
            return failure("mount tmpfs");
    }
    return {};
}
