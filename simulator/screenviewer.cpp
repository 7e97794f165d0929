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
#include <unistd.h>

namespace {

const QStringList textProperties = { QStringLiteral("message"), QStringLiteral("instructionsText"),
                                     QStringLiteral("buttonText") };
const QStringList flagProperties = {
    QStringLiteral("isConfirmationVisible"),
    QStringLiteral("isButtonVisible"),
    QStringLiteral("isProgressBarVisible"),
    QStringLiteral("isProgressBarIndeterminate"),
};

/// The translation of the first text of an array, its markers replaced by the others.
QString translatedText(const QJsonArray &texts)
{
    QString text = QCoreApplication::translate("ApplicationController",
                                               texts.first().toString().toUtf8().constData());
    for (int i = 1; i < texts.size(); ++i)
        text.replace(QLatin1Char('%') + QString::number(i), texts.at(i).toString());
    return text;
}

/// Takes over the values of one line of input.
void apply(QQmlPropertyMap *controller, const QByteArray &line)
{
    const QJsonObject values = QJsonDocument::fromJson(line).object();
    for (auto value = values.begin(); value != values.end(); ++value) {
        controller->insert(value.key(),
                           value->isArray() ? translatedText(value->toArray())
                                            : value->toVariant());
    }
}

/// Announces on standard output when what was set before is drawn.
class DrawnAnnouncer
{
public:
    explicit DrawnAnnouncer(QQuickWindow *window)
        : m_window(window)
    {
        QObject::connect(
                window, &QQuickWindow::frameSwapped, window, [this] { frameDone(); },
                Qt::QueuedConnection);
    }

    void expect()
    {
        m_awaited = 2; // the first may have been under way already
        m_window->update();
    }

private:
    void frameDone()
    {
        if (m_awaited == 0)
            return;
        if (--m_awaited == 0)
            std::cout << "drawn" << std::endl;
        m_window->update();
    }

    QQuickWindow *m_window;
    int m_awaited = 0;
};

/// Takes what has arrived on standard input; false at its end.
bool readInput(QQmlPropertyMap *controller, DrawnAnnouncer *announcer, QByteArray *pending)
{
    char chunk[4096];
    const ssize_t size = read(STDIN_FILENO, chunk, sizeof chunk);
    if (size <= 0)
        return false;
    pending->append(chunk, static_cast<int>(size));
    for (int end = pending->indexOf('\n'); end >= 0; end = pending->indexOf('\n')) {
        apply(controller, pending->left(end));
        pending->remove(0, end + 1);
        announcer->expect();
    }
    return true;
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
    for (const QString &name : textProperties)
        controller.insert(name, QString());
    for (const QString &name : flagProperties)
        controller.insert(name, false);
    controller.insert(QStringLiteral("progress"), 0.0);
    controller.insert(QStringLiteral("expectedDuration"), 0);

    QQmlApplicationEngine engine;
    engine.rootContext()->setContextProperty(QStringLiteral("_appController"), &controller);
    engine.addImportPath(QStringLiteral(":/"));
    engine.load(QUrl(arguments.value(1, QStringLiteral("qrc:/main.qml"))));

    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
    if (!window)
        return EXIT_FAILURE;
    DrawnAnnouncer announcer(window);

    QByteArray pending;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        if (!readInput(&controller, &announcer, &pending))
            QCoreApplication::quit();
    });
    return QGuiApplication::exec();
}
