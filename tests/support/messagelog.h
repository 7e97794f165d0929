// What happens in a test, in its order: Qt's messages, and what the test and its fakes note.
#pragma once

#include <QStringList>
#include <QThread>

/// Takes over Qt's message log for as long as it lives; one at a time. Each message is kept as
/// "warning: text", "debug: text" or "info: text".
class MessageLog
{
public:
    /// Keeps the messages of all threads, or of the one that is named.
    explicit MessageLog(const QThread *thread = nullptr);
    ~MessageLog();
    Q_DISABLE_COPY(MessageLog)

    /// Adds a line of another kind; on any thread.
    static void note(const QString &line);

    /// All lines so far, which are then forgotten.
    static QStringList take();

private:
    QtMessageHandler m_previous;
};
