#include "heldinput.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTouchEvent>

namespace {

/// A copy of an event of the operator's, null for every other.
std::unique_ptr<QEvent> copiedInput(const QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        return std::make_unique<QKeyEvent>(*static_cast<const QKeyEvent *>(event));
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

HeldInput::HeldInput()
{
    QCoreApplication::instance()->installEventFilter(this);
}

HeldInput::~HeldInput()
{
    for (auto &[window, event] : m_events) {
        if (window)
            QCoreApplication::postEvent(window, event.release());
    }
}

bool HeldInput::eventFilter(QObject *receiver, QEvent *event)
{
    std::unique_ptr<QEvent> copy = receiver->isWindowType() ? copiedInput(event) : nullptr;
    if (!copy)
        return false;
    m_events.emplace_back(receiver, std::move(copy));
    return true;
}
