#include "recordedsystem.h"

#include <mutex>

namespace {

std::mutex s_mutex;
QStringList s_commandLines;
std::function<int(const QString &)> s_answer;

} // namespace

extern "C" int system(const char *commandLine)
{
    const QString line = QString::fromUtf8(commandLine);
    std::function<int(const QString &)> answer;
    {
        const std::lock_guard<std::mutex> lock(s_mutex);
        s_commandLines << line;
        answer = s_answer;
    }
    return answer ? answer(line) : 0;
}

void RecordedSystem::reset()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_commandLines.clear();
    s_answer = nullptr;
}

void RecordedSystem::answerWith(std::function<int(const QString &)> answer)
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_answer = std::move(answer);
}

QStringList RecordedSystem::commandLines()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    return s_commandLines;
}
