#include "screen.h"

#include <QEasingCurve>
#include <QtTest>

/// What the bar shows and how it moves.
class TestProgressBar : public ScreenTest
{
    Q_OBJECT

private slots:
    void stripes();
    void busyAndValue();
    void progressMovesForTheExpectedDuration();
    void changeOnTheWayStartsFromTheValueShown();
    void durationZeroMovesAtOnce();

private:
    bool showBar();
    QObject *animation(const char *className) const;
};

bool TestProgressBar::showBar()
{
    set("isProgressBarVisible", true);
    return screen()->load();
}

QObject *TestProgressBar::animation(const char *className) const
{
    for (QObject *object : screen()->window()->findChildren<QObject *>()) {
        if (object->inherits(className))
            return object;
    }
    return nullptr;
}

void TestProgressBar::stripes()
{
    QVERIFY(showBar());
    set("isProgressBarIndeterminate", true);
    int count = 0;
    for (const QQuickItem *stripe : screen()->busyRow()->childItems()) {
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
    QVERIFY(screen()->barContent()->clip());
}

void TestProgressBar::busyAndValue()
{
    QVERIFY(showBar());
    const QObject *animator = animation("QQuickXAnimator");
    QVERIFY(animator);
    QCOMPARE(animator->property("from").toReal(), 0.0);
    QCOMPARE(animator->property("to").toReal(), -40.0);
    QCOMPARE(animator->property("duration").toInt(), 250);
    QCOMPARE(animator->property("loops").toInt(), -1);

    for (const bool busy : { false, true, false }) {
        set("isProgressBarIndeterminate", busy);
        QCOMPARE(screen()->busyRow()->isVisible(), busy);
        QCOMPARE(screen()->fill()->isVisible(), !busy);
        QCOMPARE(animator->property("running").toBool(), busy);
    }
}

void TestProgressBar::progressMovesForTheExpectedDuration()
{
    QVERIFY(showBar());
    set("expectedDuration", 600);
    QElapsedTimer timer;
    timer.start();
    set("progress", 1.0);
    QCOMPARE(screen()->fill()->width(), 0.0);
    QTRY_COMPARE(screen()->fill()->width(), 480.0);
    QVERIFY2(timer.elapsed() >= 550, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(screen()->fill()->height(), 24.0);

    // Newer Qt 5 releases make the animation only at the first change.
    const QObject *motion = animation("QQuickNumberAnimation");
    QVERIFY(motion);
    QCOMPARE(motion->property("duration").toInt(), 600);
    QCOMPARE(motion->property("easing").value<QEasingCurve>(), QEasingCurve(QEasingCurve::Linear));
}

void TestProgressBar::changeOnTheWayStartsFromTheValueShown()
{
    QVERIFY(showBar());
    set("expectedDuration", 3000);
    set("progress", 1.0);
    QTRY_VERIFY(screen()->fill()->width() > 120.0);
    const qreal shown = screen()->fill()->width();
    QVERIFY(shown < 440.0);

    set("expectedDuration", 100000);
    set("progress", 0.1);
    QTest::qWait(60);
    QVERIFY2(qAbs(screen()->fill()->width() - shown) < 10.0,
             qPrintable(QString::number(screen()->fill()->width())));
}

void TestProgressBar::durationZeroMovesAtOnce()
{
    QVERIFY(showBar());
    set("expectedDuration", 0);
    set("progress", 0.25);
    QCOMPARE(screen()->fill()->width(), 120.0);
}

QTEST_MAIN(TestProgressBar)
#include "tst_progressbar.moc"
