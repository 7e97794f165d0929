#include "vrk-embedded-api.h"

#include <plog/Log.h>

#include <new>
#include <utility>

namespace {

struct Scope {
    std::string name;
    bool quiet;
};
static_assert(sizeof(Scope) <= sizeof(ScopeLogger) && alignof(Scope) <= alignof(ScopeLogger));

} // namespace

ScopeLogger::ScopeLogger(std::string name, bool quiet)
{
    const auto *scope = new (m_storage) Scope { std::move(name), quiet };
    if (!scope->quiet) {
        LOG_DEBUG << scope->name << ": entered";
    }
}

ScopeLogger::~ScopeLogger()
{
    auto *scope = std::launder(reinterpret_cast<Scope *>(m_storage));
    if (!scope->quiet) {
        LOG_DEBUG << scope->name << ": left";
    }
    scope->~Scope();
}
