// INI text: "[section]", "key = value", comment lines that begin with ';' or '#'.
#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

namespace [[gnu::visibility("hidden")]] instrument {

struct IniEntry {
    std::string section;
    std::string key;
    std::string value; ///< without the blanks, then without one pair of double quotes around it
    std::size_t line = 0; ///< counted from 1
};

struct IniProblem {
    std::size_t line = 0;
    std::string text;
};

struct IniContent {
    std::vector<IniEntry> entries; ///< in the order of the file, repeated keys included
    std::vector<IniProblem> problems; ///< lines that are neither section, entry nor comment
};

/// Reads all of `in`. Lines with a problem are left out of the entries.
IniContent readIni(std::istream &in);

} // namespace instrument
