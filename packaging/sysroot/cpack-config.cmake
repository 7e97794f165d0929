# Lets dpkg-shlibdeps look into the sysroot of a cross build: the dpkg-query beside this file answers
# for the packages there.
set(ENV{PATH} "${CMAKE_CURRENT_LIST_DIR}:$ENV{PATH}")
set(ENV{VRK_SYSROOT} "${CPACK_VRK_SYSROOT}")
set(ENV{DEB_HOST_ARCH} "${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}")
