// An instrument library whose records and logger are longer than the updater knows of.
#include "vrk-embedded-api.h"

#include <cstdio>
#include <cstring>

template <typename Record>
static VRK_ResultCode fill(Record *record, std::size_t known)
{
    std::memset(reinterpret_cast<char *>(record) + known, 0x5a, 1000 - known);
    return VRK_RESULT_OK;
}

VRK_ResultCode VRK_Lib_Initialize(VRK_StatusCallback, void *, VRK_Lib_Mode, bool) { return VRK_RESULT_OK; }

VRK_ResultCode VRK_GetDeviceInfo(VRK_DeviceInfo *info) { return fill(info, 244); }

VRK_ResultCode VRK_GetStatus(VRK_Status *status) { return fill(status, 8); }

#ifndef INCOMPLETE
VRK_ResultCode VRK_FlashATMEGA_file(const char *, const VRK_ProgressCallback *) { return VRK_RESULT_OK; }
#endif

ScopeLogger::ScopeLogger(std::string name, bool)
{
    fill(this, 0);
    std::fprintf(stderr, "+%s\n", name.c_str());
}

ScopeLogger::~ScopeLogger()
{
    fill(this, 0);
    std::fprintf(stderr, "-scope\n");
}
