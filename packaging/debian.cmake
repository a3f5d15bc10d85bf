# Run by CPack after the installation into its staging folder and before packaging. Adds the files that a
# Debian system expects in fixed places of /usr, beside the installation in /opt: links to the programs, their
# manual page and shell completion, the menu entry and its icons, and the licence of each package. Python looks
# for packages in /usr only, so the Python package is moved there.

set(prefix "${CPACK_PACKAGING_INSTALL_PREFIX}")
set(runtime "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/runtime")
set(development "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/development")
set(python "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/python")

file(GLOB programs RELATIVE "${runtime}${prefix}" LIST_DIRECTORIES false "${runtime}${prefix}/bin/*")
file(GLOB_RECURSE shared_files RELATIVE "${runtime}${prefix}"
    "${runtime}${prefix}/share/applications/*" "${runtime}${prefix}/share/icons/*"
    "${runtime}${prefix}/share/bash-completion/*" "${runtime}${prefix}/share/man/*")
foreach(file IN LISTS programs shared_files)
    set(link "${runtime}/usr/${file}")
    cmake_path(GET link PARENT_PATH folder)
    file(MAKE_DIRECTORY "${folder}")
    file(CREATE_LINK "${prefix}/${file}" "${link}" SYMBOLIC)
endforeach()

set(licence "${runtime}${prefix}/share/doc/obvista/LICENSE")
foreach(folder "${runtime}/usr/share/doc/${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME}"
        "${development}/usr/share/doc/${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME}"
        "${python}/usr/share/doc/${CPACK_DEBIAN_PYTHON_PACKAGE_NAME}")
    file(MAKE_DIRECTORY "${folder}")
    file(COPY_FILE "${licence}" "${folder}/copyright")
endforeach()

file(MAKE_DIRECTORY "${python}/usr/lib/python3/dist-packages")
file(RENAME "${python}${prefix}/${CPACK_OBVISTA_PYTHON_DIR}/robaxi" "${python}/usr/lib/python3/dist-packages/robaxi")
cmake_path(GET prefix PARENT_PATH above)
file(REMOVE_RECURSE "${python}${above}")

# The staging folders have the umask of the user of CPack; those of a package are readable for everybody.
file(GLOB_RECURSE staged LIST_DIRECTORIES true "${runtime}/*" "${development}/*"
    "${python}/*")
foreach(folder IN LISTS staged)
    if(IS_DIRECTORY "${folder}" AND NOT IS_SYMLINK "${folder}")
        file(CHMOD "${folder}" DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
            GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endif()
endforeach()
