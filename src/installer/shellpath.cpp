#include "shellpath.h"

#include <QDir>
#include <QRegularExpression>

QString shellPath(const QString &path)
{
    const QString absolute = QDir::current().absoluteFilePath(path);

    static const QRegularExpression plain(QStringLiteral("\\A[A-Za-z0-9_@%+=:,./-]+\\z"));
    if (plain.match(absolute).hasMatch())
        return absolute;

    QString escaped = absolute;
    escaped.replace(QLatin1Char('\''), QLatin1String("'\\''"));
    return QLatin1Char('\'') + escaped + QLatin1Char('\'');
}
