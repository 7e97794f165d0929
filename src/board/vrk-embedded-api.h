// Declarations of libvrk-embedded-api, the instrument maker's closed library, as far as the
// updater uses them. Known are the places of the members that are named here, and that the records
// are no shorter; how long they and the class really are is not. Each therefore has room to spare:
// the library writes into objects that the updater puts on its stack.
// vrk-embedded-api-layout.cpp asserts for every compiler what is known.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Result of a library call; 0 is success, every other value (negative ones included) a failure.
enum VRK_ResultCode : std::int32_t {
    VRK_RESULT_OK = 0,
    VRK_RESULT_BOARD_CONNECTION_FAILED = 35,
    VRK_RESULT_UPGRADE_STORAGE_NOT_MOUNTED = 58,
    VRK_RESULT_UPGRADE_FILE_NOT_FOUND = 59,
    VRK_RESULT_UPGRADE_FILE_ERROR = 60,
    VRK_RESULT_OTHER_INSTANCE_RUNNING = 61,
};

/// Operating mode requested at initialisation.
enum VRK_Lib_Mode : std::int32_t {
    VRK_LIB_MODE_UPDATER = 3,
};

/// State of the measurement board; at least 8 bytes long in the library.
struct VRK_Status {
    std::uint32_t flags = 0;
    std::uint8_t reserved[3] = {};
    std::uint8_t boardConnected = 0; ///< non-zero while the board is connected and answering
    std::uint8_t room[1016] = {};
};

/// What the instrument says of itself; at least 244 bytes long in the library. Both texts end with
/// a NUL; the other members are the library's own and only keep their places and defaults here.
struct VRK_DeviceInfo {
    std::uint16_t reserved0 = 0;
    std::uint16_t reserved2 = 0;
    std::uint8_t reserved4 = 0;
    std::uint8_t reserved5[42] = {};
    char systemVersion[21] = {}; ///< version of the installed system software
    char atmegaVersion[42] = {}; ///< version of the measurement board's firmware
    std::uint8_t reserved110 = 0;
    std::uint8_t reserved111 = 0;
    std::uint8_t reserved112[16] = {};
    std::uint8_t reserved128 = 0;
    std::uint8_t reserved129[7] = {};
    std::uint8_t reserved136[8] = {};
    std::uint32_t reserved144 = 0;
    std::uint8_t reserved148[4] = {};
    std::uint8_t reserved152[48] = {};
    std::uint8_t reserved200[4] = {};
    std::uint32_t reserved204 = 2000;
    std::uint8_t reserved208[11] = {};
    std::uint8_t reserved219[5] = {};
    std::uint32_t reserved224 = 40;
    std::uint32_t reserved228 = 70;
    std::uint32_t reserved232 = 35;
    std::uint32_t reserved236 = 50;
    std::uint32_t reserved240 = 45;
    std::uint8_t room[3852] = {};
};

/// Where the library reports the progress of a flash.
struct VRK_ProgressCallback {
    /// Called on a thread of the library's choosing, only while the flash call lasts.
    void (*function)(void *userData, int done, int total);
    void *userData; ///< passed back unchanged as the first argument
};

/// Receives the library's status messages, at any time and on any thread.
using VRK_StatusCallback = void (*)(void *userData, VRK_ResultCode code, const char *message);

// A C++ library offers its functions under names that carry their types. For one that offers the
// bare names the build sets this definition (cmake/FindVrkEmbeddedApi.cmake).
#ifdef VRK_EMBEDDED_API_BARE_NAMES
extern "C" {
#endif

/// Prepares the library; call it once, before anything else. To install the shared plog logger is
/// the library's business, too.
VRK_ResultCode VRK_Lib_Initialize(VRK_StatusCallback callback, void *userData, VRK_Lib_Mode mode,
                                  bool debug);

/// Fills `info`. Blocks the caller.
VRK_ResultCode VRK_GetDeviceInfo(VRK_DeviceInfo *info);

/// Fills `status`. Blocks the caller.
VRK_ResultCode VRK_GetStatus(VRK_Status *status);

/// Writes the Intel HEX image at `path` (absolute, Latin-1) into the measurement board and
/// returns when that has ended. `progress` need not outlive the call.
VRK_ResultCode VRK_FlashATMEGA_file(const char *path, const VRK_ProgressCallback *progress);

#ifdef VRK_EMBEDDED_API_BARE_NAMES
} // extern "C"
#endif

/// Marks the entry to and every exit from a scope in the library's log. What the library keeps in
/// an object is its own business; here it is only storage.
class ScopeLogger
{
public:
    ScopeLogger(std::string name, bool); ///< the updater passes false
    ~ScopeLogger();
    ScopeLogger(const ScopeLogger &) = delete;
    ScopeLogger &operator=(const ScopeLogger &) = delete;

private:
    [[maybe_unused]] alignas(std::max_align_t) unsigned char m_storage[4096];
};
