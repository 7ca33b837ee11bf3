# The warnings that hold for our own targets; errors only where a preset asks for it, so that a
# newer compiler does not stop somebody who just builds.
function(ostrel_set_warnings target)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 $<$<BOOL:${OSTREL_WARNINGS_AS_ERRORS}>:/WX>)
        return()
    endif()
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
        $<$<BOOL:${OSTREL_WARNINGS_AS_ERRORS}>:-Werror>)
endfunction()
