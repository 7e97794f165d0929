// Linked into a test executable in the place of the instrument: its library, its shell and its
// processor, which do what the test says. What the product asks of the library stands in the
// MessageLog as "VRK_..." and what of it matters; the scopes stand there as debug messages.
#pragma once

#include "vrk-embedded-api.h"

#include <QString>

#include <functional>

struct FakeInstrument {
    VRK_ResultCode initializeResult = VRK_RESULT_OK;
    void *userData = nullptr; ///< as VRK_Lib_Initialize got it

    // What is not set does nothing and answers 0.
    std::function<VRK_ResultCode(VRK_DeviceInfo *)> deviceInfo;
    std::function<VRK_ResultCode(VRK_Status *)> status;
    std::function<VRK_ResultCode(const VRK_ProgressCallback *)> flash;
    std::function<int(const QString &)> shell; ///< system(), on the thread that calls it

    QString processor = "arm"; ///< built for, and running on
};

/// A new one starts each test: fakeInstrument() = {}.
FakeInstrument &fakeInstrument();
