# Functions with which every target of the project is declared, so that warnings, sanitizers, visibility and
# the layout of the build tree are defined in one place.

add_library(obvista_compile_options INTERFACE)
target_compile_options(obvista_compile_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast
    -Woverloaded-virtual -Wcast-qual -Wformat=2)
# Some libraries need _REENTRANT; all targets define it, so that they share precompiled headers.
target_compile_definitions(obvista_compile_options INTERFACE
    _REENTRANT QT_DEPRECATED_WARNINGS QT_NO_KEYWORDS QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
    QT_STRICT_ITERATORS)

if(OBVISTA_SANITIZE)
    add_compile_options(-fsanitize=${OBVISTA_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer -g1)
    add_link_options(-fsanitize=${OBVISTA_SANITIZE})
    # GCC takes its own instrumentation for reads of uninitialised memory, for instance in Boost's headers.
    # The release build has the warning.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(obvista_compile_options INTERFACE -Wno-maybe-uninitialized)
    endif()
    # Boost.Asio and the standard library use memory fences, which ThreadSanitizer does not support.
    if(OBVISTA_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(obvista_compile_options INTERFACE -Wno-tsan)
    endif()
endif()

# Clang's sanitizer and fuzzing run-times are linked into the executable only, so a shared
# library built with them has undefined symbols by design.
if(NOT (OBVISTA_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
    add_link_options(-Wl,--no-undefined)
endif()

# Compiling a test takes longer than running it, so only product code is optimised. The C library's checked
# functions need an optimising compiler.
set(obvista_test_options $<$<CONFIG:Release,RelWithDebInfo>:-O0> -U_FORTIFY_SOURCE)

# obvista_add_folder(FOLDER NEEDS [ROBOT] [CAMERAVIEWER] [TOOLS])
#
# Adds a folder that is built only if these parts of the project are (OBVISTA_BUILD_...).
function(obvista_add_folder folder)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "NEEDS")
    foreach(part IN LISTS arg_NEEDS)
        if(NOT OBVISTA_BUILD_${part})
            cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY "${PROJECT_SOURCE_DIR}"
                OUTPUT_VARIABLE parent)
            cmake_path(APPEND parent "${folder}" OUTPUT_VARIABLE path)
            cmake_path(NORMAL_PATH path)
            message(STATUS "${path} is left out: OBVISTA_BUILD_${part} is off")
            return()
        endif()
    endforeach()
    add_subdirectory(${folder})
endfunction()

# obvista_add_library(NAME [SHARED|STATIC] ALIAS obvista::x [OUTPUT_NAME x] [MOC]
#     SOURCES ... [PUBLIC_INCLUDE dir] [PUBLIC_LIBRARIES ...] [PRIVATE_LIBRARIES ...])
#
# Declares one library of the project. MOC turns Qt's meta-object compiler on.
function(obvista_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "SHARED;STATIC;MOC" "ALIAS;OUTPUT_NAME;PUBLIC_INCLUDE"
        "SOURCES;PUBLIC_LIBRARIES;PRIVATE_LIBRARIES")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "obvista_add_library(${name}): unknown ${arg_UNPARSED_ARGUMENTS}")
    endif()
    set(kind STATIC)
    if(arg_SHARED)
        set(kind SHARED)
    endif()
    add_library(${name} ${kind} ${arg_SOURCES})
    add_library(${arg_ALIAS} ALIAS ${name})
    if(arg_OUTPUT_NAME)
        set_target_properties(${name} PROPERTIES OUTPUT_NAME ${arg_OUTPUT_NAME})
    endif()
    set_target_properties(${name} PROPERTIES AUTOMOC ${arg_MOC})
    if(arg_PUBLIC_INCLUDE)
        target_include_directories(${name} PUBLIC
            $<BUILD_INTERFACE:${arg_PUBLIC_INCLUDE}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    endif()
    target_link_libraries(${name} PUBLIC ${arg_PUBLIC_LIBRARIES}
        PRIVATE ${arg_PRIVATE_LIBRARIES} $<BUILD_INTERFACE:obvista_compile_options>)
endfunction()

# obvista_add_executable(NAME [MOC] SOURCES ... [LIBRARIES ...])
function(obvista_add_executable name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "MOC" "" "SOURCES;LIBRARIES")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "obvista_add_executable(${name}): unknown ${arg_UNPARSED_ARGUMENTS}")
    endif()
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ${arg_MOC})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} obvista_compile_options)
endfunction()

# obvista_add_plugin(NAME SOURCES ... [LIBRARIES ...])
#
# Declares a viewer plugin: lib<NAME>.so in lib/obvista, linked with the plugin interface.
function(obvista_add_plugin name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "obvista_add_plugin(${name}): unknown ${arg_UNPARSED_ARGUMENTS}")
    endif()
    obvista_run_path(run_path FROM "${OBVISTA_INSTALL_PLUGIN_DIR}")
    add_library(${name} MODULE ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON PREFIX "lib"
        LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/${OBVISTA_PLUGIN_DIR}"
        INSTALL_RPATH "${run_path}")
    target_link_libraries(${name} PRIVATE obvista::plugins ${arg_LIBRARIES} obvista_compile_options)
    install(TARGETS ${name} LIBRARY DESTINATION "${OBVISTA_INSTALL_PLUGIN_DIR}")
endfunction()

