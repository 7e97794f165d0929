#include "messagelog.h"

#include <mutex>

namespace {

std::mutex s_mutex;
QStringList s_lines;
const QThread *s_thread;

void keep(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    static const char *const kinds[] = { "debug", "warning", "critical", "fatal", "info" };
    const std::lock_guard<std::mutex> lock(s_mutex);
    if (s_thread == nullptr || s_thread == QThread::currentThread())
        s_lines << QString("%1: %2").arg(kinds[type], text);
}

} // namespace

MessageLog::MessageLog(const QThread *thread)
{
    take();
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_thread = thread;
    m_previous = qInstallMessageHandler(keep);
}

MessageLog::~MessageLog() { qInstallMessageHandler(m_previous); }

void MessageLog::note(const QString &line)
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_lines << line;
}

void MessageLog::handOver() { const std::lock_guard<std::mutex> lock(s_mutex); }

QStringList MessageLog::take()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    return std::exchange(s_lines, {});
}
