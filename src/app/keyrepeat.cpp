#include "keyrepeat.h"

#include <QGuiApplication>
#include <QKeyEvent>

KeyRepeat::KeyRepeat(QGuiApplication *application)
{
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        application->installEventFilter(this);
}

bool KeyRepeat::eventFilter(QObject *receiver, QEvent *event)
{
    if (event->type() == QEvent::KeyRelease) {
        const auto *release = static_cast<QKeyEvent *>(event);
        m_releasedKey = release->key();
        m_releasedAt = release->timestamp();
        return false;
    }
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto *press = static_cast<QKeyEvent *>(event);
    if (press->isAutoRepeat() || press->key() != m_releasedKey || press->timestamp() != m_releasedAt
        || press->timestamp() == 0) {
        return false;
    }
    QKeyEvent repeat(QEvent::KeyPress, press->key(), press->modifiers(), press->nativeScanCode(),
                     press->nativeVirtualKey(), press->nativeModifiers(), press->text(), true,
                     static_cast<ushort>(press->count()));
    repeat.setTimestamp(press->timestamp());
    QCoreApplication::sendEvent(receiver, &repeat);
    return true;
}
