#include "signalquit.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

int s_readEnd = -1;
int s_writeEnd = -1;

void drain()
{
    char bytes[16];
    while (read(s_readEnd, bytes, sizeof bytes) > 0) { }
}

} // namespace

bool prepareSignalQuit(QCoreApplication *application)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    s_readEnd = ends[0];
    s_writeEnd = ends[1];

    auto *notifier = new QSocketNotifier(s_readEnd, QSocketNotifier::Read, application);
    QObject::connect(notifier, &QSocketNotifier::activated, application, [] {
        drain();
        QCoreApplication::quit();
    });
    return true;
}

void signalQuit(int)
{
    const int savedErrno = errno;
    const char byte = 0;
    // A full pipe already holds the request.
    [[maybe_unused]] const ssize_t written = write(s_writeEnd, &byte, 1);
    errno = savedErrno;
}
