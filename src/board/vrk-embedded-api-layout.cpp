// Holds every compiler to what is known of the instrument library's records: the places of their
// members, their least sizes and their defaults.
#include "vrk-embedded-api.h"

namespace {

template <typename T, std::size_t Size>
constexpr bool allZero(const T (&bytes)[Size])
{
    for (const T byte : bytes) {
        if (byte != 0)
            return false;
    }
    return true;
}

static_assert(sizeof(VRK_ResultCode) == 4);
static_assert(sizeof(VRK_Lib_Mode) == 4);
static_assert(VRK_LIB_MODE_UPDATER == 3);

static_assert(sizeof(VRK_Status) >= 8);
static_assert(offsetof(VRK_Status, flags) == 0 && sizeof(VRK_Status::flags) == 4);
static_assert(offsetof(VRK_Status, boardConnected) == 7);
static_assert(sizeof(VRK_Status::boardConnected) == 1);

constexpr VRK_Status status;
static_assert(status.flags == 0 && status.boardConnected == 0 && allZero(status.room));

static_assert(sizeof(VRK_DeviceInfo) >= 244);
static_assert(offsetof(VRK_DeviceInfo, reserved0) == 0);
static_assert(offsetof(VRK_DeviceInfo, reserved2) == 2);
static_assert(offsetof(VRK_DeviceInfo, reserved4) == 4);
static_assert(offsetof(VRK_DeviceInfo, systemVersion) == 47);
static_assert(sizeof(VRK_DeviceInfo::systemVersion) == 21);
static_assert(offsetof(VRK_DeviceInfo, atmegaVersion) == 68);
static_assert(sizeof(VRK_DeviceInfo::atmegaVersion) == 42);
static_assert(offsetof(VRK_DeviceInfo, reserved110) == 110);
static_assert(offsetof(VRK_DeviceInfo, reserved112) == 112);
static_assert(offsetof(VRK_DeviceInfo, reserved128) == 128);
static_assert(offsetof(VRK_DeviceInfo, reserved136) == 136);
static_assert(offsetof(VRK_DeviceInfo, reserved144) == 144);
static_assert(offsetof(VRK_DeviceInfo, reserved152) == 152);
static_assert(offsetof(VRK_DeviceInfo, reserved200) == 200);
static_assert(offsetof(VRK_DeviceInfo, reserved204) == 204);
static_assert(offsetof(VRK_DeviceInfo, reserved208) == 208);
static_assert(offsetof(VRK_DeviceInfo, reserved224) == 224);
static_assert(offsetof(VRK_DeviceInfo, reserved228) == 228);
static_assert(offsetof(VRK_DeviceInfo, reserved232) == 232);
static_assert(offsetof(VRK_DeviceInfo, reserved236) == 236);
static_assert(offsetof(VRK_DeviceInfo, reserved240) == 240);

constexpr VRK_DeviceInfo info;
static_assert(allZero(info.systemVersion) && allZero(info.atmegaVersion));
static_assert(info.reserved0 == 0 && info.reserved2 == 0 && info.reserved4 == 0);
static_assert(info.reserved110 == 0 && info.reserved128 == 0 && info.reserved144 == 0);
static_assert(allZero(info.reserved112) && allZero(info.reserved136));
static_assert(allZero(info.reserved152) && allZero(info.reserved200));
static_assert(allZero(info.reserved208));
static_assert(info.reserved204 == 2000);
static_assert(info.reserved224 == 40 && info.reserved228 == 70 && info.reserved232 == 35);
static_assert(info.reserved236 == 50 && info.reserved240 == 45);
static_assert(allZero(info.room));

static_assert(alignof(ScopeLogger) == alignof(std::max_align_t));

static_assert(offsetof(VRK_ProgressCallback, function) == 0);
static_assert(offsetof(VRK_ProgressCallback, userData) == sizeof(void *));

} // namespace
