#include "heldinput.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTimer>
#include <QTouchEvent>

namespace {

/// A copy of an event of the operator's, null for every other.
std::unique_ptr<QEvent> copiedInput(const QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        return std::make_unique<QKeyEvent>(*static_cast<const QKeyEvent *>(event));
    case QEvent::MouseMove:
        if (static_cast<const QMouseEvent *>(event)->buttons() == Qt::NoButton)
            return nullptr;
        [[fallthrough]];
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
        return std::make_unique<QMouseEvent>(*static_cast<const QMouseEvent *>(event));
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
        return std::make_unique<QTouchEvent>(*static_cast<const QTouchEvent *>(event));
    default: return nullptr;
    }
}

} // namespace

HeldInput::HeldInput(QObject *parent)
    : QObject(parent)
{
    QCoreApplication::instance()->installEventFilter(this);
}

void HeldInput::release()
{
    QTimer::singleShot(0, this, &HeldInput::deliver);
}

/// The first turn reads from the devices, the second sends what it has read to this filter.
void HeldInput::discard()
{
    m_discarded = true;
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    delete this;
}

/// The window system may hand over newer input before this turn comes. It must not overtake, or a
/// release would come before its press; so the filter stays until all is delivered.
void HeldInput::deliver()
{
    if (m_discarded)
        return;
    if (m_events.empty()) {
        QCoreApplication::instance()->removeEventFilter(this);
        deleteLater();
        return;
    }
    release(); // a nested event loop goes on with the rest, and may end this object
    const QPointer<HeldInput> self(this);
    while (self && !m_events.empty()) {
        const auto held = std::move(m_events.front());
        m_events.pop_front();
        m_delivered = held.second.get();
        if (held.first)
            QCoreApplication::sendEvent(held.first, held.second.get());
        if (self)
            m_delivered = nullptr;
    }
}

bool HeldInput::eventFilter(QObject *receiver, QEvent *event)
{
    if (event == m_delivered || !receiver->isWindowType())
        return false;
    std::unique_ptr<QEvent> copy = copiedInput(event);
    if (!copy)
        return false;
    m_events.emplace_back(receiver, std::move(copy));
    return true;
}
