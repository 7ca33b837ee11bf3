# ostrel_set_compile_options(TARGET): what holds for all targets that are ours.
function(ostrel_set_compile_options target)
    ostrel_set_warnings(${target})
    ostrel_precompile_headers(${target})
endfunction()

# ostrel_add_library(NAME [QML_TYPES] SOURCES ... [PUBLIC ...] [PRIVATE ...])
# One static library per folder of src, called ostrel_NAME. Headers are included from the root of
# src ("midi/QtRtMIDI.h"). PUBLIC and PRIVATE are the libraries that the folder may know.
# QML_TYPES writes down the classes' meta-objects, for the modules that show them to the documents.
function(ostrel_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "QML_TYPES" "" "SOURCES;PUBLIC;PRIVATE")
    set(target ostrel_${name})
    qt_add_library(${target} STATIC ${arg_SOURCES})
    ostrel_set_compile_options(${target})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${target} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
    if(arg_QML_TYPES)
        qt_extract_metatypes(${target})
    endif()
endfunction()

# ostrel_add_plain_library(NAME SOURCES ... [PUBLIC ...] [PRIVATE ...])
# The same without Qt.
function(ostrel_add_plain_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;PUBLIC;PRIVATE")
    set(target ostrel_${name})
    add_library(${target} STATIC ${arg_SOURCES})
    set_target_properties(${target} PROPERTIES AUTOMOC OFF)
    ostrel_set_warnings(${target})
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${target} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
endfunction()

# ostrel_add_program(NAME SOURCES ... LIBRARIES ...)
# A program beside the editor, left in the root of the build folder.
function(ostrel_add_program name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
    qt_add_executable(${name} ${arg_SOURCES})
    ostrel_set_compile_options(${name})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES})
endfunction()
