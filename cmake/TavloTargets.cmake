# What every target of the project shares: the language, the warnings and the sanitizers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC OFF)  # few classes need it: those targets switch it on themselves
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

option(TAVLO_WARNINGS_AS_ERRORS "Let a compiler's warning stop the build; for the project's own work" OFF)
set(TAVLO_SANITIZERS "" CACHE STRING "Value of -fsanitize=, or empty")

# clang-tidy is not meant for the code that Qt's moc generates. It refuses to run without any check, so in the build
# folder one check is left, which that code passes.
if(CMAKE_CXX_CLANG_TIDY)
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/.clang-tidy CONTENT "Checks: '-*,modernize-use-override'\n" @ONLY)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

add_library(tavlo_options INTERFACE)
target_include_directories(tavlo_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(tavlo_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsuggest-override -ffunction-sections -fdata-sections
    $<$<BOOL:${TAVLO_WARNINGS_AS_ERRORS}>:-Werror>)
# _REENTRANT: libraries that have threads ask for it; where only some files had it, those could not use the others'
# precompiled headers.
target_compile_definitions(tavlo_options INTERFACE
    _REENTRANT
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH)
target_link_options(tavlo_options INTERFACE -Wl,--gc-sections -Wl,--as-needed)
if(TAVLO_SANITIZERS)
    target_compile_options(tavlo_options INTERFACE
        -fsanitize=${TAVLO_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(tavlo_options INTERFACE -fsanitize=${TAVLO_SANITIZERS})
    if(TAVLO_SANITIZERS MATCHES "thread")  # a function of the library's own that would switch the checks off
        set(executable $<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>)
        target_sources(tavlo_options INTERFACE
            $<${executable}:${CMAKE_SOURCE_DIR}/tests/support/sanitizers/start_of_processes.cpp>)
        target_link_libraries(tavlo_options INTERFACE $<${executable}:${CMAKE_DL_LIBS}>)
    endif()
endif()
target_link_libraries(tavlo_options INTERFACE tl::expected)

include(TavloPrecompiled)

# A room: tavlo_room(NAME SOURCES a.cpp ... PUBLIC lib ... PRIVATE lib ...)
function(tavlo_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_link_libraries(${name} PUBLIC tavlo_options ${ROOM_PUBLIC} PRIVATE ${ROOM_PRIVATE})
    tavlo_precompile(${name} ROOM)
endfunction()
