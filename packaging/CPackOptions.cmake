# Read by CPack once for each kind of package: the changelog of Debian's packaging is for the .deb alone.

if(CPACK_GENERATOR STREQUAL "RPM")
    set(CPACK_COMPONENTS_ALL tavlo)
endif()
