// What the substitute plays: read once, at initialisation.
#pragma once

#include <istream>
#include <string>

namespace [[gnu::visibility("hidden")]] instrument {

/// One member for each key of the settings file; README.md says what they do.
struct Settings {
    std::string systemVersion = "1.0.0";
    std::string systemVersionFile;
    int initializeResult = 0;
    int initializeMs = 200;
    int statusResult = 0;
    int deviceInfoResult = 0;

    bool connected = true;
    std::string boardVersion = "1.00";
    int flashResult = 0;
    int pageBytes = 256;
    int pageMs = 30;
    int flashBytes = 256 * 1024;

    std::string stateFile = "/var/lib/vrk-embedded-api/board.ini";
};

/// Reads "/etc/vrk-embedded-api.ini", or the file that the environment variable
/// VRK_EMBEDDED_API_INI names. What is wrong in it is logged and keeps its default.
Settings loadSettings();

} // namespace instrument
