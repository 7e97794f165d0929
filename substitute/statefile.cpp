#include "statefile.h"

#include "ini.h"
#include "lines.h"

#include <plog/Log.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iomanip>
#include <sstream>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace instrument {

namespace {

constexpr std::size_t rowBytes = 32;

std::string stateText(const std::string &version, const FlashImage &image)
{
    std::ostringstream text;
    text << "[board]\nversion = \"" << version << "\"\n\n[flash]\n";
    text << std::hex << std::setfill('0');
    for (const std::size_t start : image.usedBlocks(rowBytes)) {
        text << "0x" << std::setw(6) << start << " = ";
        const std::size_t end = std::min(start + rowBytes, image.bytes.size());
        for (std::size_t at = start; at < end; ++at)
            text << std::setw(2) << int { image.bytes[at] };
        text << '\n';
    }
    return text.str();
}

bool writeAll(int descriptor, const std::string &text)
{
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = ::write(descriptor, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0)
            done += static_cast<std::size_t>(written);
    }
    return true;
}

std::string systemError()
{
    return std::generic_category().message(errno);
}

/// Returns an error text, as saveBoard() does.
std::string writeAndRename(const std::filesystem::path &file, const std::string &text)
{
    std::string temporary = file.string() + ".XXXXXX";
    const int descriptor = ::mkstemp(temporary.data());
    if (descriptor < 0)
        return systemError();
    const bool written = writeAll(descriptor, text) && ::fchmod(descriptor, 0644) == 0
            && ::fsync(descriptor) == 0;
    std::string error = written ? "" : systemError();
    ::close(descriptor);
    if (error.empty() && ::rename(temporary.c_str(), file.c_str()) != 0)
        error = systemError();
    if (!error.empty())
        ::unlink(temporary.c_str());
    return error;
}

} // namespace

std::optional<std::string> loadBoardVersion(const std::filesystem::path &file)
{
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored))
        return std::nullopt;

    std::ifstream stream = openRegularFile(file);
    if (stream.is_open()) {
        const IniContent content = readIni(stream);
        for (const IniEntry &entry : content.entries) {
            if (entry.section == "board" && entry.key == "version")
                return entry.value;
        }
    }
    LOG_WARNING << file.string() << ": keeps no board version, the settings decide";
    return std::nullopt;
}

std::string saveBoard(const std::filesystem::path &file, const std::string &version,
                      const FlashImage &image)
{
    if (file.empty())
        return "no state file is set";
    std::error_code failure;
    if (file.has_parent_path())
        std::filesystem::create_directories(file.parent_path(), failure);
    const std::string error = failure ? failure.message()
                                      : writeAndRename(file, stateText(version, image));
    return error.empty() ? error : file.string() + ": " + error;
}

} // namespace instrument
