// The measurement board: its firmware version and the writing of its flash.
#pragma once

#include "intelhex.h"
#include "settings.h"
#include "vrk-embedded-api.h"

#include <mutex>
#include <string>

namespace [[gnu::visibility("hidden")]] instrument {

/// Firmware version in the name of an image file, ZEPRA_AFW_<version>.hex; the name without its
/// extension when it is none of these. Control characters become question marks.
std::string versionFromFileName(const std::string &path);

/// All members may be used on any thread; only one flash at a time.
class Board
{
public:
    explicit Board(Settings settings);

    bool connected() const { return m_settings.connected; }

    /// Empty while the board is not connected.
    std::string version() const;

    /// Writes `image` page by page and returns when that has ended. `progress` (may be null) is
    /// called with the pages done and their number, on a thread that ends before the return.
    VRK_ResultCode flash(const FlashImage &image, const std::string &version,
                         const VRK_ProgressCallback *progress);

private:
    VRK_ResultCode writePages(int pages, const VRK_ProgressCallback *progress) const;
    void keep(const FlashImage &image, const std::string &version);

    const Settings m_settings;
    mutable std::mutex m_mutex; ///< guards m_version
    std::string m_version;
};

} // namespace instrument
