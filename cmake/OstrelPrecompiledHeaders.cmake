# ostrel_precompile_headers(TARGET)
# Most of the time of a build goes into reading Qt's headers again for each source, so they are read
# once for all targets. Sources still include what they use: the linter and Clang's builds, which do
# without, would show what is missing.
option(OSTREL_PRECOMPILE_HEADERS "Read Qt's headers once for all sources (GCC only)" ON)

function(ostrel_precompile_headers target)
    # Clang refuses headers that were read under other definitions, of which each target has some.
    if(NOT OSTREL_PRECOMPILE_HEADERS OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        return()
    endif()
    if(NOT TARGET ostrel_precompiled)
        file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/ostrel_precompiled.cpp CONTENT "\n")
        add_library(ostrel_precompiled OBJECT ${CMAKE_BINARY_DIR}/ostrel_precompiled.cpp)
        set_target_properties(ostrel_precompiled PROPERTIES AUTOMOC OFF)
        # Some warnings decide which macros the compiler predefines.
        ostrel_set_warnings(ostrel_precompiled)
        target_link_libraries(ostrel_precompiled PRIVATE Qt6::Core)
        target_precompile_headers(ostrel_precompiled PRIVATE <QtCore/QtCore>)
    endif()
    target_precompile_headers(${target} REUSE_FROM ostrel_precompiled)
endfunction()
