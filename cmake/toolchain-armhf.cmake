# Cross toolchain for the instrument's processor: Debian's armhf compiler and the root file system
# that tools/arm-root makes. For a maker's SDK copy this file and go through what is marked "SDK".
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

# SDK: its compilers.
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

# SDK: its root file system, the triplet below its lib folders ("" when it has none).
if(DEFINED ENV{VRK_ARM_ROOT})
    set(arm_root "$ENV{VRK_ARM_ROOT}")
elseif(NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
    set(arm_root "$ENV{XDG_CACHE_HOME}/vrk-updater/armhf")
else()
    set(arm_root "$ENV{HOME}/.cache/vrk-updater/armhf")
endif()
set(VRK_ARM_ROOT "${arm_root}" CACHE PATH "Root file system of the target, with its development files")
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# Compiler checks run this file again in a project of their own.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VRK_ARM_ROOT)
if(NOT EXISTS "${VRK_ARM_ROOT}/usr/include")
    message(FATAL_ERROR "No root file system in ${VRK_ARM_ROOT}: run tools/arm-root, or set VRK_ARM_ROOT")
endif()
set(CMAKE_SYSROOT "${VRK_ARM_ROOT}")

# Libraries, headers and packages come from the root only, the programs of the build never from it.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# SDK: without these two lines, when its Qt tools run on the build machine.
# Qt's own tools (moc, rcc, the QML compiler, lrelease) are the root's, so that they always fit its Qt.
# The kernel runs them through the emulator, which looks for their libraries below this prefix, when
# configuring and when building.
set(ENV{QEMU_LD_PREFIX} "${VRK_ARM_ROOT}")
set_property(GLOBAL PROPERTY RULE_LAUNCH_CUSTOM "/usr/bin/env QEMU_LD_PREFIX=${VRK_ARM_ROOT}")

# SDK: without it; the tests do not run then.
# The programs that are built here and run here, that is the tests.
set(CMAKE_CROSSCOMPILING_EMULATOR
    /usr/bin/env "VRK_ARM_ROOT=${VRK_ARM_ROOT}" "${CMAKE_CURRENT_LIST_DIR}/../tools/run-arm")
