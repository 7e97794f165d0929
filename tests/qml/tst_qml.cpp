// Runs the QML documents of this folder as tests.
#include <QtQml>
#include <QtQuick>
#include <QtQuickTest>

/// Presses keys as a keyboard does; QML's own test functions have no auto-repeat.
class Keyboard : public QObject
{
    Q_OBJECT

public:
    Q_INVOKABLE void press(int key, bool autoRepeat = false)
    {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, QString(), autoRepeat);
        QCoreApplication::sendEvent(QGuiApplication::focusWindow(), &event);
    }
};

int main(int argc, char **argv)
{
    qmlRegisterType<Keyboard>("TestSupport", 1, 0, "Keyboard");
    char importOption[] = "-import", resourceRoot[] = ":/";
    QVector<char *> arguments(argv, argv + argc);
    arguments << importOption << resourceRoot;
    return quick_test_main(arguments.size(), arguments.data(), "qml", QML_TESTS);
}

#include "tst_qml.moc"
