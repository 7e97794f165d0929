#include "applicationcontroller.h"
#include "inputargparser.h"
#include "keyrepeat.h"
#include "signalquit.h"

#include <QGuiApplication>

#include <plog/Log.h>

#include <csignal>
#include <iostream>

namespace {

struct UpdateRequest {
    ApplicationController::UpdaterMode mode = ApplicationController::DISPLAY_ERROR;
    QString path;
};

void prepareEnvironment()
{
    qputenv("QT_IM_MODULE", "qtvirtualkeyboard");
    // When Qt Quick's texture of letters grows, as it does with the question, the processor copies
    // it. The shader that would do so is compiled first, which takes longer.
    if (!qEnvironmentVariableIsSet("QML_USE_GLYPHCACHE_WORKAROUND"))
        qputenv("QML_USE_GLYPHCACHE_WORKAROUND", "1");
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QCoreApplication::setOrganizationName(QStringLiteral("zentar"));
    QCoreApplication::setApplicationName(QStringLiteral("vrk-updater"));
}

void echoArguments(int argc, char **argv)
{
    for (int i = 0; i < argc; ++i)
        std::cout << argv[i] << std::endl;
}

UpdateRequest chooseUpdate(const InputArgParser &parser, int argc, char **argv)
{
    if (parser.cmdOptionExists("-u")) {
        return { ApplicationController::UPDATE_ZEPRA,
                 QString::fromStdString(parser.getCmdOption("-u")) };
    }
    const std::string first = argc > 1 ? argv[1] : "";
    if (first.find("tar.gz") != std::string::npos)
        return { ApplicationController::UPDATE_ZEPRA, QString::fromStdString(first) };

    std::cout << "Usage: vrk-updater -u <update-file> [--debug] [--silent]" << std::endl;
    return {};
}

void handleTerminationSignals(QCoreApplication *application)
{
    // Without the connection the signals keep their default action and end the process.
    if (!prepareSignalQuit(application))
        return;
    std::signal(SIGINT, signalQuit);
    std::signal(SIGTERM, signalQuit);
}

} // namespace

int main(int argc, char **argv)
{
    prepareEnvironment();
    echoArguments(argc, argv);

    const InputArgParser parser(argc, argv);
    const bool debug = parser.cmdOptionExists("--debug");
    const bool silent = parser.cmdOptionExists("--silent");
    // Written only where a logger exists this early; the instrument library installs its own later.
    if (silent)
        LOG_WARNING << "SILENT MODE!";
    if (debug)
        LOG_WARNING << "DEBUG MODE!";
    const UpdateRequest request = chooseUpdate(parser, argc, argv);

    QGuiApplication application(argc, argv);
    KeyRepeat keyRepeat(&application);
    handleTerminationSignals(&application);

    ApplicationController controller(request.mode, debug, silent, request.path, &application);
    return QGuiApplication::exec();
}
