// Preloaded into a program, this gives a virtual screen what it lacks of a real one: a picture is
// shown at most 60 times a second, and the program waits for that moment. Qt Quick counts on it:
// it advances animations by one sixtieth of a second a picture. Where SCREEN_SWAP_LOG names a file,
// the nanoseconds of the monotonic clock at every picture are added to it.
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

#include <dlfcn.h>

namespace {

constexpr std::chrono::nanoseconds refreshInterval { 1'000'000'000 / 60 };

void waitForRefresh()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto next = (now / refreshInterval + 1) * refreshInterval;
    std::this_thread::sleep_until(std::chrono::steady_clock::time_point(next));
}

void logPicture()
{
    static const char *const path = std::getenv("SCREEN_SWAP_LOG");
    if (!path)
        return;
    static std::ofstream log(path, std::ios::app);
    log << std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count()
        << std::endl;
}

} // namespace

// GLX's declaration, without its headers.
extern "C" void glXSwapBuffers(void *display, unsigned long drawable)
{
    using Swap = void (*)(void *, unsigned long);
    static const auto swap = reinterpret_cast<Swap>(dlsym(RTLD_NEXT, "glXSwapBuffers"));
    waitForRefresh();
    swap(display, drawable);
    logPicture();
}
