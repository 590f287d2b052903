# The compiler's and linker's protections, as Debian asks of its packages, in every optimised build.

include(CheckCXXCompilerFlag)

# The checks of the C library need the optimiser; level 3 also knows sizes that are found at run time.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12)
    set(TAVLO_FORTIFY_LEVEL 2)
else()
    set(TAVLO_FORTIFY_LEVEL 3)
endif()

# The sanitizers replace the functions that fortification would wrap, so a build with them goes without.
if(TAVLO_SANITIZERS)
    set(TAVLO_HARDENED 0)
else()
    set(TAVLO_HARDENED "$<NOT:$<CONFIG:Debug>>")
endif()

set(TAVLO_HARDENING_FLAGS -fstack-protector-strong -Wformat -Wformat-security)
foreach(flag -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
    # Which of these exist depends on the processor.
    string(MAKE_C_IDENTIFIER "TAVLO_HAVE${flag}" known)
    check_cxx_compiler_flag("-Werror ${flag}" ${known})
    if(${known})
        list(APPEND TAVLO_HARDENING_FLAGS ${flag})
    endif()
endforeach()

target_compile_options(tavlo_options INTERFACE
    "$<${TAVLO_HARDENED}:${TAVLO_HARDENING_FLAGS};-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${TAVLO_FORTIFY_LEVEL}>")
target_link_options(tavlo_options INTERFACE
    "$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>"
    "$<${TAVLO_HARDENED}:-Wl,-z,relro;-Wl,-z,now;-Wl,-z,noexecstack>")
