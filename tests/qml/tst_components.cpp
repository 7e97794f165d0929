// Runs the component tests, which are QML documents themselves.
#include "warnings.h"

#include <QQmlEngine>
#include <QtQml>
#include <QtQuickTest>

int main(int argc, char **argv)
{
    Warnings warnings;
    QQmlEngine::setObjectOwnership(&warnings, QQmlEngine::CppOwnership);
    static Warnings *const shared = &warnings;
    qmlRegisterSingletonType<Warnings>(
            "TestSupport", 1, 0, "Warnings",
            [](QQmlEngine *, QJSEngine *) -> QObject * { return shared; });

    char importOption[] = "-import";
    char resourceRoot[] = ":/";
    QVector<char *> arguments(argv, argv + argc);
    arguments << importOption << resourceRoot;
    return quick_test_main(arguments.size(), arguments.data(), "components", COMPONENT_TESTS);
}
