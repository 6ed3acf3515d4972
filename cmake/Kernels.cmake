# Inner loops that are compiled once per instruction set, each time in a namespace of its own (see
# platform/kernels/KernelSets.h).
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    set(KVX_X86_KERNELS ON)
endif()

# kvx_kernels(TARGET t SOURCES ... FUSED ...): the kernels of one floor of the common library, or of the library that
# TARGET names. Multiplications and additions of those under FUSED may be fused where the machine can; the others give
# the same bits on every machine.
function(kvx_kernels)
    cmake_parse_arguments(kernels "" "TARGET" "SOURCES;FUSED" ${ARGN})
    if(NOT kernels_TARGET)
        set(kernels_TARGET KvxDevCommon01)
    endif()
    if(kernels_FUSED)
        set_source_files_properties(${kernels_FUSED} PROPERTIES COMPILE_OPTIONS -ffp-contract=fast)
    endif()
    set(options_baseline)
    set(options_avx2 -mavx2 -mfma -mpclmul)
    set(options_avx512 -mavx512f -mavx512dq -mavx512vl -mavx512bw -mfma -mpclmul -mprefer-vector-width=512)
    set(sets baseline)
    if(KVX_X86_KERNELS)
        list(APPEND sets avx2 avx512)
    endif()
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME floor)
    foreach(set ${sets})
        set(target kvx_kernels_${floor}_${set})
        add_library(${target} OBJECT ${kernels_SOURCES} ${kernels_FUSED})
        kvx_compile_options(${target})
        target_compile_features(${target} PRIVATE cxx_std_20)
        target_compile_definitions(${target} PRIVATE KVX_KERNEL_SET=${set})
        target_compile_options(${target} PRIVATE
            ${options_${set}} $<$<NOT:$<CONFIG:Debug>>:-O3> $<$<CXX_COMPILER_ID:Clang>:-Wno-pass-failed>)
        target_include_directories(${target} PRIVATE $<TARGET_PROPERTY:KvxDevCommon01,INCLUDE_DIRECTORIES>
            $<TARGET_PROPERTY:${kernels_TARGET},INCLUDE_DIRECTORIES>)
        target_sources(${kernels_TARGET} PRIVATE $<TARGET_OBJECTS:${target}>)
    endforeach()
endfunction()
