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
    add_library(RtMidi::RtMidi UNKNOWN IMPORTED)
    set_target_properties(RtMidi::RtMidi PROPERTIES
        IMPORTED_LOCATION ${RtMidi_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${RtMidi_INCLUDE_DIR})

    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_INCLUDES ${RtMidi_INCLUDE_DIR})
    set(CMAKE_REQUIRED_LIBRARIES ${RtMidi_LIBRARY})
    check_cxx_source_compiles(
        "#include <RtMidi.h>
         int main() { RtMidiIn input; input.setBufferSize(8192, 4); }"
        RtMidi_HAS_SET_BUFFER_SIZE)
    unset(CMAKE_REQUIRED_INCLUDES)
    unset(CMAKE_REQUIRED_LIBRARIES)
endif()
mark_as_advanced(RtMidi_INCLUDE_DIR RtMidi_LIBRARY)
