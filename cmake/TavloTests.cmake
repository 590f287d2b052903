# How tests are made and made known to ctest.

include(GoogleTest)

# Tests wait for servers rather than compute: optimising them costs more time than it saves.
if(CMAKE_CXX_FLAGS_RELEASE STREQUAL TAVLO_RELEASE_FLAGS)
    set(TAVLO_TEST_OPTIONS $<$<CONFIG:Release>:-O1>)
endif()

# All that the tests with a label need: tavlo_unit_tests, tavlo_contract_tests, tavlo_e2e_tests.
foreach(label unit contract e2e)
    add_custom_target(tavlo_${label}_tests)
endforeach()

# tavlo_test(NAME SOURCES a.cpp ... LINK lib ... LABELS unit ... [TIMEOUT seconds] [COST seconds]
#     [ENVIRONMENT A=b ...] [CASES])
# A program of GoogleTest. It brings its own main() where it needs one, or links a library that has one.
# ctest knows it as one test, NAME; with CASES it knows each case as NAME.Suite.Case, in a process of its own.
# TIMEOUT is for what ctest runs, program or case: 60 when not given. COST is about how many seconds it takes: ctest
# starts the long ones first.
function(tavlo_test name)
    cmake_parse_arguments(TEST "CASES" "TIMEOUT;COST" "SOURCES;LINK;LABELS;ENVIRONMENT" ${ARGN})
    add_executable(${name} ${TEST_SOURCES})
    target_link_libraries(${name} PRIVATE tavlo_options ${TEST_LINK} GTest::gtest GTest::gmock)
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_compile_options(${name} PRIVATE ${TAVLO_TEST_OPTIONS})
    tavlo_precompile(${name} TEST)
    list(GET TEST_LABELS 0 label)
    add_dependencies(tavlo_${label}_tests ${name})
    if(NOT TEST_COST)
        set(TEST_COST 1)
    endif()
    if(NOT TEST_TIMEOUT)
        set(TEST_TIMEOUT 60)
    endif()
    if(TEST_CASES)
        tavlo_test_cases(${name} "${name}." LABELS ${TEST_LABELS} TIMEOUT ${TEST_TIMEOUT}
            ENVIRONMENT ${TEST_ENVIRONMENT})
        return()
    endif()
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES LABELS "${TEST_LABELS}" TIMEOUT ${TEST_TIMEOUT} COST "${TEST_COST}"
        ENVIRONMENT "${TEST_ENVIRONMENT}")
endfunction()

# tavlo_test_cases(PROGRAM PREFIX LABELS label TIMEOUT seconds [ENVIRONMENT A=b]): each case as PREFIXSuite.Case.
# The program is asked for its cases when ctest starts, so a build without it can still run the other tests.
function(tavlo_test_cases program prefix)
    cmake_parse_arguments(TEST "" "LABELS;TIMEOUT;ENVIRONMENT" "" ${ARGN})
    set(properties LABELS ${TEST_LABELS} TIMEOUT ${TEST_TIMEOUT})
    if(TEST_ENVIRONMENT)
        list(APPEND properties ENVIRONMENT ${TEST_ENVIRONMENT})
    endif()
    gtest_discover_tests(${program} TEST_PREFIX ${prefix} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
        PROPERTIES ${properties})
endfunction()
