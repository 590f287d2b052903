# What every target of the project shares: the language, the warnings and the sanitizers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC OFF)  # few classes need it: those targets switch it on themselves
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# What Debian builds with.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

set(TAVLO_SANITIZERS "" CACHE STRING "Value of -fsanitize=, or empty")

# Code that Qt's moc writes follows Qt's habits: clang-tidy leaves what is generated alone. It refuses to run without any
# check, so one is left that generated code passes.
if(CMAKE_CXX_CLANG_TIDY)
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/.clang-tidy CONTENT "Checks: '-*,modernize-use-override'\n" @ONLY)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

add_library(tavlo_options INTERFACE)
target_include_directories(tavlo_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(tavlo_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsuggest-override -Werror -ffunction-sections -fdata-sections)
target_compile_definitions(tavlo_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH)
target_link_options(tavlo_options INTERFACE -Wl,--gc-sections -Wl,--as-needed)
if(TAVLO_SANITIZERS)
    target_compile_options(tavlo_options INTERFACE
        -fsanitize=${TAVLO_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(tavlo_options INTERFACE -fsanitize=${TAVLO_SANITIZERS})
endif()
target_link_libraries(tavlo_options INTERFACE tl::expected)

# A room: tavlo_room(NAME SOURCES a.cpp ... PUBLIC lib ... PRIVATE lib ...)
function(tavlo_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_link_libraries(${name} PUBLIC tavlo_options ${ROOM_PUBLIC} PRIVATE ${ROOM_PRIVATE})
endfunction()

# A test program of GoogleTest: tavlo_test(NAME SOURCES a.cpp ... LINK lib ... LABELS unit ... [ENVIRONMENT A=b ...])
# Each test case becomes a test of ctest. Programs bring their own main() where they need one (LINK tavlo_test_main_*).
function(tavlo_test name)
    cmake_parse_arguments(TEST "" "TIMEOUT" "SOURCES;LINK;LABELS;ENVIRONMENT" ${ARGN})
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE tavlo_options ${TEST_LINK} GTest::gtest GTest::gmock)
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    # Tests wait for servers rather than compute: optimising them costs more time than it saves.
    target_compile_options(${name} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O1>)
    add_test(NAME ${name} COMMAND ${name})
    if(NOT TEST_TIMEOUT)
        set(TEST_TIMEOUT 60)
    endif()
    set_tests_properties(${name} PROPERTIES LABELS "${TEST_LABELS}" TIMEOUT ${TEST_TIMEOUT}
        ENVIRONMENT "${TEST_ENVIRONMENT}")
endfunction()
