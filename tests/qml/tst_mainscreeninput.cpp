#include "screen.h"

#include <QtTest>

/// Where the keyboard focus goes, and what touches and keys make the screen ask of the controller.
class TestMainScreenInput : public ScreenTest
{
    Q_OBJECT

private slots:
    void nothingTakesFocusAtLoad_data();
    void nothingTakesFocusAtLoad();
    void questionTakesFocus();
    void instructionsWithoutQuestionTakeNoFocus();
    void actionButtonTakesFocus();
    void hiddenElementsHearNoKeys();
    void actionButtonCoversThePair();
    void decisions_data();
    void decisions();

private:
    void press(int key) { QTest::keyClick(screen()->window(), static_cast<Qt::Key>(key)); }
};

void TestMainScreenInput::nothingTakesFocusAtLoad_data()
{
    QTest::addColumn<QString>("instructions");
    QTest::addColumn<bool>("question");
    QTest::addColumn<bool>("button");
    QTest::newRow("empty") << QString() << true << false;
    QTest::newRow("question already put") << QStringLiteral("Keep the power on") << true << false;
    QTest::newRow("unattended") << QString() << false << false;
    QTest::newRow("action button already shown") << QString() << false << true;
}

void TestMainScreenInput::nothingTakesFocusAtLoad()
{
    QFETCH(QString, instructions);
    QFETCH(bool, question);
    QFETCH(bool, button);
    screen()->controller.instructionsText = instructions;
    screen()->controller.confirmationVisible = question;
    screen()->controller.buttonVisible = button;
    QVERIFY(screen()->load());
    QVERIFY(screen()->nothingHasFocus());
    press(Qt::Key_Return);
    press(Qt::Key_Right);
    QVERIFY(screen()->nothingHasFocus());
    QVERIFY(screen()->controller.calls.isEmpty());
}

void TestMainScreenInput::questionTakesFocus()
{
    QVERIFY(screen()->load());
    putQuestion();
    press(Qt::Key_Return); // nobody has seen the question yet
    QVERIFY(screen()->controller.calls.isEmpty());
    QTRY_VERIFY(screen()->yesButton()->hasActiveFocus());
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
    QCoreApplication::sendEvent(screen()->window(), &held);
    QVERIFY(screen()->controller.calls.isEmpty());
    press(Qt::Key_Right);
    QVERIFY(screen()->noButton()->hasActiveFocus());
    set("isConfirmationVisible", false);
    QVERIFY(screen()->nothingHasFocus());
}

void TestMainScreenInput::instructionsWithoutQuestionTakeNoFocus()
{
    screen()->controller.confirmationVisible = false;
    QVERIFY(screen()->load());
    putQuestion();
    QTest::qWait(100); // some frames
    QVERIFY(screen()->nothingHasFocus());
}

void TestMainScreenInput::actionButtonTakesFocus()
{
    QVERIFY(screen()->load());
    putQuestion();
    set("isConfirmationVisible", false);
    set("isButtonVisible", true);
    QTRY_VERIFY(screen()->item("rebootButton")->hasActiveFocus());
    QCOMPARE(screen()->item("rebootButton")->property("text").toString(), QStringLiteral("Reboot"));
    set("isButtonVisible", false);
    QVERIFY(screen()->nothingHasFocus());
}

void TestMainScreenInput::hiddenElementsHearNoKeys()
{
    QVERIFY(screen()->load());
    screen()->controller.onCall = [this] {
        set("isConfirmationVisible", false);
        set("isButtonVisible", screen()->controller.calls.size() == 1);
    };
    putQuestion();
    QTRY_VERIFY(screen()->yesButton()->hasActiveFocus());
    press(Qt::Key_Return);
    QTRY_VERIFY(screen()->item("rebootButton")->hasActiveFocus());
    press(Qt::Key_Return);
    press(Qt::Key_Return);
    QCOMPARE(screen()->controller.calls,
             QStringList({ QStringLiteral("continue"), QStringLiteral("press") }));
}

void TestMainScreenInput::actionButtonCoversThePair()
{
    QVERIFY(screen()->load());
    set("isButtonVisible", true);
    QVERIFY(screen()->item("navigationRow")->isVisible());
    QTest::mouseClick(screen()->window(), Qt::LeftButton, Qt::NoModifier, QPoint(200, 456));
    QCOMPARE(screen()->controller.calls, QStringList { QStringLiteral("press") });
}

void TestMainScreenInput::decisions_data()
{
    using Keys = QVector<int>;
    QTest::addColumn<QPoint>("touch");
    QTest::addColumn<Keys>("keys");
    QTest::addColumn<bool>("button");
    QTest::addColumn<QStringList>("calls");
    const QStringList yes { QStringLiteral("continue") };
    const QStringList no { QStringLiteral("cancel") };
    const QStringList reboot { QStringLiteral("press") };
    QTest::newRow("yes, touch") << QPoint(200, 456) << Keys() << false << yes;
    QTest::newRow("no, touch") << QPoint(600, 456) << Keys() << false << no;
    QTest::newRow("reboot, touch") << QPoint(400, 456) << Keys() << true << reboot;
    QTest::newRow("beside, touch") << QPoint(400, 300) << Keys() << false << QStringList();
    QTest::newRow("yes, key") << QPoint() << Keys { Qt::Key_Return } << false << yes;
    QTest::newRow("no, key") << QPoint() << Keys { Qt::Key_Right, Qt::Key_Return } << false << no;
    QTest::newRow("reboot, key") << QPoint() << Keys { Qt::Key_Return } << true << reboot;
    QTest::newRow("knob") << QPoint() << Keys { Qt::Key_H, Qt::Key_L } << false << QStringList();
    QTest::newRow("knob on reboot")
            << QPoint() << Keys { Qt::Key_H, Qt::Key_L } << true << QStringList();
    QTest::newRow("up and keypad")
            << QPoint() << Keys { Qt::Key_Up, Qt::Key_Enter } << false << QStringList();
}

void TestMainScreenInput::decisions()
{
    QFETCH(QPoint, touch);
    QFETCH(QVector<int>, keys);
    QFETCH(bool, button);
    QVERIFY(screen()->load());
    putQuestion();
    set("isConfirmationVisible", !button);
    set("isButtonVisible", button);
    QTRY_VERIFY(!screen()->nothingHasFocus());
    if (!touch.isNull())
        QTest::mouseClick(screen()->window(), Qt::LeftButton, Qt::NoModifier, touch);
    for (const int key : keys)
        press(key);
    QTEST(screen()->controller.calls, "calls");
}

QTEST_MAIN(TestMainScreenInput)
#include "tst_mainscreeninput.moc"
