#include "inputargparser.h"

#include <QtTest>

class InputArgParserTest : public QObject
{
    Q_OBJECT

private slots:
    void options_data();
    void options();
    void programNameIsNoToken();
};

void InputArgParserTest::options_data()
{
    QTest::addColumn<QByteArrayList>("arguments");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("none") << QByteArrayList() << false << QByteArray();
    QTest::newRow("value") << QByteArrayList({ "-u", "a" }) << true << QByteArray("a");
    QTest::newRow("last") << QByteArrayList({ "x", "-u" }) << true << QByteArray();
    QTest::newRow("option as value") << QByteArrayList({ "-u", "-u" }) << true << QByteArray("-u");
    QTest::newRow("first counts") << QByteArrayList({ "-u", "a", "-u", "b" }) << true
                                  << QByteArray("a");
    QTest::newRow("whole tokens only")
            << QByteArrayList({ "-ux", "-U", "--u" }) << false << QByteArray();
}

void InputArgParserTest::options()
{
    QFETCH(QByteArrayList, arguments);
    QFETCH(QByteArray, value);
    arguments.prepend("program");
    std::vector<char *> argv;
    for (QByteArray &argument : arguments)
        argv.push_back(argument.data());
    const InputArgParser parser(static_cast<int>(argv.size()), argv.data());
    QTEST(parser.cmdOptionExists("-u"), "exists");
    QCOMPARE(parser.getCmdOption("-u"), value.toStdString());
}

void InputArgParserTest::programNameIsNoToken()
{
    char name[] = "-u";
    char *argv[] = { name };
    QVERIFY(!InputArgParser(1, argv).cmdOptionExists("-u"));
    QVERIFY(!InputArgParser(0, nullptr).cmdOptionExists("-u"));
}

QTEST_APPLESS_MAIN(InputArgParserTest)

#include "tst_inputargparser.moc"
