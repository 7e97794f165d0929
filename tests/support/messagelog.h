// Keeps Qt's messages for a test to look at, in the order in which they came.
#pragma once

#include <QStringList>
#include <QtGlobal>

/// Takes over Qt's message log for as long as it lives; one at a time. Each message is kept as
/// "warning: text", "debug: text" or "info: text".
class MessageLog
{
public:
    MessageLog();
    ~MessageLog();
    Q_DISABLE_COPY(MessageLog)

    QStringList messages() const;

    /// The messages of one kind, without their "kind: ".
    QStringList messages(const QString &kind) const;

private:
    QtMessageHandler m_previous;
};
