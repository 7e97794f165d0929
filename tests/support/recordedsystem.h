// Linked into a test executable, this stands in front of the C library's system(): command lines
// are recorded and answered instead of run.
#pragma once

#include <QStringList>

#include <functional>

namespace RecordedSystem {

/// Forgets what was recorded and answers every command line with 0.
void reset();

/// Answers each command line with what `answer` returns for it, as system() would. Called on the
/// thread that runs the command.
void answerWith(std::function<int(const QString &commandLine)> answer);

/// The command lines so far, in their order.
QStringList commandLines();

} // namespace RecordedSystem
