// An instrument library that keeps to its declarations and to nothing else: it is slow to start, its records and its
// logger are longer than the updater knows of, its texts have no end, its codes no meaning, its threads report what
// they like.
#include "vrk-embedded-api.h"

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <thread>

static void wait(int msecs) { std::this_thread::sleep_for(std::chrono::milliseconds(msecs)); }

/// Sends status messages for as long as the process lives.
static class Chatter
{
public:
    void begin(VRK_StatusCallback callback, void *userData)
    {
        m_thread = std::thread([=] {
            for (int code = -100; !m_over; ++code) {
                callback(userData, static_cast<VRK_ResultCode>(code), code % 2 == 0 ? nullptr : "\xff\n%s%n");
                wait(1);
            }
        });
    }

    ~Chatter()
    {
        m_over = true;
        if (m_thread.joinable())
            m_thread.join();
    }

private:
    std::atomic_bool m_over { false };
    std::thread m_thread;
} s_chatter;

template <typename Record>
static VRK_ResultCode fill(Record *record, int code)
{
    std::memset(static_cast<void *>(record), 'Z', 1000);
    return static_cast<VRK_ResultCode>(code);
}

VRK_ResultCode VRK_Lib_Initialize(VRK_StatusCallback callback, void *userData, VRK_Lib_Mode, bool)
{
    s_chatter.begin(callback, userData);
    wait(3000);
    return VRK_RESULT_OK;
}

VRK_ResultCode VRK_GetDeviceInfo(VRK_DeviceInfo *info) { return fill(info, -7); }

VRK_ResultCode VRK_GetStatus(VRK_Status *status) { return fill(status, INT_MAX); }

#ifndef INCOMPLETE
VRK_ResultCode VRK_FlashATMEGA_file(const char *, const VRK_ProgressCallback *progress)
{
    const int counts[] = { INT_MIN, -1, 0, 1, INT_MAX };
    for (int turn = 0; turn < 2; ++turn) {
        std::thread([=] {
            for (const int done : counts) {
                for (const int total : counts) {
                    progress->function(progress->userData, done, total);
                    wait(10);
                }
            }
        }).join();
    }
    return VRK_RESULT_OK;
}
#endif

ScopeLogger::ScopeLogger(std::string name, bool)
{
    fill(this, 0);
    std::fprintf(stderr, "+%s\n", name.c_str());
}

ScopeLogger::~ScopeLogger()
{
    fill(this, 0);
    std::fprintf(stderr, "-scope\n");
}
