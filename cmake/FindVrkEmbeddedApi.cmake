# Finds the maker's instrument library and defines the target vrk-embedded-api for it. Where the
# SDK has none, the development substitute of the same name is built instead.
find_library(VRK_EMBEDDED_API_LIBRARY vrk-embedded-api DOC "The maker's libvrk-embedded-api.so")

if(VRK_EMBEDDED_API_LIBRARY)
    set(VrkEmbeddedApi_FOUND TRUE)
    message(STATUS "Instrument library: ${VRK_EMBEDDED_API_LIBRARY}")
    add_library(vrk-embedded-api SHARED IMPORTED GLOBAL)
    set_target_properties(vrk-embedded-api PROPERTIES
        IMPORTED_LOCATION "${VRK_EMBEDDED_API_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${PROJECT_SOURCE_DIR}/src/board")
else()
    set(VrkEmbeddedApi_FOUND FALSE)
    message(STATUS "Instrument library: not found, building the development substitute")
endif()
mark_as_advanced(VRK_EMBEDDED_API_LIBRARY)
