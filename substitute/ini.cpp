#include "ini.h"

#include "lines.h"

namespace instrument {

namespace {

constexpr std::size_t longestLine = 4096;

std::string unquoted(const std::string &text)
{
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

/// Some editors begin UTF-8 text with one.
void dropByteOrderMark(std::string &text)
{
    const std::string mark = "\xef\xbb\xbf";
    if (text.compare(0, mark.size(), mark) == 0)
        text.erase(0, mark.size());
}

class Reader
{
public:
    void take(const std::string &text, std::size_t line)
    {
        if (text.empty() || text.front() == ';' || text.front() == '#')
            return;
        if (text.front() == '[')
            takeSection(text, line);
        else
            takeEntry(text, line);
    }

    void problem(std::size_t line, const char *text) { content.problems.push_back({ line, text }); }

    IniContent content;

private:
    void takeSection(const std::string &text, std::size_t line)
    {
        if (text.back() == ']')
            m_section = trimmed(text.substr(1, text.size() - 2));
        else
            problem(line, "the section has no closing bracket");
    }

    void takeEntry(const std::string &text, std::size_t line)
    {
        const auto equals = text.find('=');
        if (equals == std::string::npos) {
            problem(line, "neither a section nor a key with a value");
            return;
        }
        content.entries.push_back({ m_section, trimmed(text.substr(0, equals)),
                                    unquoted(trimmed(text.substr(equals + 1))), line });
    }

    std::string m_section;
};

} // namespace

IniContent readIni(std::istream &in)
{
    Reader reader;
    std::string text;
    for (std::size_t line = 1;; ++line) {
        const LineRead read = readLine(in, text, longestLine);
        if (read == LineRead::End)
            return reader.content;
        if (read == LineRead::TooLong) {
            reader.problem(line, "the line is too long");
            skipLine(in);
            continue;
        }
        if (line == 1)
            dropByteOrderMark(text);
        reader.take(trimmed(text), line);
    }
}

} // namespace instrument
