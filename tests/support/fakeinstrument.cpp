#include "fakeinstrument.h"

#include <mutex>

namespace {

std::mutex s_mutex;

void note(const QString &call)
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    fakeInstrument().calls << call;
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

VRK_ResultCode VRK_Lib_Initialize(VRK_StatusCallback callback, void *userData, VRK_Lib_Mode mode,
                                  bool debug)
{
    note(QStringLiteral("VRK_Lib_Initialize"));
    fakeInstrument().mode = mode;
    fakeInstrument().debug = debug;
    callback(userData, VRK_RESULT_BOARD_CONNECTION_FAILED, "a status message");
    if (fakeInstrument().onInitialize)
        fakeInstrument().onInitialize();
    return fakeInstrument().initializeResult;
}

VRK_ResultCode VRK_GetDeviceInfo(VRK_DeviceInfo *info)
{
    note(QStringLiteral("VRK_GetDeviceInfo"));
    if (fakeInstrument().fillDeviceInfo)
        fakeInstrument().fillDeviceInfo(info);
    return VRK_RESULT_OK;
}

VRK_ResultCode VRK_GetStatus(VRK_Status *status)
{
    note(QStringLiteral("VRK_GetStatus"));
    if (fakeInstrument().fillStatus)
        fakeInstrument().fillStatus(status);
    return VRK_RESULT_OK;
}

VRK_ResultCode VRK_FlashATMEGA_file(const char *path, const VRK_ProgressCallback *progress)
{
    note(QStringLiteral("VRK_FlashATMEGA_file"));
    return fakeInstrument().flash ? fakeInstrument().flash(path, progress) : VRK_RESULT_OK;
}

ScopeLogger::ScopeLogger(std::string name, bool quiet)
    : m_name(std::move(name))
    , m_quiet(quiet)
{
    note(QLatin1Char('+') + QString::fromStdString(m_name));
}

ScopeLogger::~ScopeLogger()
{
    note(QLatin1Char('-') + QString::fromStdString(m_name));
}
