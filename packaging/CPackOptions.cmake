# Read by CPack once for each kind of package: the changelog of Debian's packaging and the package of the udev rule are for
# the .deb alone.

if(CPACK_GENERATOR STREQUAL "RPM")
    set(CPACK_COMPONENTS_ALL tavlo)
    set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
endif()
