#pragma once

#include <QEvent>
#include <QObject>
#include <QPointer>

#include <memory>
#include <utility>
#include <vector>

/// Holds back what the operator does (keys, mouse, touch) for as long as the object lives; the
/// windows get it in the next turn of the event loop after that. For the main thread.
class HeldInput : public QObject
{
public:
    HeldInput();
    ~HeldInput() override;

protected:
    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    std::vector<std::pair<QPointer<QObject>, std::unique_ptr<QEvent>>> m_events;
};
