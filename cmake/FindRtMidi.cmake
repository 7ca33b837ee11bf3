# Finds the MIDI library and defines RtMidi::RtMidi.
# RtMidi_HAS_SET_BUFFER_SIZE tells whether its inputs take buffer sizes (from 5.0 on).
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
    pkg_check_modules(PC_RtMidi QUIET rtmidi)
endif()

find_path(RtMidi_INCLUDE_DIR RtMidi.h HINTS ${PC_RtMidi_INCLUDE_DIRS} PATH_SUFFIXES rtmidi)
find_library(RtMidi_LIBRARY rtmidi HINTS ${PC_RtMidi_LIBRARY_DIRS})
set(RtMidi_VERSION ${PC_RtMidi_VERSION})

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(RtMidi
    REQUIRED_VARS RtMidi_LIBRARY RtMidi_INCLUDE_DIR
    VERSION_VAR RtMidi_VERSION)

if(RtMidi_FOUND AND NOT TARGET RtMidi::RtMidi)
    # A static library does not bring the system's libraries that it needs.
    set(system_libraries)
    if(RtMidi_LIBRARY MATCHES "\\.(a|lib)$")
        if(WIN32)
            set(system_libraries winmm)
        elseif(APPLE)
            set(system_libraries "-framework CoreMIDI" "-framework CoreAudio"
                "-framework CoreFoundation")
        else()
            set(system_libraries ${PC_RtMidi_STATIC_LINK_LIBRARIES} ${PC_RtMidi_STATIC_LIBRARIES})
            list(REMOVE_ITEM system_libraries rtmidi)
        endif()
    endif()

    add_library(RtMidi::RtMidi UNKNOWN IMPORTED)
    set_target_properties(RtMidi::RtMidi PROPERTIES
        IMPORTED_LOCATION ${RtMidi_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${RtMidi_INCLUDE_DIR}
        INTERFACE_LINK_LIBRARIES "${system_libraries}")

    # What was found out of another library does not count.
    if(NOT RtMidi_CHECKED_LIBRARY STREQUAL RtMidi_LIBRARY)
        unset(RtMidi_WORKS CACHE)
        unset(RtMidi_HAS_SET_BUFFER_SIZE CACHE)
        set(RtMidi_CHECKED_LIBRARY ${RtMidi_LIBRARY} CACHE INTERNAL "")
    endif()
    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_LIBRARIES RtMidi::RtMidi)
    check_cxx_source_compiles(
        "#include <RtMidi.h>
         int main() { RtMidiIn input; }"
        RtMidi_WORKS)
    check_cxx_source_compiles(
        "#include <RtMidi.h>
         int main() { RtMidiIn input; input.setBufferSize(8192, 4); }"
        RtMidi_HAS_SET_BUFFER_SIZE)
    unset(CMAKE_REQUIRED_LIBRARIES)
    if(NOT RtMidi_WORKS)
        unset(RtMidi_WORKS CACHE)
        message(FATAL_ERROR "No program links with ${RtMidi_LIBRARY}: see the configure log for "
            "the libraries that it lacks")
    endif()
    if(WIN32 AND NOT RtMidi_HAS_SET_BUFFER_SIZE)
        message(FATAL_ERROR "RtMidi 5.0 or newer is needed on Windows, because an older one hands "
            "long messages over in pieces")
    endif()
endif()
mark_as_advanced(RtMidi_INCLUDE_DIR RtMidi_LIBRARY)
