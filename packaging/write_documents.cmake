# Writes two installed files from what the source says: the README without its part for developers, and the changelog of
# the Debian package, dated as the newest version of CHANGELOG.md. The build runs it:
#   cmake -D SOURCE=folder -D TARGET=folder -D VERSION=1.2.3 -D RELEASE=1 -D ADDRESS=mail -P write_documents.cmake
# Whatever README.md and CHANGELOG.md contain, it writes both; scripts/package checks what comes out.

# Links in the part for developers lead to files that are not installed.
file(READ ${SOURCE}/README.md readme)
string(FIND "${readme}" "\n## For developers\n" end)
string(SUBSTRING "${readme}" 0 ${end} readme)  # to the end of the text when there is no such part
file(WRITE ${TARGET}/README.md "${readme}")

file(STRINGS ${SOURCE}/CHANGELOG.md newest REGEX "^## [0-9]" LIMIT_COUNT 1)
set(date)
if(newest MATCHES "([0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9])")
    execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C date --utc -R -d "${CMAKE_MATCH_1} 12:00"
        OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT date)
    message("CHANGELOG.md has no date for its newest version: the package's changelog gets the date of the build.")
    string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${TARGET}/changelog.Debian @ONLY)
