#include "settings.h"

#include "ini.h"
#include "lines.h"

#include <plog/Log.h>

#include <charconv>
#include <cstdlib>
#include <limits>
#include <variant>

namespace instrument {

namespace {

using Text = std::string Settings::*;
using Flag = bool Settings::*;

struct Number {
    int Settings::*member;
    int least;
    int most;
};

struct Key {
    const char *section;
    const char *name;
    std::variant<Text, Flag, Number> target;
};

constexpr Number anyResult(int Settings::*member)
{
    return { member, std::numeric_limits<int>::min(), std::numeric_limits<int>::max() };
}

constexpr Number upTo(int most, int Settings::*member)
{
    return { member, 0, most };
}

constexpr int mostFlashBytes = 1024 * 1024;

const Key keys[] = {
    { "instrument", "system_version", &Settings::systemVersion },
    { "instrument", "system_version_file", &Settings::systemVersionFile },
    { "instrument", "initialize_result", anyResult(&Settings::initializeResult) },
    { "instrument", "initialize_ms", upTo(60000, &Settings::initializeMs) },
    { "instrument", "status_result", anyResult(&Settings::statusResult) },
    { "instrument", "device_info_result", anyResult(&Settings::deviceInfoResult) },
    { "board", "connected", &Settings::connected },
    { "board", "version", &Settings::boardVersion },
    { "board", "flash_result", anyResult(&Settings::flashResult) },
    { "board", "page_bytes", Number { &Settings::pageBytes, 1, mostFlashBytes } },
    { "board", "page_ms", upTo(10000, &Settings::pageMs) },
    { "board", "flash_bytes", Number { &Settings::flashBytes, 1, mostFlashBytes } },
    { "state", "file", &Settings::stateFile },
};

/// The assign functions return what they expected instead of `value`, nothing when they took it.
std::string assign(Settings &settings, const std::string &value, Text member)
{
    settings.*member = value;
    return {};
}

std::string assign(Settings &settings, const std::string &value, Flag member)
{
    if (value != "true" && value != "false")
        return "true or false";
    settings.*member = value == "true";
    return {};
}

std::string assign(Settings &settings, const std::string &value, const Number &number)
{
    int read = 0;
    const char *end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, read);
    if (error != std::errc() || stop != end || read < number.least || read > number.most)
        return "a whole number from " + std::to_string(number.least) + " to "
                + std::to_string(number.most);
    settings.*number.member = read;
    return {};
}

/// Returns what is wrong with the entry, nothing when it was taken.
std::string apply(const IniEntry &entry, Settings &settings)
{
    bool knownSection = false;
    for (const Key &key : keys) {
        if (entry.section != key.section)
            continue;
        knownSection = true;
        if (entry.key != key.name)
            continue;
        const std::string expected = std::visit(
                [&](const auto &target) { return assign(settings, entry.value, target); },
                key.target);
        return expected.empty() ? expected : entry.key + " should be " + expected;
    }
    return knownSection ? "unknown key " + entry.key : "unknown section [" + entry.section + "]";
}

} // namespace

Settings loadSettings()
{
    const char *named = std::getenv("VRK_EMBEDDED_API_INI");
    const bool isNamed = named != nullptr && *named != '\0';
    const std::string path = isNamed ? named : "/etc/vrk-embedded-api.ini";

    Settings settings;
    std::ifstream file = openRegularFile(path);
    if (!file.is_open()) {
        if (isNamed || !isMissing(path)) {
            LOG_WARNING << path << ": cannot be read, the defaults hold";
        }
        return settings;
    }
    LOG_DEBUG << path << ": holds the settings";
    IniContent content = readIni(file);
    for (const IniEntry &entry : content.entries) {
        const std::string problem = apply(entry, settings);
        if (!problem.empty())
            content.problems.push_back({ entry.line, problem });
    }
    for (const IniProblem &problem : content.problems) {
        LOG_WARNING << path << ":" << problem.line << ": " << problem.text;
    }
    return settings;
}

} // namespace instrument
