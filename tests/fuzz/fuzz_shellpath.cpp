// A path in a command line, against a real shell: it must come out as one word, as it went in.
#include "shellpath.h"

#include <QDir>

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace {

constexpr int patienceMsecs = 5000;

struct Shell {
    int in = -1, out = -1;

    Shell()
    {
        int commands[2], answers[2];
        if (pipe(commands) != 0 || pipe(answers) != 0)
            abort();
        if (fork() == 0) {
            dup2(commands[0], STDIN_FILENO);
            dup2(answers[1], STDOUT_FILENO);
            for (const int end : { commands[0], commands[1], answers[0], answers[1] })
                close(end);
            execl("/bin/sh", "sh", nullptr);
            _exit(127);
        }
        close(commands[0]);
        close(answers[1]);
        in = commands[1];
        out = answers[0];
    }

    /// What the shell makes of some words, each ended by a zero byte. Traps when it does not answer.
    QByteArray expand(const QByteArray &words) const
    {
        const QByteArray line = "printf '%s\\0' " + words + " end\n";
        if (write(in, line.constData(), static_cast<size_t>(line.size())) != line.size())
            __builtin_trap();
        QByteArray answer;
        while (!answer.endsWith(QByteArray("\0end\0", 5))) {
            pollfd waiting { out, POLLIN, 0 };
            char part[4096];
            const int ready = poll(&waiting, 1, patienceMsecs);
            if (ready < 0 && errno == EINTR) // the fuzzer's own clock
                continue;
            const auto got = ready == 1 ? read(out, part, sizeof part) : 0;
            if (got <= 0)
                __builtin_trap();
            answer.append(part, static_cast<int>(got));
        }
        return answer.chopped(4);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const Shell shell;
    const QString path = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size))
                                 .remove(QChar::Null); // which no argument of a program can hold
    const QByteArray word = shellPath(path).toUtf8();
    const QByteArray absolute = QDir::current().absoluteFilePath(path).toUtf8();
    if (shell.expand(word) != absolute + '\0' || word.startsWith('-'))
        __builtin_trap();
    return 0;
}
