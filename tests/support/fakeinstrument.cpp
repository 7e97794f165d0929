#include "fakeinstrument.h"

#include <memory>
#include <mutex>
#include <new>
#include <utility>

namespace {

std::mutex s_mutex;

void note(const char *call)
{
    FakeInstrument::note(QString::fromLatin1(call));
}

} // namespace

FakeInstrument &fakeInstrument()
{
    static FakeInstrument instrument;
    return instrument;
}

void FakeInstrument::reset()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    fakeInstrument() = FakeInstrument();
}

void FakeInstrument::note(const QString &call)
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    fakeInstrument().calls << call;
}

VRK_ResultCode VRK_Lib_Initialize(VRK_StatusCallback callback, void *userData, VRK_Lib_Mode mode,
                                  bool debug)
{
    note("VRK_Lib_Initialize");
    fakeInstrument().mode = mode;
    fakeInstrument().debug = debug;
    fakeInstrument().userData = userData;
    callback(userData, VRK_RESULT_BOARD_CONNECTION_FAILED, "a status message");
    if (fakeInstrument().onInitialize)
        fakeInstrument().onInitialize();
    return fakeInstrument().initializeResult;
}

VRK_ResultCode VRK_GetDeviceInfo(VRK_DeviceInfo *info)
{
    note("VRK_GetDeviceInfo");
    if (fakeInstrument().fillDeviceInfo)
        fakeInstrument().fillDeviceInfo(info);
    return fakeInstrument().queryResult;
}

VRK_ResultCode VRK_GetStatus(VRK_Status *status)
{
    note("VRK_GetStatus");
    if (fakeInstrument().fillStatus)
        fakeInstrument().fillStatus(status);
    return fakeInstrument().queryResult;
}

VRK_ResultCode VRK_FlashATMEGA_file(const char *path, const VRK_ProgressCallback *progress)
{
    note("VRK_FlashATMEGA_file");
    return fakeInstrument().flash ? fakeInstrument().flash(path, progress) : VRK_RESULT_OK;
}

ScopeLogger::ScopeLogger(std::string name, bool quiet)
{
    note(('+' + name + (quiet ? " quietly" : "")).c_str());
    new (m_storage) std::string(std::move(name));
}

ScopeLogger::~ScopeLogger()
{
    auto *name = std::launder(reinterpret_cast<std::string *>(m_storage));
    note(('-' + *name).c_str());
    std::destroy_at(name);
}
