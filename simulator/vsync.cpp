// Preloaded into a program, this gives a virtual screen what it lacks of a real one: a picture is
// shown at most 60 times a second, and the program waits for that moment. Qt Quick counts on it:
// it advances animations by one sixtieth of a second a picture. Where a program draws through EGL
// there is no virtual screen, and only what is logged and where it stops is of use. Where
// SCREEN_SWAP_LOG names a file, the nanoseconds of the monotonic clock at every picture are added
// to it. For what is measured, SCREEN_STOP_AT stops the program, so that it can be looked at: at
// "load", when its libraries are loaded, or at "picture", when the first has been drawn. Where
// SCREEN_LOAD_LOG names a file, each library that the program opens later is added to it, with the
// thread's processor nanoseconds for it.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string_view>
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

void stopAt(std::string_view moment)
{
    static const char *const wanted = std::getenv("SCREEN_STOP_AT");
    if (wanted && moment == wanted)
        raise(SIGSTOP);
}

std::chrono::nanoseconds threadTime()
{
    timespec time {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

__attribute__((constructor)) void loaded()
{
    unsetenv("LD_PRELOAD"); // the commands that this program runs need nothing of it
    stopAt("load");
}

} // namespace

extern "C" void *dlopen(const char *name, int flags)
{
    using Open = void *(*)(const char *, int);
    static const auto open = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "dlopen"));
    static const char *const path = std::getenv("SCREEN_LOAD_LOG");
    const auto before = threadTime();
    void *const library = open(name, flags);
    if (path && name && library)
        std::ofstream(path, std::ios::app)
                << (threadTime() - before).count() << ' ' << name << std::endl;
    return library;
}

// The declarations of GLX and EGL, without their headers.
extern "C" void glXSwapBuffers(void *display, unsigned long drawable)
{
    using Swap = void (*)(void *, unsigned long);
    static const auto swap = reinterpret_cast<Swap>(dlsym(RTLD_NEXT, "glXSwapBuffers"));
    waitForRefresh();
    swap(display, drawable);
    logPicture();
    stopAt("picture");
}

extern "C" unsigned int eglSwapBuffers(void *display, void *surface)
{
    using Swap = unsigned int (*)(void *, void *);
    // The platform plugin keeps its libraries to itself, where RTLD_NEXT does not look.
    static const auto swap = reinterpret_cast<Swap>(
            dlsym(dlopen("libEGL.so.1", RTLD_LAZY | RTLD_NOLOAD), "eglSwapBuffers"));
    const unsigned int done = swap(display, surface);
    logPicture();
    stopAt("picture");
    return done;
}
