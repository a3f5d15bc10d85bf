# Tools that make building faster, if they are installed: ccache, also for builds in other folders, and mold.
# Neither changes the result.

option(OBVISTA_FAST_BUILD "Use ccache and mold where they are installed" ON)
if(OBVISTA_FAST_BUILD)
    find_program(OBVISTA_CCACHE ccache)
    find_program(OBVISTA_MOLD mold)
endif()

if(OBVISTA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # Make clones in other folders hit the cache: paths below the project become relative, and the compiler's
    # working folder is ignored. Precompiled headers need the sloppiness: they are identified by their
    # content, and no file of the project uses __TIME__ or __DATE__. With the inode cache a header is hashed
    # once, and not for every object: the precompiled ones have 240 MB, a third of a second for each.
    set(CMAKE_CXX_COMPILER_LAUNCHER /usr/bin/env
        "CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}" CCACHE_NOHASHDIR=1 CCACHE_INODECACHE=1
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        "${OBVISTA_CCACHE}")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT CMAKE_DISABLE_PRECOMPILE_HEADERS)
        add_compile_options(-fpch-preprocess)
    endif()
endif()

if(OBVISTA_MOLD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Code in separate pages, as GNU ld does it: otherwise mold 1.10 lets the read-only data after relocation
    # begin in a hole between two segments if the code ends less than four bytes before a page, and the program
    # cannot be loaded.
    add_link_options(-fuse-ld=mold -Wl,-z,separate-code)
endif()
