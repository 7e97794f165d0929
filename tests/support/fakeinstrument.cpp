#include "fakeinstrument.h"

#include "messagelog.h"

#include <QDebug>
#include <QSysInfo>

FakeInstrument &fakeInstrument()
{
    static FakeInstrument instrument;
    return instrument;
}

extern "C" int system(const char *line)
{
    return fakeInstrument().shell ? fakeInstrument().shell(QString::fromUtf8(line)) : 0;
}

QString QSysInfo::buildCpuArchitecture()
{
    return fakeInstrument().processor;
}

QString QSysInfo::currentCpuArchitecture()
{
    return fakeInstrument().processor;
}

VRK_ResultCode VRK_Lib_Initialize(VRK_StatusCallback callback, void *userData, VRK_Lib_Mode mode,
                                  bool debug)
{
    MessageLog::note(QString("VRK_Lib_Initialize %1 %2").arg(mode).arg(debug));
    fakeInstrument().userData = userData;
    callback(userData, VRK_RESULT_BOARD_CONNECTION_FAILED, "a status message");
    return fakeInstrument().initializeResult;
}

VRK_ResultCode VRK_GetDeviceInfo(VRK_DeviceInfo *info)
{
    MessageLog::note("VRK_GetDeviceInfo");
    return fakeInstrument().deviceInfo ? fakeInstrument().deviceInfo(info) : VRK_RESULT_OK;
}

VRK_ResultCode VRK_GetStatus(VRK_Status *status)
{
    MessageLog::note("VRK_GetStatus");
    return fakeInstrument().status ? fakeInstrument().status(status) : VRK_RESULT_OK;
}

VRK_ResultCode VRK_FlashATMEGA_file(const char *path, const VRK_ProgressCallback *progress)
{
    MessageLog::note(QString("VRK_FlashATMEGA_file ") + QString::fromLatin1(path));
    return fakeInstrument().flash ? fakeInstrument().flash(progress) : VRK_RESULT_OK;
}

static thread_local std::string s_scope; // they do not nest

ScopeLogger::ScopeLogger(std::string name, bool quiet)
{
    s_scope = name;
    qDebug("+%s%s", name.c_str(), quiet ? " quietly" : "");
}

ScopeLogger::~ScopeLogger()
{
    qDebug("-%s", s_scope.c_str());
}
