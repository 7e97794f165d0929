// How the sanitizers of VRK_SANITIZERS work in every executable of such a build, wherever it runs.
// Only what is not this project's own is suppressed.

extern "C" {

int dlclose(void *);
const char *__asan_default_options();
const char *__lsan_default_suppressions();
const char *__tsan_default_options();
const char *__tsan_default_suppressions();

// The library that gives a virtual screen its refresh rate is preloaded, before the runtime.
const char *__asan_default_options()
{
    return "verify_asan_link_order=0";
}

// Plugins stay in memory, so that a report can name them.
int dlclose(void *)
{
    return 0;
}

// What Qt, its plugins and the drivers below keep to the end.
const char *__lsan_default_suppressions()
{
    return "leak:libdbus-1.so\nleak:libqoffscreen.so\nleak:libQt5Quick.so\n";
}

// Qt is not instrumented: what its own code does is not seen, nor are its locks.
const char *__tsan_default_options()
{
    return "ignore_noninstrumented_modules=1";
}

const char *__tsan_default_suppressions()
{
    return "race:^QWaitCondition::~QWaitCondition\n"
           "race:^QThreadPoolPrivate::reset\n"
           // Results cross threads behind a lock in Qt's library, in code that its headers compile
           // into ours.
           "race:^QFuture<bool>::result\n"
           "race:^QFutureInterface<bool>::\n"
           // The logger ends after the threads, for which QThread has waited.
           "race:^plog::util::Singleton<plog::Logger<0> >::~Singleton\n";
}
}
