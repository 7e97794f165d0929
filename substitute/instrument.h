// One run of the library, from an initialisation to the next or to the program's end.
#pragma once

#include "board.h"
#include "settings.h"
#include "vrk-embedded-api.h"

#include <string>

namespace [[gnu::visibility("hidden")]] instrument {

/// All members may be used on any thread; only one flash at a time.
class Instrument
{
public:
    /// `callback` may be null.
    Instrument(Settings settings, VRK_StatusCallback callback, void *userData);

    /// Takes the time of an initialisation and returns its result.
    VRK_ResultCode open() const;

    VRK_ResultCode deviceInfo(VRK_DeviceInfo &info) const;
    VRK_ResultCode status(VRK_Status &status) const;

    /// Reads the whole image at `path` before the board is touched.
    VRK_ResultCode flash(const std::string &path, const VRK_ProgressCallback *progress);

private:
    VRK_ResultCode report(VRK_ResultCode code, const char *message) const;
    std::string systemVersion() const;

    const Settings m_settings;
    Board m_board;
    VRK_StatusCallback m_callback;
    void *m_userData;
};

} // namespace instrument
