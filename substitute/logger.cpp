#include "logger.h"

#include <plog/Log.h>

#include <plog/Init.h>

#include <plog/Appenders/ConsoleAppender.h>

#include <ctime>
#include <iomanip>
#include <sstream>

namespace instrument {

namespace {

const char *severityName(plog::Severity severity)
{
    switch (severity) {
    case plog::fatal: return "FATAL";
    case plog::error: return "ERROR";
    case plog::warning: return "WARN";
    case plog::info: return "INFO";
    case plog::debug: return "DEBUG";
    default: return "VERB";
    }
}

/// One line a record. plog's own formatters differ between its releases.
class RecordFormatter
{
public:
    static plog::util::nstring header() { return {}; }

    static plog::util::nstring format(const plog::Record &record)
    {
        std::tm local = {};
        ::localtime_r(&record.getTime().time, &local);
        std::ostringstream line;
        line << std::put_time(&local, "%F %T.") << std::setfill('0') << std::setw(3)
             << record.getTime().millitm << ' ' << std::setfill(' ') << std::left << std::setw(5)
             << severityName(record.getSeverity()) << " [" << record.getFunc() << '@'
             << record.getLine() << "] " << record.getMessage() << '\n';
        return line.str();
    }
};

} // namespace

void installLogger(bool debug)
{
    const plog::Severity severity = debug ? plog::debug : plog::info;
    if (plog::get() != nullptr) {
        plog::get()->setMaxSeverity(severity);
        return;
    }
    static plog::ConsoleAppender<RecordFormatter> console;
    plog::init(severity, &console);
}

} // namespace instrument
