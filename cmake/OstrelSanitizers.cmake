# Applies to everything that is built, since sanitizers only work on a whole program.
if(OSTREL_SANITIZE)
    add_compile_options(-fsanitize=${OSTREL_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${OSTREL_SANITIZE})
    if(OSTREL_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
endif()
