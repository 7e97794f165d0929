#include "screen.h"

#include <QQmlProperty>
#include <QtTest>

/// What the screen shows and where.
class TestMainScreen : public ScreenTest
{
    Q_OBJECT

private slots:
    void geometry_data();
    void geometry();
    void texts();
    void icons();
    void visibility_data();
    void visibility();
    void look_data();
    void look();
};

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
    QTEST(Screen::place(screen()->barContent()), "bar");
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

void TestMainScreen::texts()
{
    QVERIFY(screen()->load());
    for (const QString &round : { QStringLiteral("first "), QStringLiteral("second ") }) {
        set("instructionsText", round + QStringLiteral("instructions"));
        set("message", round + QStringLiteral("message"));
        set("buttonText", round + QStringLiteral("button"));
        QCOMPARE(screen()->item("powerMessage")->property("text"),
                 QVariant(round + QStringLiteral("instructions")));
        QCOMPARE(screen()->item("message")->property("text"),
                 QVariant(round + QStringLiteral("message")));
        QCOMPARE(screen()->item("rebootButton")->property("text"),
                 QVariant(round + QStringLiteral("button")));
    }
}

void TestMainScreen::icons()
{
    QVERIFY(screen()->load());
    const QString folder = QStringLiteral("qrc:/images/");
    const auto icon = [](const QQuickItem *button) { return button->property("icon").toUrl(); };
    QCOMPARE(icon(screen()->item("rebootButton")),
             QUrl(folder + QLatin1String("icon_exitArrow.png")));
    QCOMPARE(icon(screen()->yesButton()), QUrl(folder + QLatin1String("icon_accept.png")));
    QCOMPARE(icon(screen()->noButton()), QUrl(folder + QLatin1String("icon_discard.png")));
    for (const QQuickItem *button : { screen()->yesButton(), screen()->noButton() }) {
        QCOMPARE(button->property("iconHorizontalAlignment").toInt(), int(Qt::AlignHCenter));
        QCOMPARE(button->property("text").toString(), QString());
    }
    QCOMPARE(screen()->item("rebootButton")->property("iconHorizontalAlignment").toInt(),
             int(Qt::AlignLeft));
}

void TestMainScreen::visibility_data()
{
    QTest::addColumn<bool>("pair");
    QTest::addColumn<bool>("button");
    QTest::addColumn<bool>("bar");
    QTest::addColumn<bool>("busy");
    QTest::newRow("loaded") << true << false << false << false;
    QTest::newRow("loaded, silent") << false << false << false << false;
    QTest::newRow("welcome") << true << false << true << true;
    QTest::newRow("checking") << false << false << true << true;
    QTest::newRow("installing") << false << false << true << false;
    QTest::newRow("error") << false << true << false << false;
    QTest::newRow("hidden bar, busy") << false << true << false << true;
}

void TestMainScreen::visibility()
{
    QFETCH(bool, pair);
    QFETCH(bool, button);
    QFETCH(bool, bar);
    QFETCH(bool, busy);
    QVERIFY(screen()->load());
    set("isConfirmationVisible", pair);
    set("isButtonVisible", button);
    set("isProgressBarVisible", bar);
    set("isProgressBarIndeterminate", busy);
    QCOMPARE(screen()->item("navigationRow")->isVisible(), pair);
    QCOMPARE(screen()->item("rebootButton")->isVisible(), button);
    QCOMPARE(screen()->item("progressBar")->isVisible(), bar);
    QCOMPARE(screen()->busyRow()->isVisible(), bar && busy);
    QCOMPARE(screen()->fill()->isVisible(), bar && !busy);
    for (const char *always : { "background", "powerMessage", "message" })
        QVERIFY2(screen()->item(always)->isVisible(), always);
}

void TestMainScreen::look_data()
{
    QTest::addColumn<QString>("element");
    QTest::addColumn<QString>("property");
    QTest::addColumn<QVariant>("value");
    const auto row = [](const char *element, const char *property, const QVariant &value) {
        QTest::addRow("%s %s", element, property)
                << QString::fromLatin1(element) << QString::fromLatin1(property) << value;
    };
    for (const char *label : { "powerMessage", "message" }) {
        row(label, "color", QColor(Qt::white));
        row(label, "font.family", QStringLiteral("Droid Sans"));
        row(label, "font.bold", true);
    }
    row("progressBar", "background.color", QColor(0xd9, 0xd9, 0xd9));
    row("fill", "color", QColor(0x00, 0x94, 0x44));
}

void TestMainScreen::look()
{
    QFETCH(QString, element);
    QFETCH(QString, property);
    QVERIFY(screen()->load());
    QObject *object = element == QLatin1String("fill")
            ? screen()->fill()
            : screen()->item(element.toLatin1().constData());
    QTEST(QQmlProperty::read(object, property), "value");
}

QTEST_MAIN(TestMainScreen)
#include "tst_mainscreen.moc"
