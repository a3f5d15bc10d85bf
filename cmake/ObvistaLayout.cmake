# The program looks for its plugins, pictures and icon in "../lib/obvista", "../share/obvista" and "media",
# relative to its folder. These are the same in the build tree and in every installation. All else is installed
# where GNUInstallDirs says: distributions put libraries into lib64 or lib/<architecture>.
#
# An installation with a dedicated prefix (/opt/obvista, a folder that is moved) has this layout in the prefix.
# In /usr nothing but programs may be in bin, so there the layout is below OBVISTA_PROGRAM_DIR, for instance
# lib/obvista, with links to the programs in bin and links from the layout to the pictures and catalogues in share/obvista.

set(OBVISTA_PROGRAM_DIR "" CACHE STRING
    "Folder below the prefix with the layout of the program; empty for the prefix itself")
set(OBVISTA_PLUGIN_DIR lib/obvista)
set(OBVISTA_MEDIA_DIR share/obvista)

cmake_path(APPEND OBVISTA_PROGRAM_DIR bin OUTPUT_VARIABLE OBVISTA_INSTALL_PROGRAM_DIR)
cmake_path(APPEND OBVISTA_PROGRAM_DIR "${OBVISTA_PLUGIN_DIR}" OUTPUT_VARIABLE OBVISTA_INSTALL_PLUGIN_DIR)
cmake_path(APPEND OBVISTA_PROGRAM_DIR "${OBVISTA_MEDIA_DIR}" OUTPUT_VARIABLE OBVISTA_INSTALL_MEDIA_DIR)
# What does not depend on the architecture.
set(OBVISTA_INSTALL_SHARED_DIR "${OBVISTA_INSTALL_MEDIA_DIR}")
if(OBVISTA_PROGRAM_DIR)
    set(OBVISTA_INSTALL_SHARED_DIR "${CMAKE_INSTALL_DATADIR}/obvista")
endif()
if(NOT OBVISTA_PROGRAM_DIR AND NOT CMAKE_INSTALL_FULL_BINDIR STREQUAL "${CMAKE_INSTALL_PREFIX}/bin")
    message(FATAL_ERROR "CMAKE_INSTALL_BINDIR must be bin without OBVISTA_PROGRAM_DIR: programs find their files \
relative to their folder.")
endif()

# obvista_run_path(VARIABLE FROM folder)
#
# Sets the variable to the run path with which a binary in this folder below the prefix finds the libraries.
function(obvista_run_path variable)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "FROM" "")
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
        BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/${arg_FROM}" OUTPUT_VARIABLE libraries)
    set(${variable} "$ORIGIN/${libraries}" PARENT_SCOPE)
endfunction()

# obvista_install_link(LINK TARGET)
#
# Installs a relative link. Both are paths below the prefix.
function(obvista_install_link link target)
    cmake_path(GET link PARENT_PATH folder)
    cmake_path(RELATIVE_PATH target BASE_DIRECTORY "${folder}")
    set(created "${PROJECT_BINARY_DIR}/links/${link}")
    cmake_path(GET created PARENT_PATH created_folder)
    file(MAKE_DIRECTORY "${created_folder}")
    file(CREATE_LINK "${target}" "${created}" SYMBOLIC)
    install(FILES "${created}" DESTINATION "${folder}")
endfunction()

# obvista_link_media(FOLDER...)
#
# Lets the program find folders of OBVISTA_INSTALL_SHARED_DIR.
function(obvista_link_media)
    if(OBVISTA_PROGRAM_DIR)
        foreach(folder IN LISTS ARGN)
            obvista_install_link("${OBVISTA_INSTALL_MEDIA_DIR}/${folder}" "${OBVISTA_INSTALL_SHARED_DIR}/${folder}")
        endforeach()
    endif()
endfunction()

# obvista_install_program(TARGET NAME name)
#
# Installs a program where it finds its files, and a link to it where the user's shell looks.
function(obvista_install_program target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "NAME" "")
    install(TARGETS ${target} RUNTIME DESTINATION "${OBVISTA_INSTALL_PROGRAM_DIR}")
    if(OBVISTA_PROGRAM_DIR)
        obvista_install_link("${CMAKE_INSTALL_BINDIR}/${arg_NAME}" "${OBVISTA_INSTALL_PROGRAM_DIR}/${arg_NAME}")
    endif()
endfunction()

set(OBVISTA_ZSH_DIR "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" CACHE STRING "Folder of the completion for zsh")

# obvista_install_manual(NAME)
#
# Installs a program's manual page (NAME.1 in the current folder) and its completion for bash (NAME.bash) and zsh
# (NAME.zsh), and copies them into the build tree.
function(obvista_install_manual name)
    install(FILES ${name}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    configure_file(${name}.1 "${CMAKE_BINARY_DIR}/share/man/man1/${name}.1" COPYONLY)
    set(bash bash-completion/completions)
    install(FILES ${name}.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/${bash} RENAME ${name})
    configure_file(${name}.bash "${CMAKE_BINARY_DIR}/share/${bash}/${name}" COPYONLY)
    install(FILES ${name}.zsh DESTINATION "${OBVISTA_ZSH_DIR}" RENAME _${name})
    configure_file(${name}.zsh "${CMAKE_BINARY_DIR}/share/zsh/site-functions/_${name}" COPYONLY)
endfunction()
