# Finds the maker's instrument library and defines the target vrk-embedded-api for it. Where the
# SDK has none, the development substitute of the same name is built instead.
# VRK_INSTRUMENT_LIBRARY: auto (the maker's where it is found), maker (an error without it), substitute.
# What is found must offer all that the updater calls: under names that carry the functions' types,
# as a C++ library does, or under their bare names; vrk-embedded-api-headers declares them so.
set(VRK_INSTRUMENT_LIBRARY auto CACHE STRING "Which instrument library to link: auto, maker or substitute")
set_property(CACHE VRK_INSTRUMENT_LIBRARY PROPERTY STRINGS auto maker substitute)

if(NOT VRK_INSTRUMENT_LIBRARY MATCHES "^(auto|maker|substitute)$")
    message(FATAL_ERROR "VRK_INSTRUMENT_LIBRARY is ${VRK_INSTRUMENT_LIBRARY}, not auto, maker or substitute")
endif()

set(vrk_header_folder "${CMAKE_CURRENT_LIST_DIR}/../src/board")
add_library(vrk-embedded-api-headers INTERFACE)
target_include_directories(vrk-embedded-api-headers INTERFACE "${vrk_header_folder}")

# Links a program that calls all of the library. What the library lacks goes into <missing>, empty
# when it is complete; a library that cannot be linked at all is a fatal error.
function(vrk_try_library missing)
    set(probe "${CMAKE_BINARY_DIR}/instrument-library-probe")
    file(WRITE "${probe}.cpp" "
        #include \"vrk-embedded-api.h\"
        int main()
        {
            const ScopeLogger logger(std::string(), false);
            return VRK_Lib_Initialize({}, {}, {}, {}) + VRK_GetDeviceInfo({}) + VRK_GetStatus({})
                    + VRK_FlashATMEGA_file({}, {});
        }")
    set(locale "$ENV{LC_ALL}")
    set(ENV{LC_ALL} C) # the linker's words are read below
    try_compile(linked "${probe}" SOURCES "${probe}.cpp"
        CMAKE_FLAGS "-DINCLUDE_DIRECTORIES=${vrk_header_folder}"
        COMPILE_DEFINITIONS ${ARGN}
        # What the library needs itself is the instrument's business.
        LINK_OPTIONS -Wl,--allow-shlib-undefined
        LINK_LIBRARIES "${VRK_EMBEDDED_API_LIBRARY}"
        CXX_STANDARD 17 CXX_STANDARD_REQUIRED ON
        OUTPUT_VARIABLE output)
    set(ENV{LC_ALL} "${locale}")
    set(names "")
    if(NOT linked)
        # As the linkers bfd, gold and lld put it.
        string(REGEX MATCHALL "undefined (reference to [`']|symbol: )[^'\n]+" names "${output}")
        list(TRANSFORM names REPLACE "undefined (reference to [`']|symbol: )" "")
        list(REMOVE_DUPLICATES names)
        if(NOT names)
            message(FATAL_ERROR "${VRK_EMBEDDED_API_LIBRARY} cannot be linked:\n${output}")
        endif()
    endif()
    unset(linked CACHE)
    set(${missing} "${names}" PARENT_SCOPE)
endfunction()

# Says what became of the library's names, and declares them so.
function(vrk_check_library)
    if(NOT EXISTS "${VRK_EMBEDDED_API_LIBRARY}")
        message(FATAL_ERROR "There is no instrument library ${VRK_EMBEDDED_API_LIBRARY}")
    endif()
    vrk_try_library(missing_typed)
    if(NOT missing_typed)
        message(STATUS "Instrument library: ${VRK_EMBEDDED_API_LIBRARY}")
        return()
    endif()
    vrk_try_library(missing_bare -DVRK_EMBEDDED_API_BARE_NAMES)
    if(NOT missing_bare)
        message(STATUS "Instrument library: ${VRK_EMBEDDED_API_LIBRARY}, whose functions have bare C names")
        target_compile_definitions(vrk-embedded-api-headers INTERFACE VRK_EMBEDDED_API_BARE_NAMES)
        return()
    endif()
    list(JOIN missing_typed "\n  " lines)
    list(JOIN missing_bare ", " bare)
    message(FATAL_ERROR "${VRK_EMBEDDED_API_LIBRARY} is no instrument library for this updater. It lacks\n"
        "  ${lines}\nLooked for under bare C names it lacks: ${bare}")
endfunction()

if(VRK_INSTRUMENT_LIBRARY STREQUAL "substitute")
    set(VrkEmbeddedApi_FOUND FALSE)
    message(STATUS "Instrument library: the development substitute, as chosen")
    return()
endif()

find_library(VRK_EMBEDDED_API_LIBRARY vrk-embedded-api DOC "The maker's libvrk-embedded-api.so")

if(VRK_EMBEDDED_API_LIBRARY)
    vrk_check_library()
    set(VrkEmbeddedApi_FOUND TRUE)
    add_library(vrk-embedded-api SHARED IMPORTED GLOBAL)
    set_target_properties(vrk-embedded-api PROPERTIES
        IMPORTED_LOCATION "${VRK_EMBEDDED_API_LIBRARY}"
        # A library without a name of its own must not be remembered by the SDK's path.
        IMPORTED_NO_SONAME TRUE
        # As when it was tried: what the library needs itself need not be in the SDK.
        INTERFACE_LINK_OPTIONS -Wl,--allow-shlib-undefined
        INTERFACE_LINK_LIBRARIES vrk-embedded-api-headers)
elseif(VRK_INSTRUMENT_LIBRARY STREQUAL "maker")
    message(FATAL_ERROR "libvrk-embedded-api was not found: set VRK_EMBEDDED_API_LIBRARY to the maker's")
else()
    set(VrkEmbeddedApi_FOUND FALSE)
    message(STATUS "Instrument library: not found, building the development substitute")
endif()
mark_as_advanced(VRK_EMBEDDED_API_LIBRARY)
