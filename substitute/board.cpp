#include "board.h"

#include "statefile.h"

#include <plog/Log.h>

#include <chrono>
#include <thread>
#include <utility>

namespace instrument {

namespace {

void report(const VRK_ProgressCallback *progress, int done, int total)
{
    if (progress != nullptr && progress->function != nullptr)
        progress->function(progress->userData, done, total);
}

} // namespace

std::string versionFromFileName(const std::string &path)
{
    const std::string prefix = "ZEPRA_AFW_";
    const std::filesystem::path file(path);
    const std::string name = file.filename().string();
    const auto end = name.find(".hex");

    std::string version = file.stem().string();
    if (name.compare(0, prefix.size(), prefix) == 0 && end != std::string::npos
        && end > prefix.size())
        version = name.substr(prefix.size(), end - prefix.size());
    for (char &character : version) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20 || code == 0x7f)
            character = '?';
    }
    return version;
}

Board::Board(Settings settings)
    : m_settings(std::move(settings))
    , m_version(loadBoardVersion(m_settings.stateFile).value_or(m_settings.boardVersion))
{
}

std::string Board::version() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return connected() ? m_version : std::string();
}

VRK_ResultCode Board::flash(const FlashImage &image, const std::string &version,
                            const VRK_ProgressCallback *progress)
{
    if (!connected()) {
        LOG_ERROR << "The measurement board does not answer";
        return VRK_RESULT_BOARD_CONNECTION_FAILED;
    }
    const auto pageBytes = static_cast<std::size_t>(m_settings.pageBytes);
    const auto pages = static_cast<int>(image.usedBlocks(pageBytes).size());
    LOG_INFO << "Flashing version " << version << " in " << pages << " pages";

    VRK_ResultCode result = VRK_RESULT_OK;
    std::thread writer([&] { result = writePages(pages, progress); });
    writer.join();
    if (result == VRK_RESULT_OK) {
        keep(image, version);
    } else {
        LOG_ERROR << "Flashing failed with " << static_cast<int>(result);
    }
    return result;
}

VRK_ResultCode Board::writePages(int pages, const VRK_ProgressCallback *progress) const
{
    const auto result = static_cast<VRK_ResultCode>(m_settings.flashResult);
    const int last = result == VRK_RESULT_OK ? pages : pages / 2;
    report(progress, 0, pages);
    for (int done = 1; done <= last; ++done) {
        std::this_thread::sleep_for(std::chrono::milliseconds(m_settings.pageMs));
        report(progress, done, pages);
    }
    return result;
}

void Board::keep(const FlashImage &image, const std::string &version)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_version = version;
    }
    const std::string error = saveBoard(m_settings.stateFile, version, image);
    if (error.empty()) {
        LOG_INFO << "The measurement board runs version " << version;
    } else {
        LOG_ERROR << error << "; the board forgets version " << version << " when the program ends";
    }
}

} // namespace instrument
