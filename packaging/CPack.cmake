# The Debian package: cpack -G DEB in the build folder, after the build.
#
# Installed is what the target has: the executable, its translations, the launcher and its unit. On
# the instrument the translations' folder is fixed, so the package keeps to the prefix /usr/local.
option(VRK_PACKAGE_SUBSTITUTE "Install and package the development substitute of the instrument library" OFF)
set(VRK_PACKAGE_CONTACT "vrk-updater developers <root@localhost>" CACHE STRING "Maintainer field of the package")

configure_file("${CMAKE_CURRENT_LIST_DIR}/launcher/vrk-updater.service.in" vrk-updater.service @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/vrk-updater.service" DESTINATION lib/systemd/system)
install(PROGRAMS "${CMAKE_CURRENT_LIST_DIR}/launcher/vrk-updater-launch" DESTINATION "${CMAKE_INSTALL_BINDIR}")

if(VRK_PACKAGE_SUBSTITUTE AND NOT VrkEmbeddedApi_FOUND)
    install(TARGETS vrk-embedded-api LIBRARY DESTINATION lib)
endif()

# Other processors look for the translations beside the executable.
if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
    file(CREATE_LINK "../${CMAKE_INSTALL_DATADIR}/zentar/translations" "${PROJECT_BINARY_DIR}/translations-link" SYMBOLIC)
    install(FILES "${PROJECT_BINARY_DIR}/translations-link" DESTINATION "${CMAKE_INSTALL_BINDIR}" RENAME translations)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr/local)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT "${VRK_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
# Registers the substitute, where it is installed, with the dynamic linker.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_LIST_DIR}/triggers")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
endif()

# The libraries' packages are found by dpkg-shlibdeps; these are used without being linked. The other
# commands of an update (gzip, tar, sed, grep, coreutils) are on every Debian system.
string(JOIN ", " CPACK_DEBIAN_PACKAGE_DEPENDS
    mount qml-module-qtquick2 qml-module-qtquick-window2 qml-module-qtquick-controls2
    qml-module-qtquick-templates2 qml-module-qtquick-layouts qml-module-qtgraphicaleffects)
string(JOIN ", " CPACK_DEBIAN_PACKAGE_RECOMMENDS
    fonts-dejavu-core fonts-wqy-microhei qtvirtualkeyboard-plugin qml-module-qtquick-virtualkeyboard)

# The instrument library belongs to no package; it is enough that its folder is known.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(VrkEmbeddedApi_FOUND)
    cmake_path(GET VRK_EMBEDDED_API_LIBRARY PARENT_PATH CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS)
else()
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
endif()

if(CMAKE_SYSROOT AND EXISTS "${CMAKE_SYSROOT}/var/lib/dpkg/status")
    set(CPACK_VRK_SYSROOT "${CMAKE_SYSROOT}")
    set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_CURRENT_LIST_DIR}/sysroot/cpack-config.cmake")
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
        "${CMAKE_SYSROOT}/lib/${CMAKE_LIBRARY_ARCHITECTURE}" "${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}")
elseif(CMAKE_SYSROOT)
    message(STATUS "Package: ${CMAKE_SYSROOT} knows no packages, the dependencies on libraries are left out")
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
endif()

include(CPack)
