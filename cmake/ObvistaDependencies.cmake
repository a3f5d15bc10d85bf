# All libraries and tools with which the project is built, each found once. scripts/packages lists their
# Debian packages.

find_package(Threads REQUIRED)
find_package(Qt5 5.15 REQUIRED COMPONENTS Core Gui Widgets Network LinguistTools)
find_package(Boost 1.74 REQUIRED COMPONENTS program_options)
find_package(PkgConfig REQUIRED)

# The middleware.
find_package(Protobuf REQUIRED)
find_package(gRPC REQUIRED)
find_package(OpenSSL REQUIRED)

# Discovery, and the simulated robot's announcements.
pkg_check_modules(Avahi REQUIRED IMPORTED_TARGET avahi-client)

# Icons and web pages of robots. From 7.85 on, the allowed protocols are set as a text.
find_package(CURL 7.85 REQUIRED)

# Compressed icons, and checksums of MCAP files.
find_package(ZLIB REQUIRED)

# Chunks of MCAP files.
pkg_check_modules(Zstd REQUIRED IMPORTED_TARGET libzstd)
pkg_check_modules(Lz4 REQUIRED IMPORTED_TARGET liblz4)

# Pictures and video.
pkg_check_modules(TurboJpeg REQUIRED IMPORTED_TARGET libturbojpeg)
if(OBVISTA_BUILD_CAMERAVIEWER OR OBVISTA_BUILD_ROBOT OR OBVISTA_BUILD_TOOLS)
    pkg_check_modules(GStreamer REQUIRED IMPORTED_TARGET
        gstreamer-1.0 gstreamer-app-1.0 gstreamer-video-1.0)
endif()

# Values in recordings that are replayed, and the tool's output for programs.
if(OBVISTA_BUILD_ROBOT OR OBVISTA_BUILD_TOOLS)
    find_package(nlohmann_json 3.11 REQUIRED)
endif()

# The command line of the robaxi tool.
if(OBVISTA_BUILD_TOOLS)
    find_package(CLI11 2.1 REQUIRED)
endif()

# Robots that run ROS 2. The internal interface for samples as they arrive, which the bridge uses, is that of 0.10.
if(OBVISTA_BUILD_BRIDGE)
    find_package(CycloneDDS 0.10 QUIET)
    if(NOT CycloneDDS_FOUND OR CycloneDDS_VERSION VERSION_GREATER_EQUAL 0.11)
        message(STATUS "bridge is left out: Cyclone DDS 0.10 is not found (Debian package cyclonedds-dev)")
        set(OBVISTA_BUILD_BRIDGE OFF)
    endif()
endif()

# The pictures that the tool saves, and those that the bridge and replays decode.
if(OBVISTA_BUILD_TOOLS OR OBVISTA_BUILD_BRIDGE OR OBVISTA_BUILD_ROBOT)
    find_package(PNG 1.6 REQUIRED)
endif()

# Debian's pkg-config file of Qwt requires Qt's OpenGL module, which we do not use, so Qwt is found directly.
find_path(QWT_INCLUDE_DIR qwt_plot.h PATH_SUFFIXES qwt qwt-qt5 qt5/qwt REQUIRED)
find_library(QWT_LIBRARY NAMES qwt-qt5 qwt REQUIRED)
mark_as_advanced(QWT_INCLUDE_DIR QWT_LIBRARY)
add_library(obvista_qwt INTERFACE)
target_include_directories(obvista_qwt SYSTEM INTERFACE ${QWT_INCLUDE_DIR})
target_link_libraries(obvista_qwt INTERFACE ${QWT_LIBRARY} Qt5::Widgets)

find_program(OBVISTA_RSVG_CONVERT rsvg-convert REQUIRED
    DOC "Turns SVG into PNG (Debian package librsvg2-bin)")

if(BUILD_TESTING)
    find_package(Qt5 5.15 REQUIRED COMPONENTS DBus Test)
    # Without the build folder for QFINDTESTDATA, which no test uses: it would prevent clones in different
    # folders from sharing the compiler cache.
    set_property(TARGET Qt5::Test PROPERTY INTERFACE_COMPILE_DEFINITIONS QT_TESTLIB_LIB)
    find_package(GTest REQUIRED)
    find_program(OBVISTA_DESKTOP_FILE_VALIDATE desktop-file-validate)
    find_program(OBVISTA_APPSTREAMCLI appstreamcli)
    # Debian's Python has gRPC; one that comes before it on the PATH may not.
    find_program(OBVISTA_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
    if(NOT OBVISTA_PYTHON)
        find_program(OBVISTA_PYTHON python3 REQUIRED)
    endif()
endif()
