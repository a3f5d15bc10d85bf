# Precompiled headers, shared by all targets that include the same heavy family of headers.
#
# obvista_precompile_headers() is called once, after every target is declared. It gives each target of
# the project the family that it includes most:
#
#   qtest   Qt Test and Qt Widgets   tests on Qt Test
#   gtest   GoogleTest               tests on GoogleTest
#   qt      Qt Widgets               what Qt's meta-object compiler looks at
#   grpc    gRPC                     the middleware
#   std     the standard library     everything else
#
# Each family is compiled once for a build folder. GCC checks with -Winvalid-pch, an error in the presets,
# that the flags of a target are those of its family. Clang's tools cannot read GCC's precompiled headers:
# they need a build folder that is configured with CMAKE_DISABLE_PRECOMPILE_HEADERS=ON.

# The flag of a position-independent executable would keep executables from sharing what libraries use.
set(CMAKE_CXX_COMPILE_OPTIONS_PIE -fPIC)

set(obvista_std_headers <algorithm> <array> <atomic> <chrono> <cmath> <condition_variable> <cstdint>
    <cstdlib> <functional> <limits> <map> <memory> <mutex> <optional> <set> <sstream> <stdexcept>
    <string> <thread> <utility> <vector> <boost/make_shared.hpp> <boost/shared_ptr.hpp>)
set(obvista_qt_headers ${obvista_std_headers} <QtWidgets>)

function(obvista_add_precompiled_family family)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;LIBRARIES")
    set(source "${CMAKE_CURRENT_BINARY_DIR}/precompiled/${family}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "// Nothing but its precompiled headers.\n")
    add_library(obvista_precompiled_${family} OBJECT "${source}")
    target_precompile_headers(obvista_precompiled_${family} PRIVATE ${arg_HEADERS})
    target_link_libraries(obvista_precompiled_${family} PRIVATE ${arg_LIBRARIES} obvista_compile_options)
endfunction()

function(obvista_precompile_headers)
    obvista_add_precompiled_family(std HEADERS ${obvista_std_headers})
    # Without the definitions of Qt's modules, so that what links only Qt Gui or Qt Core shares it.
    obvista_add_precompiled_family(qt HEADERS ${obvista_qt_headers} LIBRARIES Qt5::Core)
    target_include_directories(obvista_precompiled_qt SYSTEM PRIVATE
        ${Qt5Gui_INCLUDE_DIRS} ${Qt5Widgets_INCLUDE_DIRS})
    obvista_add_precompiled_family(grpc HEADERS ${obvista_std_headers} <grpcpp/grpcpp.h>
        LIBRARIES obvista_robaxi_proto)
    if(BUILD_TESTING)
        obvista_add_precompiled_family(qtest HEADERS ${obvista_qt_headers} <QtTest>
            LIBRARIES Qt5::Network Qt5::Widgets Qt5::Test)
        obvista_add_precompiled_family(gtest HEADERS ${obvista_std_headers} <gmock/gmock.h> <gtest/gtest.h>
            LIBRARIES GTest::gmock)
        target_compile_options(obvista_precompiled_qtest PRIVATE ${obvista_test_options})
        target_compile_options(obvista_precompiled_gtest PRIVATE ${obvista_test_options})
    endif()
    _obvista_precompile_folder("${PROJECT_SOURCE_DIR}")
endfunction()

function(_obvista_precompile_folder folder)
    get_property(targets DIRECTORY "${folder}" PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
        get_target_property(libraries ${target} LINK_LIBRARIES)
        get_target_property(automoc ${target} AUTOMOC)
        if(target MATCHES "^obvista_precompiled_" OR NOT libraries MATCHES "obvista_compile_options")
            continue()
        elseif(folder MATCHES "^${PROJECT_SOURCE_DIR}/tests(/|$)")
            if(libraries MATCHES "Qt5::Test|obvista_test_support")
                set(family qtest)
            elseif(libraries MATCHES "GTest::")
                set(family gtest)
            else()
                continue()
            endif()
        elseif(libraries MATCHES "obvista_robaxi_proto")
            set(family grpc)
        elseif(automoc)
            set(family qt)
        else()
            set(family std)
        endif()
        target_precompile_headers(${target} REUSE_FROM obvista_precompiled_${family})
    endforeach()
    get_property(subfolders DIRECTORY "${folder}" PROPERTY SUBDIRECTORIES)
    foreach(subfolder IN LISTS subfolders)
        _obvista_precompile_folder("${subfolder}")
    endforeach()
endfunction()
