#include "screen.h"

#include <QQmlContext>
#include <QTest>

bool Screen::load(const QSize &size)
{
    m_engine.rootContext()->setContextProperty(QStringLiteral("_appController"), &controller);
    m_engine.addImportPath(QStringLiteral(":/"));
    m_engine.load(QUrl(QStringLiteral("qrc:/main.qml")));
    if (!window() || !QTest::qWaitForWindowExposed(window()))
        return false;
    window()->requestActivate();
    if (!QTest::qWaitForWindowActive(window()))
        return false;
    if (size.isEmpty())
        return true;
    window()->resize(size);
    for (int polls = 0; polls < 100 && window()->contentItem()->size() != QSizeF(size); ++polls)
        QTest::qWait(50);
    return window()->contentItem()->size() == QSizeF(size);
}

QQuickWindow *Screen::window() const
{
    return qobject_cast<QQuickWindow *>(m_engine.rootObjects().value(0));
}

QQuickItem *Screen::item(const char *id) const
{
    return qmlContext(window())->contextProperty(QString::fromLatin1(id)).value<QQuickItem *>();
}

QRectF Screen::place(const QQuickItem *item)
{
    return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
}

bool Screen::nothingHasFocus() const
{
    const QQuickItem *holder = window()->activeFocusItem();
    return !holder || holder == window()->contentItem();
}

QQuickItem *Screen::answer(int index) const
{
    return item("navigationRow")->childItems().at(0)->childItems().at(index);
}

QQuickItem *Screen::barContent() const
{
    return item("progressBar")->property("contentItem").value<QQuickItem *>();
}

void ScreenTest::set(const char *property, const QVariant &value)
{
    screen()->controller.setProperty(property, value);
}

void ScreenTest::putQuestion()
{
    set("instructionsText", QStringLiteral("Keep the power on"));
    set("message", QStringLiteral("Really?"));
}

void ScreenTest::init()
{
    m_warnings.reset(new Warnings);
    m_screen.reset(new Screen);
}

void ScreenTest::cleanup()
{
    m_screen.reset();
    QCOMPARE(m_warnings->take(), QString());
    m_warnings.reset();
}
