// Draws the updater's screen, or another document made of its components, without the program
// behind it: each line of standard input is a JSON object with values of the controller's
// properties. Answers each with a line once it is on the screen; ends with the input.
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQmlPropertyMap>
#include <QQuickWindow>
#include <QSocketNotifier>
#include <QTranslator>
#include <QUrl>

#include <cstdlib>
#include <iostream>
#include <string>
#include <unistd.h>

namespace {

const char *const initialValues = R"({
    "message": "", "instructionsText": "", "buttonText": "",
    "isConfirmationVisible": false, "isButtonVisible": false,
    "isProgressBarVisible": false, "isProgressBarIndeterminate": false,
    "progress": 0.0, "expectedDuration": 0
})";

/// The translation of the first text of an array, its markers replaced by the others.
QString translatedText(const QJsonArray &texts)
{
    QString text = QCoreApplication::translate("ApplicationController",
                                               texts.first().toString().toUtf8().constData());
    for (int i = 1; i < texts.size(); ++i)
        text.replace(QLatin1Char('%') + QString::number(i), texts.at(i).toString());
    return text;
}

void apply(QQmlPropertyMap *controller, const char *json)
{
    const QJsonObject values = QJsonDocument::fromJson(json).object();
    for (auto value = values.begin(); value != values.end(); ++value) {
        controller->insert(value.key(),
                           value->isArray() ? translatedText(value->toArray())
                                            : value->toVariant());
    }
}

} // namespace

// Usage: screenviewer [DOCUMENT [TRANSLATION.qm]]
int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QTranslator translator;
    if (arguments.size() > 2 && !translator.load(arguments.at(2)))
        qFatal("cannot load the translation");
    QCoreApplication::installTranslator(&translator);

    QQmlPropertyMap controller;
    apply(&controller, initialValues);
    QQmlApplicationEngine engine;
    engine.rootContext()->setContextProperty(QStringLiteral("_appController"), &controller);
    engine.addImportPath(QStringLiteral(":/"));
    engine.load(QUrl(arguments.value(1, QStringLiteral("qrc:/main.qml"))));
    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
    if (!window)
        return EXIT_FAILURE;

    int awaitedFrames = 0;
    const auto frameDone = [&] {
        if (awaitedFrames == 0)
            return;
        if (--awaitedFrames == 0)
            std::cout << "drawn" << std::endl;
        window->update();
    };
    QObject::connect(window, &QQuickWindow::frameSwapped, window, frameDone, Qt::QueuedConnection);

    // Whoever writes waits for the answer, so there is never more than one line.
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        std::string line;
        if (!std::getline(std::cin, line)) {
            QCoreApplication::quit();
            return;
        }
        apply(&controller, line.c_str());
        awaitedFrames = 2; // the first may have been under way already
        window->update();
    });
    return QGuiApplication::exec();
}
