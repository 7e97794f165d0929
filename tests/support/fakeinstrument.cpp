#include "fakeinstrument.h"

#include "messagelog.h"

#include <QDebug>
#include <QSysInfo>

namespace {

template <typename Function, typename... Arguments>
auto answer(const Function &function, Arguments... arguments) -> typename Function::result_type
{
    const auto result = function ? function(arguments...) : typename Function::result_type {};
    MessageLog::handOver();
    return result;
}

thread_local std::string s_scope; // they do not nest

} // namespace

FakeInstrument &fakeInstrument()
{
    static FakeInstrument instrument;
    return instrument;
}

extern "C" int system(const char *line) { return answer(fakeInstrument().shell, QString::fromUtf8(line)); }

QString QSysInfo::buildCpuArchitecture() { return fakeInstrument().processor; }

QString QSysInfo::currentCpuArchitecture() { return fakeInstrument().processor; }

VRK_ResultCode VRK_Lib_Initialize(VRK_StatusCallback callback, void *userData, VRK_Lib_Mode mode, bool debug)
{
    MessageLog::note(QString("VRK_Lib_Initialize %1 %2").arg(mode).arg(debug));
    fakeInstrument().userData = userData;
    callback(userData, VRK_RESULT_BOARD_CONNECTION_FAILED, "a status message");
    return fakeInstrument().initializeResult;
}

VRK_ResultCode VRK_GetDeviceInfo(VRK_DeviceInfo *info)
{
    MessageLog::note("VRK_GetDeviceInfo");
    return answer(fakeInstrument().deviceInfo, info);
}

VRK_ResultCode VRK_GetStatus(VRK_Status *status)
{
    MessageLog::note("VRK_GetStatus");
    return answer(fakeInstrument().status, status);
}

VRK_ResultCode VRK_FlashATMEGA_file(const char *path, const VRK_ProgressCallback *progress)
{
    MessageLog::note(QString("VRK_FlashATMEGA_file ") + QString::fromLatin1(path));
    return answer(fakeInstrument().flash, progress);
}

ScopeLogger::ScopeLogger(std::string name, bool quiet)
{
    s_scope = name;
    qDebug("+%s%s", name.c_str(), quiet ? " quietly" : "");
}

ScopeLogger::~ScopeLogger() { qDebug("-%s", s_scope.c_str()); }
