// Linked into a test executable in place of the instrument library: a library that does what the
// test says and remembers how it was called.
#pragma once

#include "vrk-embedded-api.h"

#include <QStringList>

#include <functional>
#include <string>

struct FakeInstrument {
    VRK_ResultCode initializeResult = VRK_RESULT_OK;
    VRK_ResultCode queryResult = VRK_RESULT_OK; ///< of VRK_GetDeviceInfo and VRK_GetStatus
    std::function<void()> onInitialize;
    std::function<void(VRK_DeviceInfo *)> fillDeviceInfo;
    std::function<void(VRK_Status *)> fillStatus;
    std::function<VRK_ResultCode(const char *, const VRK_ProgressCallback *)> flash;

    VRK_Lib_Mode mode = {};
    bool debug = false;
    void *userData = nullptr; ///< as VRK_Lib_Initialize got it
    QStringList calls; ///< names of the functions called, in their order, and the scopes "+name"
                       ///< ("+name quietly") and "-name"

    /// Puts everything back to an instrument that answers 0 and knows nothing.
    static void reset();

    /// Adds a line of the test's own to `calls`; on any thread.
    static void note(const QString &call);
};

FakeInstrument &fakeInstrument();
