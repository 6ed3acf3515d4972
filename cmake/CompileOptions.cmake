# What every target of the project is compiled with; kvx_compile_options(target) applies it.

function(kvx_compile_options target)
    # Contraction off: element-wise arithmetic gives the same bits on every machine.
    target_compile_options(${target} PRIVATE -ffp-contract=off)
    if(PROJECT_IS_TOP_LEVEL)
        target_compile_options(${target} PRIVATE
            -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wdouble-promotion -Wformat=2
            -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wcast-qual -Wundef -Wimplicit-fallthrough)
        if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
            # GCC 12 takes the concatenation of short strings for overlapping copies (GCC bug 105651).
            target_compile_options(${target} PRIVATE -Wno-restrict)
        endif()
        if(KVX_WARNINGS_AS_ERRORS)
            target_compile_options(${target} PRIVATE -Werror)
        endif()
    endif()
    if(KVX_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${KVX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE -fsanitize=${KVX_SANITIZE})
    endif()
    get_target_property(type ${target} TYPE)
    if(KVX_BUILD_FUZZ AND NOT type STREQUAL EXECUTABLE)
        # The fuzz targets follow which branches of the libraries an input takes.
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
endfunction()
