# Installing Tavlo the way a distribution does, and the packages made of that.

include(${CMAKE_CURRENT_LIST_DIR}/Install.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Packages.cmake)

if(TAVLO_BUILD_TESTS)
    tavlo_test(svg_canvas_test
        SOURCES ${CMAKE_CURRENT_LIST_DIR}/tests/svg_canvas_test.cpp
        LINK tavlo_svg_canvas tavlo_ui GTest::gtest_main
        LABELS unit
        CASES)
endif()
