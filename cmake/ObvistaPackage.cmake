include(CMakePackageConfigHelpers)

#   obvista_install_package(PACKAGE TARGET target AS name [HEADERS folder]
#       [DEPENDENCIES "Boost 1.74" ...] [FOLDERS VARIABLE=folder ...])
#
# Installs a shared library for its users (component runtime), and its headers and a CMake package for
# developers (component development): find_package(PACKAGE) provides the target PACKAGE::name. DEPENDENCIES
# are the arguments of the find_dependency() calls that the headers need. FOLDERS are installed folders for
# which the package defines a variable.
function(obvista_install_package package)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "TARGET;AS;HEADERS" "DEPENDENCIES;FOLDERS")
    if(arg_UNPARSED_ARGUMENTS OR NOT arg_TARGET OR NOT arg_AS)
        message(FATAL_ERROR "obvista_install_package(${package}): bad arguments ${arg_UNPARSED_ARGUMENTS}")
    endif()
    obvista_install_library(${arg_TARGET} PACKAGE ${package} AS ${arg_AS} HEADERS ${arg_HEADERS})

    set(dependencies)
    foreach(dependency IN LISTS arg_DEPENDENCIES)
        string(APPEND dependencies "find_dependency(${dependency})\n")
    endforeach()
    set(folders)
    foreach(folder IN LISTS arg_FOLDERS)
        string(REGEX REPLACE "^([^=]+)=(/.+)$" "set(\\1 \"\\2\")\n" folder "${folder}")
        string(REGEX REPLACE "^([^=]+)=(.+)$" "set(\\1 \"\${PACKAGE_PREFIX_DIR}/\\2\")\n" folder "${folder}")
        string(APPEND folders "${folder}")
    endforeach()
    set(destination "${CMAKE_INSTALL_LIBDIR}/cmake/${package}")
    set(generated "${CMAKE_CURRENT_BINARY_DIR}/${package}")
    configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/PackageConfig.cmake.in"
        "${generated}Config.cmake" INSTALL_DESTINATION "${destination}"
        NO_CHECK_REQUIRED_COMPONENTS_MACRO NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file("${generated}ConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
    install(FILES "${generated}Config.cmake" "${generated}ConfigVersion.cmake"
        DESTINATION "${destination}" COMPONENT development)
    install(EXPORT ${package}Targets NAMESPACE ${package}:: DESTINATION "${destination}"
        COMPONENT development)
endfunction()

# obvista_install_library(TARGET PACKAGE package AS name [HEADERS folder])
#
# Installs one more shared library and its headers as the target PACKAGE::name of that package.
function(obvista_install_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "PACKAGE;AS;HEADERS" "")
    if(arg_UNPARSED_ARGUMENTS OR NOT arg_PACKAGE OR NOT arg_AS)
        message(FATAL_ERROR "obvista_install_library(${target}): bad arguments ${arg_UNPARSED_ARGUMENTS}")
    endif()
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${arg_AS} INSTALL_RPATH "$ORIGIN")
    install(TARGETS ${target} EXPORT ${arg_PACKAGE}Targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
    if(arg_HEADERS)
        install(DIRECTORY ${arg_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
    endif()
endfunction()
