# Where everything goes. The packages consist of the component "tavlo"; "tavlo_wayland_keys" is a package of its own, which
# is installed by nobody who did not ask for it: not by `cmake --install` either, without its name.

set(TAVLO_ID nl.pelloquintar.tavlo)
set(TAVLO_PACKAGING_DIR ${CMAKE_CURRENT_LIST_DIR})
set(TAVLO_PACKAGING_BINARY_DIR ${CMAKE_BINARY_DIR}/packaging)

# Pixel icons, for the desktops that have no reader for SVG, drawn at build time by the code that draws them in the
# program; 48 is the size that every desktop looks for.
set(TAVLO_ICON_DIR ${TAVLO_PACKAGING_BINARY_DIR}/icons)
set(TAVLO_ICON_SIZES 16 22 24 32 48 64 128 256)
list(TRANSFORM TAVLO_ICON_SIZES PREPEND ${TAVLO_ICON_DIR}/ OUTPUT_VARIABLE TAVLO_ICON_FILES)
list(TRANSFORM TAVLO_ICON_FILES APPEND .png)
file(MAKE_DIRECTORY ${TAVLO_ICON_DIR})

add_executable(tavlo_make_icons ${TAVLO_PACKAGING_DIR}/icons/make_icons.cpp)
target_link_libraries(tavlo_make_icons PRIVATE tavlo_options tavlo_ui)
add_custom_command(OUTPUT ${TAVLO_ICON_FILES}
    COMMAND tavlo_make_icons ${TAVLO_ICON_DIR} ${TAVLO_ICON_SIZES}
    DEPENDS tavlo_make_icons
    COMMENT "Drawing the icons"
    VERBATIM)

# Compressed without name and time inside, so that the same source gives the same bytes. Debian asks for the best
# compression of manuals and changelogs.
find_program(GZIP_PROGRAM gzip REQUIRED)
set(TAVLO_COMPRESSED_FILES)
function(tavlo_compress source name)
    set(target ${TAVLO_PACKAGING_BINARY_DIR}/${name})
    get_filename_component(folder ${target} DIRECTORY)
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(OUTPUT ${target}
        COMMAND ${GZIP_PROGRAM} -9nc ${source} > ${target}
        DEPENDS ${source}
        COMMENT "Compressing ${name}"
        VERBATIM)
    set(TAVLO_COMPRESSED_FILES ${TAVLO_COMPRESSED_FILES} ${target} PARENT_SCOPE)
endfunction()

# The README for users, and the distribution's own changelog about the package.
set(TAVLO_PACKAGE_RELEASE 1 CACHE STRING "Number of the package among those of the same version")
set(TAVLO_PACKAGE_ADDRESS tavlo@pelloquintar.nl CACHE STRING "Mail address of the package's maintainer")
set(TAVLO_DOCUMENTS ${TAVLO_PACKAGING_BINARY_DIR}/README.md ${TAVLO_PACKAGING_BINARY_DIR}/changelog.Debian)
add_custom_command(OUTPUT ${TAVLO_DOCUMENTS}
    COMMAND ${CMAKE_COMMAND} -D SOURCE=${CMAKE_SOURCE_DIR} -D TARGET=${TAVLO_PACKAGING_BINARY_DIR}
        -D VERSION=${PROJECT_VERSION} -D RELEASE=${TAVLO_PACKAGE_RELEASE} -D ADDRESS=${TAVLO_PACKAGE_ADDRESS}
        -P ${TAVLO_PACKAGING_DIR}/write_documents.cmake
    COMMAND ${CMAKE_COMMAND} -E touch ${TAVLO_DOCUMENTS}
    DEPENDS ${CMAKE_SOURCE_DIR}/README.md ${CMAKE_SOURCE_DIR}/CHANGELOG.md ${TAVLO_PACKAGING_DIR}/changelog.in
        ${TAVLO_PACKAGING_DIR}/write_documents.cmake
    COMMENT "Writing README and changelog"
    VERBATIM)

tavlo_compress(${TAVLO_PACKAGING_DIR}/man/tavlo.1 man1/tavlo.1.gz)
tavlo_compress(${TAVLO_PACKAGING_DIR}/man/tavlo.nl.1 nl/man1/tavlo.1.gz)
tavlo_compress(${CMAKE_SOURCE_DIR}/CHANGELOG.md changelog.gz)
tavlo_compress(${TAVLO_PACKAGING_BINARY_DIR}/changelog.Debian changelog.Debian.gz)

