#pragma once

#include <QEvent>
#include <QObject>
#include <QPointer>

#include <deque>
#include <memory>
#include <utility>

/// Holds back what the operator does (keys, mouse, touch), from construction until release() and a
/// turn of the event loop later, and delivers it then. Deletes itself when nothing is left to
/// deliver; without release() nothing is delivered. For the main thread.
class HeldInput : public QObject
{
public:
    explicit HeldInput(QObject *parent);

    /// Lets the windows have the held input in the next turn, and behind it what comes meanwhile.
    void release();

    /// Delivers nothing of it, nor of what was done while this thread was blocked and is not read
    /// yet. Processes the pending events, and deletes this object.
    void discard();

protected:
    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    void deliver();

    std::deque<std::pair<QPointer<QObject>, std::unique_ptr<QEvent>>> m_events;
    const QEvent *m_delivered = nullptr;
    bool m_discarded = false;
};
