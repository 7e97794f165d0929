#include "vrk-embedded-api.h"

#include <plog/Log.h>

#include <utility>

ScopeLogger::ScopeLogger(std::string name, bool quiet)
    : m_name(std::move(name))
    , m_quiet(quiet)
{
    if (!m_quiet) {
        LOG_DEBUG << m_name << ": entered";
    }
}

ScopeLogger::~ScopeLogger()
{
    if (!m_quiet) {
        LOG_DEBUG << m_name << ": left";
    }
}
