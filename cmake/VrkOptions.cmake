# How this project's own targets are compiled. Every target links vrk-options; nothing is set globally.
add_library(vrk-options INTERFACE)

target_compile_definitions(vrk-options INTERFACE
    # Every conversion between bytes and text names its encoding.
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    # A signal never silently loses range on its way into a slot.
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_FOREACH
    QT_DEPRECATED_WARNINGS)

target_compile_options(vrk-options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wsuggest-override -Wold-style-cast)

set(VRK_SANITIZERS "" CACHE STRING "Sanitizers to build with, e.g. address,undefined or thread")
if(VRK_SANITIZERS)
    # Older plog headers compare a logger's type before it is complete, which vptr reports.
    target_compile_options(vrk-options INTERFACE
        -fsanitize=${VRK_SANITIZERS} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vrk-options INTERFACE -fsanitize=${VRK_SANITIZERS})
    target_sources(vrk-options INTERFACE
        $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:${CMAKE_CURRENT_LIST_DIR}/sanitizers.cpp>)
endif()

# A build for the instrument itself needs no executable that pretends to be one.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
    set(vrk_simulated_default OFF)
else()
    set(vrk_simulated_default ON)
endif()
option(VRK_SIMULATED_EXECUTABLE "Build vrk-updater-simulated, which works as an ARM build does on any processor"
       ${vrk_simulated_default})
