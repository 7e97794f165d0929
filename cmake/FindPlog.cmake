# Finds the plog headers and defines plog::plog.
#
# Taken in this order: plog's own CMake package, the headers below PLOG_INCLUDE_DIR or the usual
# include paths, the headers that tools/setup keeps in the user's cache.
find_package(plog CONFIG QUIET)
if(TARGET plog::plog)
    set(Plog_FOUND TRUE)
    return()
endif()

if(NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
    set(plog_cache "$ENV{XDG_CACHE_HOME}")
else()
    set(plog_cache "$ENV{HOME}/.cache")
endif()

find_path(PLOG_INCLUDE_DIR plog/Log.h DOC "Folder that holds plog/Log.h")
if(NOT PLOG_INCLUDE_DIR AND EXISTS "${plog_cache}/vrk-updater/plog/include/plog/Log.h")
    set_property(CACHE PLOG_INCLUDE_DIR PROPERTY VALUE "${plog_cache}/vrk-updater/plog/include")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Plog
    REQUIRED_VARS PLOG_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "run tools/setup, or set PLOG_INCLUDE_DIR to the folder that holds plog/Log.h")

if(Plog_FOUND)
    add_library(plog::plog INTERFACE IMPORTED)
    target_include_directories(plog::plog SYSTEM INTERFACE "${PLOG_INCLUDE_DIR}")
    # Packagings of plog that keep it silent by default write records only with this definition.
    target_compile_definitions(plog::plog INTERFACE PLOGR_ENABLE)
endif()
mark_as_advanced(PLOG_INCLUDE_DIR)
