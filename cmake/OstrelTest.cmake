# ostrel_add_test(NAME SOURCES ... [LIBRARIES ...] [TIMEOUT seconds] [LABELS ...])
# One test program of Qt Test, run without a display and with a home folder of its own, so that
# no test meets another one's or the developer's files. The tests of each label have a target that
# builds them alone: tests-LABEL.
function(ostrel_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBRARIES;LABELS")
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 300)
    endif()
    qt_add_executable(${name} ${arg_SOURCES})
    ostrel_set_compile_options(${name})
    # From Qt 6.8 on the macros that await a condition narrow the clock's counts in our own lines.
    if(Qt6_VERSION VERSION_GREATER_EQUAL 6.8 AND NOT MSVC)
        target_compile_options(${name} PRIVATE -Wno-conversion)
    endif()
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE Qt6::Test ${arg_LIBRARIES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/bin)
    set(launcher)
    if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND "jack" IN_LIST arg_LABELS)
        set(launcher ${PROJECT_SOURCE_DIR}/tests/support/own_shm.sh)
    endif()
    add_test(NAME ${name} COMMAND ${launcher} $<TARGET_FILE:${name}>)
    foreach(label IN LISTS arg_LABELS)
        if(NOT TARGET tests-${label})
            add_custom_target(tests-${label})
        endif()
        add_dependencies(tests-${label} ${name})
    endforeach()
    set(home ${CMAKE_BINARY_DIR}/tests/home/${name})
    file(MAKE_DIRECTORY ${home})
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${arg_TIMEOUT}
        LABELS "${arg_LABELS}"
        ENVIRONMENT "HOME=${home};XDG_CONFIG_HOME=${home}/config;XDG_DATA_HOME=${home}/data;QT_QPA_PLATFORM=offscreen;QT_QUICK_BACKEND=software;LC_ALL=C.UTF-8")
endfunction()
