# Applies to everything that is built, since sanitizers only work on a whole program.
if(OSTREL_SANITIZE)
    add_compile_options(-fsanitize=${OSTREL_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${OSTREL_SANITIZE})
    if(OSTREL_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
endif()

# The fuzzer follows the paths through our libraries; its own main function comes with the targets.
if(OSTREL_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "The fuzz targets need Clang, which brings the fuzzer")
    endif()
    add_compile_options(-fsanitize=fuzzer-no-link)
    add_compile_definitions(_GLIBCXX_ASSERTIONS QT_FORCE_ASSERTS)
endif()
