#pragma once

#include <string>
#include <vector>

/// The command line as a list of tokens, without the program name.
class InputArgParser
{
public:
    InputArgParser(int argc, char **argv);

    /// The token that follows the first occurrence of `option`, whatever it is; empty when
    /// `option` is absent or last.
    std::string getCmdOption(const std::string &option) const;

    /// Whether a token equals `option` exactly.
    bool cmdOptionExists(const std::string &option) const;

private:
    std::vector<std::string> m_tokens;
};
