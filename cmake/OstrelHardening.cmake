# What release builds on Linux get besides optimization: a fault that is left ends the program in
# place of being used. tools/check-hardening looks for the outcome in the programs. Sanitizers bring
# stricter checks of their own, and debug builds lack the optimization that the fortified functions
# need.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT OSTREL_SANITIZE
        AND CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    set(OSTREL_HARDENED ON)
    # Some distributions predefine the level, and redefining it is a warning.
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -D_GLIBCXX_ASSERTIONS
        -fstack-protector-strong -fstack-clash-protection)
    add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack
        $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>)
    # Intel's only: marks where indirect jumps may lead.
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i.86)$")
        add_compile_options(-fcf-protection)
    endif()
endif()
