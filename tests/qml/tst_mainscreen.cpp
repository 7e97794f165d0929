#include "screen.h"

#include <QtTest>

/// What the screen shows and where.
class TestMainScreen : public ScreenTest
{
    Q_OBJECT

private slots:
    void geometry_data();
    void geometry();
    void stripes();
    void busyAndValue();
    void progressMovesForTheExpectedDuration();
    void durationZeroMovesAtOnce();

private:
    QQuickItem *barContent() const;
    QQuickItem *fill() const;
    QQuickItem *busyRow() const;
};

QQuickItem *TestMainScreen::barContent() const
{
    return screen()->item("progressBar")->property("contentItem").value<QQuickItem *>();
}

QQuickItem *TestMainScreen::fill() const
{
    return barContent()->childItems().at(0);
}

QQuickItem *TestMainScreen::busyRow() const
{
    return barContent()->childItems().at(1);
}

void TestMainScreen::geometry_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRectF>("bar");
    QTest::addColumn<QRectF>("bottom");
    QTest::addColumn<qreal>("messageBelowBar");
    QTest::addColumn<qreal>("messageAlone");
    QTest::newRow("minimum, unasked")
            << QSize() << QRectF(160, 228, 480, 24) << QRectF(0, 432, 800, 48) << 216.0 << 240.0;
    QTest::newRow("larger") << QSize(1280, 800) << QRectF(256, 380, 768, 40)
                            << QRectF(0, 720, 1280, 80) << 360.0 << 400.0;
}

void TestMainScreen::geometry()
{
    QFETCH(QSize, size);
    QVERIFY(screen()->load(size));
    putQuestion();
    QTEST(Screen::place(screen()->item("navigationRow")), "bottom");
    QTEST(Screen::place(screen()->item("rebootButton")), "bottom");
    QTEST(Screen::place(screen()->item("progressBar")), "bar");
    QTEST(Screen::place(barContent()), "bar");
    QCOMPARE(Screen::place(screen()->item("background")),
             QRectF(QPointF(), screen()->window()->size()));

    const qreal middle = screen()->window()->width() / 2.0;
    const QRectF instructions = Screen::place(screen()->item("powerMessage"));
    QCOMPARE(instructions.top(), 140.0);
    QVERIFY(qAbs(instructions.center().x() - middle) <= 0.5);

    QTEST(Screen::place(screen()->item("message")).bottom(), "messageAlone");
    set("isProgressBarVisible", true);
    const QRectF message = Screen::place(screen()->item("message"));
    QTEST(message.bottom(), "messageBelowBar");
    QVERIFY(qAbs(message.center().x() - middle) <= 0.5);
}

void TestMainScreen::stripes()
{
    QVERIFY(screen()->load());
    set("isProgressBarVisible", true);
    set("isProgressBarIndeterminate", true);
    int count = 0;
    for (const QQuickItem *stripe : busyRow()->childItems()) {
        if (!stripe->inherits("QQuickRectangle"))
            continue;
        const QColor expected = count % 2 == 0 ? QColor(0xd9, 0xd9, 0xd9)
                                               : QColor(0x00, 0x94, 0x44);
        QCOMPARE(stripe->property("color").value<QColor>(), expected);
        QCOMPARE(stripe->size(), QSizeF(20, 24));
        QCOMPARE(stripe->x(), count * 20.0);
        ++count;
    }
    QCOMPARE(count, 26);
    QVERIFY(barContent()->clip());
}

void TestMainScreen::busyAndValue()
{
    QVERIFY(screen()->load());
    QObject *animator = nullptr;
    for (QObject *object : screen()->window()->findChildren<QObject *>()) {
        if (object->inherits("QQuickXAnimator"))
            animator = object;
    }
    QVERIFY(animator);
    QCOMPARE(animator->property("from").toReal(), 0.0);
    QCOMPARE(animator->property("to").toReal(), -40.0);
    QCOMPARE(animator->property("duration").toInt(), 250);
    QCOMPARE(animator->property("loops").toInt(), -1);

    set("isProgressBarVisible", true);
    for (const bool busy : { false, true, false }) {
        set("isProgressBarIndeterminate", busy);
        QCOMPARE(busyRow()->isVisible(), busy);
        QCOMPARE(fill()->isVisible(), !busy);
        QCOMPARE(animator->property("running").toBool(), busy);
    }
}

void TestMainScreen::progressMovesForTheExpectedDuration()
{
    QVERIFY(screen()->load());
    set("isProgressBarVisible", true);
    set("expectedDuration", 600);
    QElapsedTimer timer;
    timer.start();
    set("progress", 1.0);
    QCOMPARE(fill()->width(), 0.0);
    QTRY_COMPARE(fill()->width(), 480.0);
    QVERIFY2(timer.elapsed() >= 550, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(fill()->height(), 24.0);
}

void TestMainScreen::durationZeroMovesAtOnce()
{
    QVERIFY(screen()->load());
    set("isProgressBarVisible", true);
    set("expectedDuration", 0);
    set("progress", 0.25);
    QCOMPARE(fill()->width(), 120.0);
}

QTEST_MAIN(TestMainScreen)
#include "tst_mainscreen.moc"
