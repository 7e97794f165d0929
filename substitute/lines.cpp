#include "lines.h"

#include <iomanip>
#include <limits>
#include <sstream>

namespace instrument {

LineRead readLine(std::istream &in, std::string &line, std::size_t limit)
{
    line.clear();
    bool any = false;
    for (int next = in.get(); next != std::istream::traits_type::eof(); next = in.get()) {
        any = true;
        if (next == '\n')
            break;
        if (line.size() == limit)
            return LineRead::TooLong;
        line.push_back(static_cast<char>(next));
    }
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return any ? LineRead::Line : LineRead::End;
}

void skipLine(std::istream &in)
{
    in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
}

std::string trimmed(const std::string &text)
{
    constexpr auto blanks = " \t\r";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string hex(std::size_t value, int digits)
{
    std::ostringstream text;
    text << "0x" << std::hex << std::setfill('0') << std::setw(digits) << value;
    return text.str();
}

bool isMissing(const std::filesystem::path &path)
{
    std::error_code ignored;
    return std::filesystem::status(path, ignored).type() == std::filesystem::file_type::not_found;
}

std::ifstream openRegularFile(const std::filesystem::path &path)
{
    std::error_code ignored;
    // Opening a FIFO would wait for its other end.
    if (!std::filesystem::is_regular_file(path, ignored))
        return {};
    return std::ifstream(path, std::ios::binary);
}

} // namespace instrument
