# The .deb and the .rpm, from one description.

set(CPACK_PACKAGE_NAME tavlo)
set(CPACK_PACKAGE_VENDOR Pelloquintar)
set(CPACK_PACKAGE_CONTACT "Pelloquintar <${TAVLO_PACKAGE_ADDRESS}>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_HOMEPAGE_URL https://pelloquintar.nl/tavlo)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "dictation from the panel: press a key, speak, and the text is there")
file(READ ${TAVLO_PACKAGING_DIR}/description.en.txt TAVLO_DESCRIPTION_EN)
file(READ ${TAVLO_PACKAGING_DIR}/description.nl.txt TAVLO_DESCRIPTION_NL)
string(STRIP "${TAVLO_DESCRIPTION_EN}" TAVLO_DESCRIPTION_EN)
string(STRIP "${TAVLO_DESCRIPTION_NL}" TAVLO_DESCRIPTION_NL)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
find_program(RPMBUILD_PROGRAM rpmbuild)
if(RPMBUILD_PROGRAM)
    list(APPEND CPACK_GENERATOR RPM)
endif()

# Only our own components are installed, so that nothing of the tests or the build's own programs slips in.
set(CPACK_COMPONENTS_ALL tavlo tavlo_debian)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_PROJECT_CONFIG_FILE ${TAVLO_PACKAGING_DIR}/CPackOptions.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${TAVLO_PACKAGE_RELEASE})
# Debian's control file has room for one description, so it holds both languages.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "${TAVLO_DESCRIPTION_EN}\n\n${TAVLO_DESCRIPTION_NL}")
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The linked libraries are found by dpkg-shlibdeps. It cannot find Qt's X11 plugin, nor the libraries that are loaded at
# run time.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, libcurl4 (>= 7.87)")
string(JOIN ", " CPACK_DEBIAN_PACKAGE_RECOMMENDS
    whisper.cpp-tools
    "default-dbus-session-bus | dbus-session-bus"
    "pipewire-pulse | pulseaudio"
    "gnome-keyring | kwalletmanager | keepassxc"
    libproxy1v5
    xdg-utils)

set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_RELEASE ${TAVLO_PACKAGE_RELEASE})
set(CPACK_RPM_PACKAGE_GROUP Applications/Multimedia)
set(CPACK_RPM_PACKAGE_SUMMARY ${CPACK_PACKAGE_DESCRIPTION_SUMMARY})
set(CPACK_RPM_PACKAGE_DESCRIPTION "${TAVLO_DESCRIPTION_EN}")
string(JOIN "\n" CPACK_RPM_SPEC_MORE_DEFINE
    "Requires: libcurl >= 7.87"
    "Recommends: whisper-cpp"
    "Recommends: libproxy"
    "Summary(nl): dicteren vanuit het paneel: druk op een toets, spreek, en de tekst staat er"
    "%description -l nl"
    "${TAVLO_DESCRIPTION_NL}")
set(CPACK_RPM_PACKAGE_AUTOREQ ON)
# Folders that belong to other packages.
foreach(folder
        applications metainfo man man/man1 man/nl man/nl/man1 dbus-1 dbus-1/interfaces icons icons/hicolor
        icons/hicolor/scalable icons/hicolor/scalable/apps icons/hicolor/symbolic icons/hicolor/symbolic/apps)
    list(APPEND CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION /usr/share/${folder})
endforeach()
foreach(size IN LISTS TAVLO_ICON_SIZES)
    list(APPEND CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
        /usr/share/icons/hicolor/${size}x${size} /usr/share/icons/hicolor/${size}x${size}/apps)
endforeach()
list(APPEND CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION /usr/libexec)

include(CPack)
