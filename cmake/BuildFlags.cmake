# Flags for building this project's own code. None of them reaches a consumer of the library.

function(orva_sanitize target)
    if(ORVA_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${ORVA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${ORVA_SANITIZE})
    endif()
endfunction()

function(orva_count_runs target)
    if(ORVA_COVERAGE)
        # Atomic, since threads count too.
        target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
        target_link_options(${target} PRIVATE --coverage)
    endif()
endfunction()

function(orva_private_flags target)
    target_compile_features(${target} PRIVATE cxx_std_17)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
        $<$<BOOL:${ORVA_WARNINGS_AS_ERRORS}>:-Werror>
        # Calls within the library need no detour through the dynamic linker; clang does so by itself.
        $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    orva_sanitize(${target})
    orva_count_runs(${target})
endfunction()
