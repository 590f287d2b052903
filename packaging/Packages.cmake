# The .deb and the .rpm, from one description, and the .deb that gives the permission to read the keyboards on Wayland.

set(CPACK_PACKAGE_NAME tavlo)
set(CPACK_PACKAGE_VENDOR Pelloquintar)
set(CPACK_PACKAGE_CONTACT "Pelloquintar <${TAVLO_PACKAGE_ADDRESS}>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_HOMEPAGE_URL https://pelloquintar.nl/tavlo)
set(TAVLO_SUMMARY "dictation from the panel: press a key, speak, and the text is there")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # else each package would get the same
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
# One package of each group.
set(CPACK_COMPONENTS_ALL tavlo tavlo_debian tavlo_wayland_keys)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENT_TAVLO_GROUP program)
set(CPACK_COMPONENT_TAVLO_DEBIAN_GROUP program)
set(CPACK_COMPONENT_TAVLO_WAYLAND_KEYS_GROUP wayland_keys)
set(CPACK_PROJECT_CONFIG_FILE ${TAVLO_PACKAGING_DIR}/CPackOptions.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME tavlo)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${TAVLO_PACKAGE_RELEASE})
# Debian's control file has room for one description, so it holds both languages.
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION
    "${TAVLO_SUMMARY}\n${TAVLO_DESCRIPTION_EN}\n\n${TAVLO_DESCRIPTION_NL}")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The linked libraries are found by dpkg-shlibdeps. It cannot find Qt's X11 plugin, nor the libraries that are loaded at
# run time.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "qt6-qpa-plugins, libcurl4 (>= 7.87)")
string(JOIN ", " CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS
    whisper.cpp-tools
    "default-dbus-session-bus | dbus-session-bus"
    "pipewire-pulse | pulseaudio"
    "gnome-keyring | kwalletmanager | keepassxc"
    libproxy1v5
    xdg-utils)
# Never more than suggested: the permission is given by whoever installs the package, and by nobody else.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS tavlo-wayland-keys)

file(READ ${TAVLO_PACKAGING_DIR}/wayland-keys/description.txt TAVLO_DESCRIPTION_KEYS)
string(STRIP "${TAVLO_DESCRIPTION_KEYS}" TAVLO_DESCRIPTION_KEYS)
set(CPACK_DEBIAN_WAYLAND_KEYS_PACKAGE_NAME tavlo-wayland-keys)
set(CPACK_DEBIAN_WAYLAND_KEYS_PACKAGE_SOURCE tavlo)
set(CPACK_DEBIAN_WAYLAND_KEYS_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_WAYLAND_KEYS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_WAYLAND_KEYS_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_WAYLAND_KEYS_PACKAGE_DEPENDS "acl, kmod, udev")
set(CPACK_DEBIAN_WAYLAND_KEYS_PACKAGE_ENHANCES tavlo)
set(CPACK_DEBIAN_WAYLAND_KEYS_DESCRIPTION
    "lets the user at the screen read keyboards and send keys, for Tavlo\n${TAVLO_DESCRIPTION_KEYS}")
set(CPACK_DEBIAN_WAYLAND_KEYS_PACKAGE_CONTROL_EXTRA
    ${TAVLO_PACKAGING_DIR}/wayland-keys/postinst ${TAVLO_PACKAGING_DIR}/wayland-keys/postrm)

set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_RELEASE ${TAVLO_PACKAGE_RELEASE})
set(CPACK_RPM_PACKAGE_GROUP Applications/Multimedia)
set(CPACK_RPM_PACKAGE_SUMMARY ${TAVLO_SUMMARY})
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
