// The library's functions: argument checks and the order of calls.
#include "instrument.h"
#include "logger.h"
#include "vrk-embedded-api.h"

#include <plog/Log.h>

#include <exception>
#include <memory>
#include <mutex>
#include <utility>

namespace [[gnu::visibility("hidden")]] instrument {

namespace {

constexpr VRK_ResultCode notInitialized { -1 };
constexpr VRK_ResultCode invalidArgument { -2 };
constexpr VRK_ResultCode internalError { -3 };

struct Library {
    std::mutex busy; ///< held by initialisation and flashing, which exclude each other
    std::mutex access; ///< guards current
    std::shared_ptr<Instrument> current; ///< null until an initialisation has succeeded
};

Library &library()
{
    static Library instance;
    return instance;
}

std::shared_ptr<Instrument> currentInstrument()
{
    const std::lock_guard<std::mutex> lock(library().access);
    return library().current;
}

void setInstrument(std::shared_ptr<Instrument> current)
{
    const std::lock_guard<std::mutex> lock(library().access);
    library().current = std::move(current);
}

/// For a call that reaches no instrument.
VRK_ResultCode refuse(const char *function, const char *reason, VRK_ResultCode code)
{
    LOG_ERROR << function << " refused: " << reason;
    return code;
}

VRK_ResultCode initialize(VRK_StatusCallback callback, void *userData, VRK_Lib_Mode mode,
                          bool debug)
{
    installLogger(debug);
    if (mode != VRK_LIB_MODE_UPDATER)
        return refuse("VRK_Lib_Initialize", "not the updater's mode", invalidArgument);
    setInstrument(nullptr);
    const auto current = std::make_shared<Instrument>(loadSettings(), callback, userData);
    const VRK_ResultCode result = current->open();
    if (result == VRK_RESULT_OK)
        setInstrument(current);
    return result;
}

/// Keeps exceptions of the standard library from crossing the C interface.
template <typename Call>
VRK_ResultCode guarded(Call call)
{
    try {
        return call();
    } catch (const std::exception &exception) {
        LOG_ERROR << exception.what();
        return internalError;
    }
}

template <typename Call>
VRK_ResultCode withInstrument(const char *function, Call call)
{
    return guarded([&] {
        const std::shared_ptr<Instrument> current = currentInstrument();
        return current == nullptr ? refuse(function, "not initialised", notInitialized)
                                  : call(*current);
    });
}

/// Answers at once while another thread initialises the library or flashes the board.
template <typename Call>
VRK_ResultCode exclusively(const char *function, Call call)
{
    const std::unique_lock<std::mutex> busy(library().busy, std::try_to_lock);
    return busy.owns_lock() ? call()
                            : refuse(function, "another thread initialises or flashes",
                                     VRK_RESULT_OTHER_INSTANCE_RUNNING);
}

} // namespace

} // namespace instrument

using namespace instrument;

VRK_ResultCode VRK_Lib_Initialize(VRK_StatusCallback callback, void *userData, VRK_Lib_Mode mode,
                                  bool debug)
{
    return exclusively(__func__, [&] {
        return guarded([&] { return initialize(callback, userData, mode, debug); });
    });
}

VRK_ResultCode VRK_GetDeviceInfo(VRK_DeviceInfo *info)
{
    if (info == nullptr)
        return refuse(__func__, "no record to fill", invalidArgument);
    return withInstrument(__func__,
                          [&](const Instrument &current) { return current.deviceInfo(*info); });
}

VRK_ResultCode VRK_GetStatus(VRK_Status *status)
{
    if (status == nullptr)
        return refuse(__func__, "no record to fill", invalidArgument);
    return withInstrument(__func__,
                          [&](const Instrument &current) { return current.status(*status); });
}

VRK_ResultCode VRK_FlashATMEGA_file(const char *path, const VRK_ProgressCallback *progress)
{
    const char *function = __func__;
    if (path == nullptr)
        return refuse(function, "no path", invalidArgument);
    return exclusively(function, [&] {
        return withInstrument(function,
                              [&](Instrument &current) { return current.flash(path, progress); });
    });
}
