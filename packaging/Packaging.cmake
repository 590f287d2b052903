# Installing Tavlo the way a distribution does, and the packages made of that.

include(${CMAKE_CURRENT_LIST_DIR}/Install.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Packages.cmake)

if(TAVLO_BUILD_TESTS)
    # The icons of packaging/icons against those that the program draws.
    add_test(NAME contract_icons
        COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/tests/icons_test.py ${CMAKE_CURRENT_LIST_DIR}/icons
            $<TARGET_FILE:tavlo_make_icons> $<TARGET_FILE:tavlo_reference_icons>)
    add_dependencies(tavlo_contract_tests tavlo_make_icons tavlo_reference_icons)
    set_tests_properties(contract_icons PROPERTIES LABELS contract TIMEOUT 60
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;PYTHONDONTWRITEBYTECODE=1")
endif()
