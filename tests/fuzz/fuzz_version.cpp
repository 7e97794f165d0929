// The version that is cut out of a name: any bytes, with the updater's own marks or with others.
#include "applicationcontroller.h"

#include <fuzzer/FuzzedDataProvider.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    std::string prefix = "zepra_update_v", suffix = ".tar.gz";
    if (input.ConsumeBool()) {
        prefix = input.ConsumeRandomLengthString(4);
        suffix = input.ConsumeRandomLengthString(4);
    }
    const std::string before = input.ConsumeRandomLengthString(), version = input.ConsumeRandomLengthString();
    const std::string marked = before + prefix + version + suffix;
    for (const std::string &name : { marked, marked + input.ConsumeRemainingBytesAsString(), before }) {
        const auto cut = ApplicationController::ExtractVersionFromFilename(name, prefix, suffix);
        // What is cut out stands between the marks, and neither mark stands before its own place.
        const auto at = name.find(prefix + cut + suffix);
        if (!cut.empty() && (at != name.find(prefix) || at + prefix.size() + cut.size() != name.find(suffix)))
            __builtin_trap();
        const bool expected = !version.empty() && name != before && marked.find(prefix) == before.size()
                && marked.find(suffix) == marked.size() - suffix.size();
        if (expected && cut != version)
            __builtin_trap();
    }
    return 0;
}
