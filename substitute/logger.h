// The plog logger that the library shares with the executable.
#pragma once

namespace [[gnu::visibility("hidden")]] instrument {

/// Installs a logger that writes to standard output, up to severity debug with `debug`, else up to
/// info. A logger that is there already only has its severity set.
void installLogger(bool debug);

} // namespace instrument
