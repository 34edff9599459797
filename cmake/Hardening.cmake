# Options that make a fault of memory end the process rather than be of use to somebody. They hold
# for every build; tests/host/test_linux.py reads them from the files.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

# Addresses that differ in each run: code without fixed places, for programs too.
check_pie_supported(LANGUAGES CXX)

add_compile_options(-fstack-protector-strong)
add_compile_definitions(_GLIBCXX_ASSERTIONS)
# GCC 12 takes the assignment of a literal to a std::string for an overlap (its bug 105651) in code
# that is inlined as these checks have it.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION MATCHES "^12[.]")
    add_compile_options(-Wno-restrict)
endif()
# Targets of jumps and calls are marked, so that the processor refuses others. Whether a finished
# file says so to the kernel depends on the start files of the system as well.
check_cxx_compiler_flag(-fcf-protection=full DAS_HAS_CF_PROTECTION)
if(DAS_HAS_CF_PROTECTION)
    add_compile_options(-fcf-protection=full)
endif()
# Functions of the C library that check the size of the buffer. They need an optimised build, and
# would hide from a sanitizer what it looks for. A distribution's own setting is replaced.
if(NOT DAS_SANITIZE)
    set(fortify_level 3)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12)
        set(fortify_level 2)
    endif()
    add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
                        $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=${fortify_level}>)
endif()
# All symbols are bound at the start, and their table is read-only from then on.
add_link_options(-Wl,-z,relro -Wl,-z,now)
