// Reading of text files line by line, whatever they hold.
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <istream>
#include <string>

namespace [[gnu::visibility("hidden")]] instrument {

enum class LineRead {
    Line, ///< a line was read
    TooLong, ///< the line has more than `limit` bytes; `line` holds them, the rest is unread
    End, ///< nothing is left
};

/// Reads up to and including the next LF. `line` gets the bytes before it, without one closing CR.
LineRead readLine(std::istream &in, std::string &line, std::size_t limit);

/// Passes over what is left of a line, the LF included.
void skipLine(std::istream &in);

/// `text` without blanks, tabs and carriage returns at both ends.
std::string trimmed(const std::string &text);

/// `value` as at least `digits` hexadecimal digits behind "0x".
std::string hex(std::size_t value, int digits);

/// Whether nothing is there; false, too, where that cannot be found out.
bool isMissing(const std::filesystem::path &path);

/// Opens a regular file; the stream is not open when `path` names anything else or cannot be read.
std::ifstream openRegularFile(const std::filesystem::path &path);

} // namespace instrument
