// Linked into an executable, this makes a build for any processor work as an ARM build does: the
// executable's own definition comes before the one that Qt exports.
#include <QString>
#include <QSysInfo>

QString QSysInfo::buildCpuArchitecture()
{
    return QStringLiteral("arm");
}
