// Lets a test fill the instrument's fixed folders without touching the machine's own.
#pragma once

#include <QString>
#include <QStringList>

/// Puts an empty folder over each of `folders`, for this process only; call it first thing in
/// main(), before any other thread runs. Returns why it could not be done, or an empty text.
QString enterPrivateFolders(const QStringList &folders);
