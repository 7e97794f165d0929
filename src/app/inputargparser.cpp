#include "inputargparser.h"

#include <algorithm>

InputArgParser::InputArgParser(int argc, char **argv)
{
    if (argc > 1)
        m_tokens.assign(argv + 1, argv + argc);
}

std::string InputArgParser::getCmdOption(const std::string &option) const
{
    const auto found = std::find(m_tokens.begin(), m_tokens.end(), option);
    if (found == m_tokens.end() || std::next(found) == m_tokens.end())
        return {};
    return *std::next(found);
}

bool InputArgParser::cmdOptionExists(const std::string &option) const
{
    return std::find(m_tokens.begin(), m_tokens.end(), option) != m_tokens.end();
}
