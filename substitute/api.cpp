// The library's functions and its log: argument checks and the order of calls.
#include "board.h"
#include "settings.h"
#include "vrk-embedded-api.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <plog/Log.h>

#include <plog/Init.h>

#include <plog/Appenders/ConsoleAppender.h>

#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <sstream>
#include <utility>

using namespace substitute;

namespace {

constexpr VRK_ResultCode notInitialized { -1 };
constexpr VRK_ResultCode invalidArgument { -2 };
constexpr VRK_ResultCode internalError { -3 };

/// One run of the library, from an initialisation to the next.
struct Instrument {
    Settings settings;
    VRK_StatusCallback callback = nullptr;
    void *userData = nullptr;
};

std::mutex s_busy; ///< held by initialisation and flashing, which exclude each other
std::shared_ptr<const Instrument> s_current; ///< null until initialised; read and set atomically

/// One line a record. plog's own formatters differ between its releases.
struct RecordFormatter {
    static std::string header() { return {}; }

    static std::string format(const plog::Record &record)
    {
        constexpr const char *severities[] = { "NONE", "FATAL", "ERROR", "WARN",
                                               "INFO", "DEBUG", "VERB" };
        std::ostringstream line;
        line << qPrintable(QDateTime::currentDateTime().toString(Qt::ISODateWithMs)) << ' '
             << severities[record.getSeverity()] << " [" << record.getFunc() << '@'
             << record.getLine() << "] " << record.getMessage() << '\n';
        return line.str();
    }
};

/// The logger that the library shares with the executable.
void installLogger(bool debug)
{
    static plog::ConsoleAppender<RecordFormatter> console;
    if (plog::get() == nullptr)
        plog::init(plog::none, &console);
    plog::get()->setMaxSeverity(debug ? plog::debug : plog::info);
}

VRK_ResultCode refuse(const char *function, const char *reason, VRK_ResultCode code)
{
    LOG_ERROR << function << " refused: " << reason;
    return code;
}

VRK_ResultCode report(const Instrument &instrument, const Outcome &outcome)
{
    LOG(outcome.code == VRK_RESULT_OK ? plog::info : plog::error) << outcome.message;
    if (instrument.callback != nullptr)
        instrument.callback(instrument.userData, outcome.code, outcome.message.c_str());
    return outcome.code;
}

/// Answers at once while another thread initialises the library or flashes the board.
template <typename Call>
VRK_ResultCode exclusively(const char *function, Call call)
{
    const std::unique_lock<std::mutex> busy(s_busy, std::try_to_lock);
    if (!busy.owns_lock())
        return refuse(function, "another thread initialises or flashes",
                      VRK_RESULT_OTHER_INSTANCE_RUNNING);
    try {
        return call();
    } catch (const std::exception &exception) {
        return refuse(function, exception.what(), internalError);
    }
}

/// `argument` is what the call must not be without.
template <typename Call>
VRK_ResultCode withInstrument(const char *function, const void *argument, Call call)
{
    const auto current = std::atomic_load(&s_current);
    if (argument == nullptr)
        return refuse(function, "a null pointer", invalidArgument);
    if (current == nullptr)
        return refuse(function, "not initialised", notInitialized);
    return call(*current);
}

QByteArray systemVersion(const Settings &settings)
{
    QFile file(settings["instrument/system_version_file"].toString());
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return settings["instrument/system_version"].toString().toUtf8();
    return file.readLine(256).trimmed();
}

} // namespace

VRK_ResultCode VRK_Lib_Initialize(VRK_StatusCallback callback, void *userData, VRK_Lib_Mode mode,
                                  bool debug)
{
    return exclusively(__func__, [=] {
        installLogger(debug);
        if (mode != VRK_LIB_MODE_UPDATER)
            return refuse("VRK_Lib_Initialize", "not the updater's mode", invalidArgument);
        std::atomic_store(&s_current, {});
        const Instrument instrument { {}, callback, userData };
        QThread::msleep(instrument.settings["instrument/initialize_ms"].toUInt());
        const auto code = instrument.settings.result("instrument/initialize_result");
        if (code != VRK_RESULT_OK)
            return report(instrument, { code, "Initialisation fails as the settings tell" });
        std::atomic_store(&s_current, std::make_shared<const Instrument>(instrument));
        return report(instrument, { code, "Substitute of the instrument library initialised" });
    });
}

VRK_ResultCode VRK_GetDeviceInfo(VRK_DeviceInfo *info)
{
    return withInstrument(__func__, info, [=](const Instrument &current) {
        *info = {};
        qstrncpy(info->systemVersion, systemVersion(current.settings).constData(),
                 sizeof(info->systemVersion));
        qstrncpy(info->atmegaVersion, boardVersion(current.settings).constData(),
                 sizeof(info->atmegaVersion));
        return current.settings.result("instrument/device_info_result");
    });
}

VRK_ResultCode VRK_GetStatus(VRK_Status *status)
{
    return withInstrument(__func__, status, [=](const Instrument &current) {
        *status = {};
        status->boardConnected = current.settings["board/connected"].toBool() ? 1 : 0;
        return current.settings.result("instrument/status_result");
    });
}

VRK_ResultCode VRK_FlashATMEGA_file(const char *path, const VRK_ProgressCallback *progress)
{
    const auto flash = [=](const Instrument &current) {
        return report(current, flashBoard(current.settings, path, progress));
    };
    const char *function = __func__;
    return exclusively(function, [=] { return withInstrument(function, path, flash); });
}

ScopeLogger::ScopeLogger(std::string name, bool quiet)
{
    static_assert(sizeof(name) <= sizeof(m_storage)
                  && alignof(std::string) <= alignof(ScopeLogger));
    LOG_DEBUG_IF(!quiet) << name << ": entered";
    new (m_storage) std::string(quiet ? std::string() : std::move(name));
}

ScopeLogger::~ScopeLogger()
{
    auto *name = std::launder(reinterpret_cast<std::string *>(m_storage));
    LOG_DEBUG_IF(!name->empty()) << *name << ": left";
    std::destroy_at(name);
}
