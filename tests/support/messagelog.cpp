#include "messagelog.h"

#include <mutex>

namespace {

std::mutex s_mutex;
QStringList s_messages;

QString kindName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg: return QStringLiteral("debug");
    case QtInfoMsg: return QStringLiteral("info");
    case QtWarningMsg: return QStringLiteral("warning");
    default: return QStringLiteral("critical");
    }
}

void keep(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_messages << kindName(type) + QLatin1String(": ") + text;
}

} // namespace

MessageLog::MessageLog()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_messages.clear();
    m_previous = qInstallMessageHandler(keep);
}

MessageLog::~MessageLog()
{
    qInstallMessageHandler(m_previous);
}

QStringList MessageLog::messages() const
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    return s_messages;
}

QStringList MessageLog::messages(const QString &kind) const
{
    const QString prefix = kind + QLatin1String(": ");
    QStringList found;
    for (const QString &message : messages()) {
        if (message.startsWith(prefix))
            found << message.mid(prefix.size());
    }
    return found;
}