add_custom_target(tavlo_packaging ALL DEPENDS ${TAVLO_ICON_FILES} ${TAVLO_DOCUMENTS} ${TAVLO_COMPRESSED_FILES})

# Folders made by the installation get the mode that packages need, whatever the builder's umask.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tavlo)

install(TARGETS tavlo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${TAVLO_PACKAGING_DIR}/${TAVLO_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${TAVLO_PACKAGING_DIR}/${TAVLO_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${TAVLO_PACKAGING_DIR}/nl.pelloquintar.Tavlo1.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/interfaces)

set(TAVLO_HICOLOR ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES ${TAVLO_PACKAGING_DIR}/icons/scalable.svg DESTINATION ${TAVLO_HICOLOR}/scalable/apps RENAME ${TAVLO_ID}.svg)
install(FILES ${TAVLO_PACKAGING_DIR}/icons/symbolic.svg DESTINATION ${TAVLO_HICOLOR}/symbolic/apps RENAME ${TAVLO_ID}-symbolic.svg)
foreach(size IN LISTS TAVLO_ICON_SIZES)
    install(FILES ${TAVLO_ICON_DIR}/${size}.png
        DESTINATION ${TAVLO_HICOLOR}/${size}x${size}/apps RENAME ${TAVLO_ID}.png)
endforeach()

install(FILES ${TAVLO_PACKAGING_BINARY_DIR}/man1/tavlo.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${TAVLO_PACKAGING_BINARY_DIR}/nl/man1/tavlo.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/nl/man1)
install(FILES
    ${TAVLO_PACKAGING_DIR}/copyright
    ${TAVLO_PACKAGING_BINARY_DIR}/changelog.gz
    ${TAVLO_PACKAGING_BINARY_DIR}/README.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR})
# In the same places relative to each other as in the source, because they link to each other; not compressed for the
# same reason.
install(FILES ${CMAKE_SOURCE_DIR}/docs/usage.en.md ${CMAKE_SOURCE_DIR}/docs/gebruik.nl.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
install(FILES
    ${CMAKE_SOURCE_DIR}/docs/pictures/menu.png
    ${CMAKE_SOURCE_DIR}/docs/pictures/overlay.png
    ${CMAKE_SOURCE_DIR}/docs/pictures/settings.png
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs/pictures)
install(FILES ${TAVLO_PACKAGING_BINARY_DIR}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tavlo_debian)

# The permission to read the keyboards on Wayland. udev looks for rules in /usr/lib, never in a prefix of its own.
install(FILES ${TAVLO_PACKAGING_DIR}/wayland-keys/70-tavlo.rules
    DESTINATION lib/udev/rules.d COMPONENT tavlo_wayland_keys EXCLUDE_FROM_ALL)
set(TAVLO_WAYLAND_KEYS_DOCUMENTS ${CMAKE_INSTALL_DATAROOTDIR}/doc/tavlo-wayland-keys)
install(FILES ${TAVLO_PACKAGING_DIR}/wayland-keys/copyright ${TAVLO_PACKAGING_BINARY_DIR}/changelog.Debian.gz
    DESTINATION ${TAVLO_WAYLAND_KEYS_DOCUMENTS} COMPONENT tavlo_wayland_keys EXCLUDE_FROM_ALL)

# The local engine is the distribution's own whisper-cli. Where the distribution has none the link points to nothing,
# and the program uses the one that the user installed.
set(TAVLO_WHISPER_CLI /usr/bin/whisper-cli CACHE STRING "The program that the link to the local engine leads to")
install(CODE "
    set(folder \"${CMAKE_INSTALL_LIBEXECDIR}/tavlo\")
    set(target \"${TAVLO_WHISPER_CLI}\")
    if(CMAKE_INSTALL_PREFIX MATCHES \"/usr\$\" AND target MATCHES \"^/usr/\")
        # Debian asks for relative links within one top-level folder.
        file(RELATIVE_PATH target \"/usr/\${folder}\" \"\${target}\")
    endif()
    set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/\${folder}\")
    message(STATUS \"Installing: \${folder}/whisper-cli -> \${target}\")
    file(MAKE_DIRECTORY \"\${folder}\")
    file(CREATE_LINK \"\${target}\" \"\${folder}/whisper-cli\" SYMBOLIC)
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBEXECDIR}/tavlo/whisper-cli\")
" COMPONENT tavlo)
