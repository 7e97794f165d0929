#pragma once

#include <QString>

/// A file's path as one word of a shell command line: absolute, and in single quotes unless it is
/// made only of letters, digits and _ @ % + = : , . / -, so that nothing in it is executed,
/// expanded or taken for an option or a remote host.
QString shellPath(const QString &path);
