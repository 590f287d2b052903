# The compiler's and linker's protections, as Debian asks of its packages, in every optimised build. What the builder's
# own flags (CXXFLAGS, LDFLAGS and the variables of CMake behind them) already decide is left alone.

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

string(TOUPPER "${CMAKE_BUILD_TYPE}" TAVLO_BUILD_TYPE)
set(builder_compiles "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${TAVLO_BUILD_TYPE}}")
set(builder_links "${CMAKE_EXE_LINKER_FLAGS} ${CMAKE_EXE_LINKER_FLAGS_${TAVLO_BUILD_TYPE}} ${builder_compiles}")

set(TAVLO_HARDENING_FLAGS -Wformat -Wformat-security)
if(NOT builder_compiles MATCHES "stack-protector")
    list(APPEND TAVLO_HARDENING_FLAGS -fstack-protector-strong)
endif()
foreach(flag stack-clash-protection cf-protection branch-protection)
    if(builder_compiles MATCHES "${flag}")
        continue()
    endif()
    set(option -f${flag})
    if(flag STREQUAL branch-protection)
        set(option -mbranch-protection=standard)
    endif()
    # Which of these exist depends on the processor.
    string(MAKE_C_IDENTIFIER "TAVLO_HAVE_${flag}" known)
    check_cxx_compiler_flag("-Werror ${option}" ${known})
    if(${known})
        list(APPEND TAVLO_HARDENING_FLAGS ${option})
    endif()
endforeach()
if(NOT builder_compiles MATCHES "_FORTIFY_SOURCE|-O0")
    list(APPEND TAVLO_HARDENING_FLAGS -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${TAVLO_FORTIFY_LEVEL})
endif()

set(TAVLO_HARDENING_LINK_FLAGS)
foreach(pair relro:norelro now:lazy noexecstack:execstack)
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 wanted)
    list(GET pair 1 opposite)
    if(NOT builder_links MATCHES "-z[, ]${opposite}( |,|$)")
        list(APPEND TAVLO_HARDENING_LINK_FLAGS -Wl,-z,${wanted})
    endif()
endforeach()
if(NOT builder_links MATCHES "-no-pie|-static")
    target_link_options(tavlo_options INTERFACE "$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>")
endif()

target_compile_options(tavlo_options INTERFACE "$<${TAVLO_HARDENED}:${TAVLO_HARDENING_FLAGS}>")
target_link_options(tavlo_options INTERFACE "$<${TAVLO_HARDENED}:${TAVLO_HARDENING_LINK_FLAGS}>")
