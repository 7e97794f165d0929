// The library's functions: argument checks and the order of calls.
#include "logger.h"
#include "session.h"
#include "vrk-embedded-api.h"

#include <plog/Log.h>

#include <exception>
#include <memory>
#include <mutex>
#include <utility>

namespace [[gnu::visibility("hidden")]] instrument {

namespace {

constexpr VRK_ResultCode notInitialized{ -1 };
constexpr VRK_ResultCode invalidArgument{ -2 };
constexpr VRK_ResultCode internalError{ -3 };

struct Library {
    std::mutex busy; ///< held by initialisation and flashing, which exclude each other
    std::mutex access; ///< guards session
    std::shared_ptr<Session> session; ///< null until an initialisation has succeeded
};

Library &library()
{
    static Library instance;
    return instance;
}

std::shared_ptr<Session> currentSession()
{
    const std::lock_guard<std::mutex> lock(library().access);
    return library().session;
}

void setSession(std::shared_ptr<Session> session)
{
    const std::lock_guard<std::mutex> lock(library().access);
    library().session = std::move(session);
}

VRK_ResultCode initialize(VRK_StatusCallback callback, void *userData, bool debug)
{
    installLogger(debug);
    setSession(nullptr);
    const auto session = std::make_shared<Session>(loadSettings(), callback, userData);
    const VRK_ResultCode result = session->open();
    if (result == VRK_RESULT_OK)
        setSession(session);
    return result;
}

/// Keeps exceptions of the standard library from crossing the C interface.
template<typename Call>
VRK_ResultCode guarded(Call call)
{
    try {
        return call();
    } catch (const std::exception &exception) {
        LOG_ERROR << exception.what();
        return internalError;
    }
}

template<typename Call>
VRK_ResultCode withSession(Call call)
{
    return guarded([&] {
        const std::shared_ptr<Session> session = currentSession();
        return session == nullptr ? notInitialized : call(*session);
    });
}

/// Answers at once while another thread initialises the library or flashes the board.
template<typename Call>
VRK_ResultCode exclusively(Call call)
{
    const std::unique_lock<std::mutex> busy(library().busy, std::try_to_lock);
    return busy.owns_lock() ? call() : VRK_RESULT_OTHER_INSTANCE_RUNNING;
}

} // namespace

} // namespace instrument

using namespace instrument;

VRK_ResultCode VRK_Lib_Initialize(VRK_StatusCallback callback, void *userData, VRK_Lib_Mode mode,
                                  bool debug)
{
    if (mode != VRK_LIB_MODE_UPDATER)
        return invalidArgument;
    return exclusively([&] {
        return guarded([&] { return initialize(callback, userData, debug); });
    });
}

VRK_ResultCode VRK_GetDeviceInfo(VRK_DeviceInfo *info)
{
    if (info == nullptr)
        return invalidArgument;
    return withSession([&](const Session &session) { return session.deviceInfo(*info); });
}

VRK_ResultCode VRK_GetStatus(VRK_Status *status)
{
    if (status == nullptr)
        return invalidArgument;
    return withSession([&](const Session &session) { return session.status(*status); });
}

VRK_ResultCode VRK_FlashATMEGA_file(const char *path, const VRK_ProgressCallback *progress)
{
    if (path == nullptr)
        return invalidArgument;
    return exclusively([&] {
        return withSession([&](Session &session) { return session.flash(path, progress); });
    });
}
