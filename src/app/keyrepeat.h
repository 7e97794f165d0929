#pragma once

#include <QObject>

class QGuiApplication;

/// Marks the presses that a held key repeats as such on an X11 display. They come there as a
/// release and a press of the same moment, which Qt tells from real ones only when both have
/// already arrived. Lives on the main thread.
class KeyRepeat : public QObject
{
public:
    /// Watches the keys of `application`; does nothing on other platforms, which mark them
    /// reliably.
    explicit KeyRepeat(QGuiApplication *application);

protected:
    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    int m_releasedKey = 0;
    unsigned long m_releasedAt = 0;
};
