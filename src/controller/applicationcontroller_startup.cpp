// Start-up: language, screen, instrument library, and the question put to the operator.
#include "applicationcontroller.h"

#include "heldinput.h"
#include "language.h"
#include "localemanager.h"

#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QSettings>
#include <QUrl>

#include <plog/Log.h>

#include <cstring>

namespace {

/// The bytes of a library record's text up to its NUL, or all of them where it has none.
template <std::size_t Size>
std::string recordText(const char (&text)[Size])
{
    return std::string(text, strnlen(text, Size));
}

} // namespace

void ApplicationController::setUpTranslation()
{
    m_settings = std::make_unique<QSettings>(QStringLiteral("/var/zepra/vrk-gui/settings.ini"),
                                             QSettings::IniFormat);
    const int number = m_settings->value(QStringLiteral("Regional/language"), 0).toInt();
    const QString code = Language::localeCode(number);
    if (!code.isEmpty())
        m_localeManager->setLanguage(code);
    m_engine->rootContext()->setContextProperty(QStringLiteral("_localeManager"), m_localeManager);
}

void ApplicationController::initQml()
{
    m_engine->rootContext()->setContextProperty(QStringLiteral("_appController"), this);
    m_engine->addImportPath(QStringLiteral(":/"));
    m_engine->load(QUrl(QStringLiteral("qrc:/main.qml")));
    setButtonText(tr("Reboot"));
}

void ApplicationController::init()
{
    setMessage(tr("Welcome to updater"));
    showBusyBar();
    m_heldInput = new HeldInput(this);
    drawScreen(); // before the library blocks this thread
    startUp();
    if (m_heldInput)
        m_heldInput->release();
}

/// Up to the question, the start of a silent run, or an error.
void ApplicationController::startUp()
{
    if (!initVRK())
        return;
    if (!connectToBackend()) {
        setError(tr("Failed to connect to backend service"), EXIT_OK);
        return;
    }
    setProgressBarVisible(false);
    setProgressBarIndeterminate(false);

    const QString systemVersion = readDeviceInfo();
    const VRK_ResultCode statusResult = readStatus();
    LOG_INFO << "VRK_Status: " << static_cast<int>(statusResult);
    if (!m_boardConnected)
        LOG_WARNING << "Measurement board not connected";

    if (m_mode == DISPLAY_ERROR)
        setError(tr("Error upgrading firmware: Please check USB drive"), EXIT_OK);
    else if (m_silent)
        startUpdate();
    else
        askForConfirmation(systemVersion);
}

bool ApplicationController::initVRK()
{
    if (isVRKInitialized())
        return true;
    const VRK_ResultCode result = VRK_Lib_Initialize(statusCallback, this, VRK_LIB_MODE_UPDATER,
                                                     m_debug);
    if (result != VRK_RESULT_OK) {
        setError(tr("Failed to initialize VRK library"), EXIT_OK);
        return false;
    }
    setVRKInitialized(true);
    return true;
}

bool ApplicationController::connectToBackend() const
{
    return isVRKInitialized();
}

/// Keeps the board's firmware version and returns the running system's.
QString ApplicationController::readDeviceInfo()
{
    VRK_DeviceInfo info;
    VRK_GetDeviceInfo(&info);
    m_atmegaVersion = recordText(info.atmegaVersion);
    return QString::fromStdString(recordText(info.systemVersion));
}

/// Keeps whether the board is connected and returns the library's result.
VRK_ResultCode ApplicationController::readStatus()
{
    VRK_Status status;
    const VRK_ResultCode code = VRK_GetStatus(&status);
    m_boardConnected = status.boardConnected != 0;
    return code;
}

void ApplicationController::askForConfirmation(const QString &systemVersion)
{
    // The whole path is searched, so a folder named like an archive takes part.
    const std::string version = ExtractVersionFromFilename(m_path.toLocal8Bit().toStdString(),
                                                           "zepra_update_v", ".tar.gz");
    const QString offered = version.empty() ? tr("unknown") : QString::fromStdString(version);
    setInstructionsText(tr("Please do not remove the usb drive or power off the device"));
    setMessage(tr("Are you sure you want to update the system from %1 to %2?")
                       .arg(systemVersion, offered));
}

void ApplicationController::statusCallback(void *context, VRK_ResultCode code, const char *text)
{
    static_cast<ApplicationController *>(context)->handleStatusMessage(code, text);
}

/// May be called on any thread of the library.
void ApplicationController::handleStatusMessage(VRK_ResultCode, const char *) { }

std::string ApplicationController::ExtractVersionFromFilename(const std::string &fileName,
                                                              const std::string &prefix,
                                                              const std::string &suffix)
{
    const auto prefixAt = fileName.find(prefix);
    if (prefixAt == std::string::npos)
        return {};
    const auto start = prefixAt + prefix.size();
    const auto suffixAt = fileName.find(suffix);
    if (suffixAt == std::string::npos || start >= suffixAt)
        return {};
    return fileName.substr(start, suffixAt - start);
}
