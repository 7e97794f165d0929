// Makes a QML warning, a binding loop or a type error fail the test in which it comes up.
#pragma once

#include "messagelog.h"

#include <QObject>

#include <optional>

/// Keeps what Qt warns of from its construction on.
class Warnings : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// The warnings since the last call, one a line, and starts anew. Also takes the message log
    /// back from whoever has taken it over since.
    Q_INVOKABLE QString take()
    {
        QStringList found;
        for (const QString &text : m_log->messages(QStringLiteral("warning"))) {
            if (!isPlatformNoise(text))
                found << text;
        }
        found << m_log->messages(QStringLiteral("critical"));
        m_log.reset();
        m_log.emplace();
        return found.join(QLatin1Char('\n'));
    }

private:
    // What the offscreen platform and an environment without a desktop say of any program.
    static bool isPlatformNoise(const QString &text)
    {
        return text.startsWith(QLatin1String("This plugin does not support "))
                || text.startsWith(QLatin1String("QStandardPaths: "));
    }

    std::optional<MessageLog> m_log { std::in_place };
};
