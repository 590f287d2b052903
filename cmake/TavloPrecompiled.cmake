# Precompiled headers: what nearly every file includes is read once for all rooms, and once for all test programs.
# They only save time: each file still includes what it uses, which a build with the option off proves.

option(TAVLO_PRECOMPILE_HEADERS "Precompile the headers that most files include; with ccache see CMakePresets.json" OFF)

set(TAVLO_ROOM_HEADERS
    <QByteArray> <QHash> <QList> <QObject> <QString> <QStringList> <QUrl> <QVariant>
    <algorithm> <array> <chrono> <functional> <map> <memory> <mutex> <optional> <string> <utility> <vector>
    <tl/expected.hpp>)
set(TAVLO_TEST_HEADERS
    ${TAVLO_ROOM_HEADERS} <QDir> <QFile> <QFileInfo> <QTemporaryDir> <thread> <gmock/gmock.h> <gtest/gtest.h>)

# tavlo_precompile(TARGET ROOM|TEST): the compiler takes precompiled headers only when its options are the same, so
# there is one set for the libraries (-fPIC) and one for the test programs (-fPIE).
function(tavlo_precompile target kind)
    if(NOT TAVLO_PRECOMPILE_HEADERS)
        return()
    endif()
    string(TOLOWER tavlo_precompiled_${kind} owner)
    if(NOT TARGET ${owner})
        set(source ${CMAKE_BINARY_DIR}/${owner}.cpp)
        file(CONFIGURE OUTPUT ${source} CONTENT "int main()\n{\n}\n")
        if(kind STREQUAL ROOM)
            add_library(${owner} STATIC ${source})
        else()
            add_executable(${owner} EXCLUDE_FROM_ALL ${source})
            target_link_libraries(${owner} PRIVATE GTest::gtest GTest::gmock)
            target_compile_options(${owner} PRIVATE ${TAVLO_TEST_OPTIONS})
        endif()
        target_link_libraries(${owner} PRIVATE tavlo_options Qt6::Core)
        target_precompile_headers(${owner} PRIVATE ${TAVLO_${kind}_HEADERS})
        tavlo_let_ccache_see_precompiled(${owner})
    endif()
    target_precompile_headers(${target} REUSE_FROM ${owner})
    tavlo_let_ccache_see_precompiled(${target})
endfunction()

# ccache preprocesses a file to find it again; GCC then has to name the precompiled header instead of unpacking it.
function(tavlo_let_ccache_see_precompiled target)
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endfunction()
