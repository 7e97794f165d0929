#include "instrument.h"

#include "intelhex.h"
#include "lines.h"

#include <plog/Log.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

namespace instrument {

namespace {

template <std::size_t Size>
void copyText(const std::string &text, char (&field)[Size])
{
    const std::size_t length = std::min(text.size(), Size - 1);
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}

/// Returns 0 when `image` was read.
VRK_ResultCode readImage(const std::string &path, int flashBytes, FlashImage &image)
{
    if (isMissing(path)) {
        LOG_ERROR << path << ": does not exist";
        return VRK_RESULT_UPGRADE_FILE_NOT_FOUND;
    }
    std::ifstream file = openRegularFile(path);
    if (!file.is_open()) {
        LOG_ERROR << path << ": is not a readable file";
        return VRK_RESULT_UPGRADE_FILE_ERROR;
    }
    IntelHexResult read = readIntelHex(file, static_cast<std::size_t>(flashBytes));
    if (!read.error.empty()) {
        LOG_ERROR << path << ":" << read.line << ": " << read.error;
        return VRK_RESULT_UPGRADE_FILE_ERROR;
    }
    image = std::move(read.image);
    return VRK_RESULT_OK;
}

} // namespace

Instrument::Instrument(Settings settings, VRK_StatusCallback callback, void *userData)
    : m_settings(std::move(settings))
    , m_board(m_settings)
    , m_callback(callback)
    , m_userData(userData)
{
}

VRK_ResultCode Instrument::open() const
{
    std::this_thread::sleep_for(std::chrono::milliseconds(m_settings.initializeMs));
    const auto result = static_cast<VRK_ResultCode>(m_settings.initializeResult);
    if (result != VRK_RESULT_OK) {
        LOG_ERROR << "Initialisation fails with " << m_settings.initializeResult;
        return report(result, "Initialisation failed");
    }
    LOG_INFO << "Substitute of the instrument library, measurement board "
             << (m_board.connected() ? "connected" : "not connected");
    return report(result, "Initialised");
}

VRK_ResultCode Instrument::deviceInfo(VRK_DeviceInfo &info) const
{
    info = VRK_DeviceInfo {};
    copyText(systemVersion(), info.systemVersion);
    copyText(m_board.version(), info.atmegaVersion);
    return static_cast<VRK_ResultCode>(m_settings.deviceInfoResult);
}

VRK_ResultCode Instrument::status(VRK_Status &status) const
{
    status = VRK_Status {};
    status.boardConnected = m_board.connected() ? 1 : 0;
    return static_cast<VRK_ResultCode>(m_settings.statusResult);
}

VRK_ResultCode Instrument::flash(const std::string &path, const VRK_ProgressCallback *progress)
{
    FlashImage image;
    const VRK_ResultCode read = readImage(path, m_settings.flashBytes, image);
    if (read != VRK_RESULT_OK)
        return report(read, "Image not usable");
    const VRK_ResultCode result = m_board.flash(image, versionFromFileName(path), progress);
    return report(result, result == VRK_RESULT_OK ? "Board flashed" : "Flashing failed");
}

VRK_ResultCode Instrument::report(VRK_ResultCode code, const char *message) const
{
    if (m_callback != nullptr)
        m_callback(m_userData, code, message);
    return code;
}

std::string Instrument::systemVersion() const
{
    std::ifstream file = openRegularFile(m_settings.systemVersionFile);
    if (!file.is_open())
        return m_settings.systemVersion;
    std::string line;
    readLine(file, line, sizeof(VRK_DeviceInfo::systemVersion));
    return trimmed(line);
}

} // namespace instrument
