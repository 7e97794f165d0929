// The measurement board: its firmware version and the writing of its flash.
#pragma once

#include "settings.h"
#include "vrk-embedded-api.h"

#include <string>

namespace substitute {

struct Outcome {
    VRK_ResultCode code;
    std::string message;
};

/// Empty while the board is not connected.
QByteArray boardVersion(const Settings &settings);

/// Reads the whole image at `path`, then "writes" it page by page and keeps it in the state file.
/// `progress` (may be null) is called on a thread that ends before the return.
Outcome flashBoard(const Settings &settings, const std::string &path,
                   const VRK_ProgressCallback *progress);

} // namespace substitute