#   obvista_add_test(NAME folder.topic [MOC] SOURCES ... [LIBRARIES ...]
#       FRAMEWORK qtest|gtest LABEL unit|integration|lab [DISPLAY offscreen|xvfb] [TIMEOUT seconds]
#       [COST seconds] [ENVIRONMENT K=V ...] [ARGUMENTS ...] [WRAPPER command ...])
#
# Declares one test program. It runs with separate HOME, XDG_* and TMPDIR folders, which are created before it
# and removed after it (tests/support/run_isolated). With DISPLAY xvfb it also gets a separate X server and
# window manager. WRAPPER is a command that runs the program inside the isolation. Exit status 77 counts as
# skipped.
function(obvista_add_test)
    cmake_parse_arguments(PARSE_ARGV 0 arg "MOC" "NAME;FRAMEWORK;LABEL;DISPLAY;TIMEOUT;COST"
        "SOURCES;LIBRARIES;ENVIRONMENT;ARGUMENTS;WRAPPER")
    if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_LABEL MATCHES "^(unit|integration|lab)$"
            OR NOT arg_FRAMEWORK MATCHES "^(qtest|gtest)$")
        message(FATAL_ERROR "obvista_add_test(${arg_NAME}): bad arguments ${arg_UNPARSED_ARGUMENTS}")
    endif()
    string(REPLACE "." "_" target "test_${arg_NAME}")
    add_executable(${target} ${arg_SOURCES})
    if(arg_FRAMEWORK STREQUAL "qtest")
        set_target_properties(${target} PROPERTIES AUTOMOC ON)
        target_link_libraries(${target} PRIVATE obvista_test_support Qt5::Test)
    else()
        set_target_properties(${target} PROPERTIES AUTOMOC ${arg_MOC})
        target_link_libraries(${target} PRIVATE GTest::gmock_main)
    endif()
    target_link_libraries(${target} PRIVATE ${arg_LIBRARIES} obvista_compile_options)
    obvista_register_test(NAME ${arg_NAME} LABEL ${arg_LABEL} DISPLAY "${arg_DISPLAY}"
        TIMEOUT "${arg_TIMEOUT}" COST "${arg_COST}" ENVIRONMENT ${arg_ENVIRONMENT}
        COMMAND ${arg_WRAPPER} $<TARGET_FILE:${target}> ${arg_ARGUMENTS})
endfunction()

# obvista_choose_lab(VARIABLE COST)
#
# Sets VARIABLE to the number of the lab whose tests take the least time so far, and adds COST seconds to it.
function(obvista_choose_lab variable cost)
    unset(least)
    foreach(lab 0 1 2)
        get_property(seconds GLOBAL PROPERTY obvista_lab_${lab})
        if(NOT seconds)
            set(seconds 0)
        endif()
        if(NOT DEFINED least OR seconds LESS least)
            set(least ${seconds})
            set(chosen ${lab})
        endif()
    endforeach()
    math(EXPR least "${least} + ${cost}")
    set_property(GLOBAL PROPERTY obvista_lab_${chosen} ${least})
    set(${variable} ${chosen} PARENT_SCOPE)
endfunction()

#   obvista_register_test(NAME ... LABEL ... COMMAND ... [DISPLAY ...] [TIMEOUT ...] [COST ...]
#       [ENVIRONMENT ...] [UNSANITIZED])
#
# Registers any command (a script, say) as a test under the same isolation as obvista_add_test. UNSANITIZED
# means that the test runs nothing that the build compiled; builds with sanitizers omit it. Tests with the label
# package are not part of the suite: ctest runs them with --build-config packages (scripts/test --packages).
#
# The test presets run 15 units at a time. A test takes 4 of them, and a test in a lab one, since it waits for
# multicast DNS nearly all of its time: on two cores three tests, which wait for half of theirs, and three labs run
# at once. Lab tests take longest, so they start first. COST is the duration of a test of more than 20 s:
# within both kinds such tests start first, and they are spread over the labs.
function(obvista_register_test)
    cmake_parse_arguments(PARSE_ARGV 0 arg "UNSANITIZED" "NAME;LABEL;DISPLAY;TIMEOUT;COST"
        "COMMAND;ENVIRONMENT")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "obvista_register_test(${arg_NAME}): unknown ${arg_UNPARSED_ARGUMENTS}")
    endif()
    if(arg_UNSANITIZED AND OBVISTA_SANITIZE)
        return()
    endif()
    if(NOT arg_DISPLAY)
        set(arg_DISPLAY offscreen)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 300)
    endif()
    set(configurations)
    if(arg_LABEL STREQUAL "package")
        set(configurations CONFIGURATIONS packages)
    endif()
    add_test(NAME ${arg_NAME} ${configurations}
        COMMAND "${PROJECT_SOURCE_DIR}/tests/support/run_isolated" --display ${arg_DISPLAY} -- ${arg_COMMAND})
    set_tests_properties(${arg_NAME} PROPERTIES LABELS ${arg_LABEL} TIMEOUT ${arg_TIMEOUT}
        SKIP_RETURN_CODE 77
        ENVIRONMENT "OBVISTA_BUILD_DIR=${CMAKE_BINARY_DIR};OBVISTA_SOURCE_DIR=${PROJECT_SOURCE_DIR};OBVISTA_SANITIZE=${OBVISTA_SANITIZE};${arg_ENVIRONMENT}")
    if(arg_LABEL STREQUAL "lab")
        if(NOT arg_COST)
            set(arg_COST 10)
        endif()
        obvista_choose_lab(lab ${arg_COST})
        math(EXPR arg_COST "${arg_COST} + 1000")
        set_tests_properties(${arg_NAME} PROPERTIES PROCESSORS 1 RESOURCE_LOCK lab_${lab})
    else()
        set_tests_properties(${arg_NAME} PROPERTIES PROCESSORS 4)
    endif()
    if(arg_COST)
        set_tests_properties(${arg_NAME} PROPERTIES COST ${arg_COST})
    endif()
endfunction()
