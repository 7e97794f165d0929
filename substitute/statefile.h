// What the board keeps while the program is not running.
#pragma once

#include "intelhex.h"

#include <filesystem>
#include <optional>
#include <string>

namespace [[gnu::visibility("hidden")]] instrument {

/// Firmware version kept in the state file; nothing when there is no file. A file that keeps none
/// is logged as a warning.
std::optional<std::string> loadBoardVersion(const std::filesystem::path &file);

/// Replaces the state file in one step and makes its folder when that is missing. Returns what
/// went wrong, nothing on success; after a failure the old file is as it was.
std::string saveBoard(const std::filesystem::path &file, const std::string &version,
                      const FlashImage &image);

} // namespace instrument
