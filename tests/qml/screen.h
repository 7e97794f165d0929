// The screen as the program loads it, with a stub in the controller's place.
#pragma once

#include "stubcontroller.h"
#include "warnings.h"

#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScopedPointer>

class Screen
{
public:
    StubController controller;

    /// Loads the document and waits until its window is shown, and has the given size if any;
    /// false when that fails.
    bool load(const QSize &size = {});

    QQuickWindow *window() const;

    /// The element with the given id, or null.
    QQuickItem *item(const char *id) const;

    /// Where an element is in the window.
    static QRectF place(const QQuickItem *item);

    QQuickItem *yesButton() const { return answer(0); }
    QQuickItem *noButton() const { return answer(1); }

    QQuickItem *barContent() const;
    QQuickItem *fill() const { return barContent()->childItems().at(0); }
    QQuickItem *busyRow() const { return barContent()->childItems().at(1); }

    /// Whether no element of the screen has the keyboard focus.
    bool nothingHasFocus() const;

private:
    QQuickItem *answer(int index) const;

    QQmlApplicationEngine m_engine;
};

/// What the tests of the screen share: a fresh screen for each, and no warning in any.
class ScreenTest : public QObject
{
    Q_OBJECT

protected:
    Screen *screen() const { return m_screen.data(); }

    /// Sets a property of the controller, with its change signal.
    void set(const char *property, const QVariant &value);

    void putQuestion();

private slots:
    void init();
    void cleanup();

private:
    QScopedPointer<Warnings> m_warnings;
    QScopedPointer<Screen> m_screen;
};
