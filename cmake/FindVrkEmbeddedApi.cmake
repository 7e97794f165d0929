# Finds the maker's instrument library and defines the target vrk-embedded-api for it. Where the
# SDK has none, the development substitute of the same name is built instead.
# VRK_INSTRUMENT_LIBRARY: auto (the maker's where it is found), maker (an error without it), substitute.
set(VRK_INSTRUMENT_LIBRARY auto CACHE STRING "Which instrument library to link: auto, maker or substitute")
set_property(CACHE VRK_INSTRUMENT_LIBRARY PROPERTY STRINGS auto maker substitute)

if(VRK_INSTRUMENT_LIBRARY STREQUAL "substitute")
    set(VrkEmbeddedApi_FOUND FALSE)
    message(STATUS "Instrument library: the development substitute, as chosen")
    return()
endif()

find_library(VRK_EMBEDDED_API_LIBRARY vrk-embedded-api DOC "The maker's libvrk-embedded-api.so")

if(VRK_EMBEDDED_API_LIBRARY)
    set(VrkEmbeddedApi_FOUND TRUE)
    message(STATUS "Instrument library: ${VRK_EMBEDDED_API_LIBRARY}")
    add_library(vrk-embedded-api SHARED IMPORTED GLOBAL)
    set_target_properties(vrk-embedded-api PROPERTIES
        IMPORTED_LOCATION "${VRK_EMBEDDED_API_LIBRARY}"
        # A library without a name of its own must not be remembered by the SDK's path.
        IMPORTED_NO_SONAME TRUE
        INTERFACE_INCLUDE_DIRECTORIES "${PROJECT_SOURCE_DIR}/src/board")
elseif(VRK_INSTRUMENT_LIBRARY STREQUAL "maker")
    message(FATAL_ERROR "libvrk-embedded-api was not found: set VRK_EMBEDDED_API_LIBRARY to the maker's")
else()
    set(VrkEmbeddedApi_FOUND FALSE)
    message(STATUS "Instrument library: not found, building the development substitute")
endif()
mark_as_advanced(VRK_EMBEDDED_API_LIBRARY)
