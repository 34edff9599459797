# das_precompile(TARGET HEADER...): compiles headers that most sources of a target include once for
# all of them. GoogleTest, the JSON and the command line library take a compiler longer than most
# sources of our own.
option(DAS_PRECOMPILE "Compile large headers once for all sources of a target" ON)

# The compiler cache keeps what uses a precompiled header only with these settings.
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache$")
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros ${CMAKE_CXX_COMPILER_LAUNCHER})
endif()

function(das_precompile target)
    if(DAS_PRECOMPILE AND ARGN)
        target_precompile_headers(${target} PRIVATE ${ARGN})
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
            target_compile_options(${target} PRIVATE -fpch-preprocess)
        endif()
    endif()
endfunction()
