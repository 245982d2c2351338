# The libraries of the Windows build. scripts/build-windows-deps.sh cross-builds curl, pugixml, libzip and
# googletest from Debian's sources into ZARK_WIN_DEPS (the toolchain file's prefix, searched by
# find_package) and copies Debian's header-only libraries into its include folder. This file gives them
# the target names of the Linux build, so that no other CMake file needs to know which build it is in.
set(zark_win_include ${ZARK_WIN_DEPS}/include)
if(NOT EXISTS ${zark_win_include}/fmt/format.h)
  message(FATAL_ERROR "No Windows libraries in ${ZARK_WIN_DEPS}: run scripts/build-windows-deps.sh first")
endif()

# {fmt} in header-only mode: one library less to cross-build.
add_library(fmt::fmt INTERFACE IMPORTED)
set_target_properties(fmt::fmt PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${zark_win_include}
                                          INTERFACE_COMPILE_DEFINITIONS FMT_HEADER_ONLY=1)
add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
set_target_properties(nlohmann_json::nlohmann_json PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${zark_win_include})
# cpp-httplib on Winsock; only the traffic service double uses it (tests).
add_library(PkgConfig::HTTPLIB INTERFACE IMPORTED)
set_target_properties(PkgConfig::HTTPLIB PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${zark_win_include}
                                                    INTERFACE_LINK_LIBRARIES "ws2_32;crypt32")

# Debian's MinGW zlib has a DLL too; the static one keeps the executables free of it.
set(ZLIB_USE_STATIC_LIBS ON)
find_package(libzip CONFIG REQUIRED)
add_library(PkgConfig::LIBZIP INTERFACE IMPORTED)
set_target_properties(PkgConfig::LIBZIP PROPERTIES INTERFACE_LINK_LIBRARIES libzip::zip)

# Windows 10 is the oldest system Prepar3D v5 runs on. Everything is linked statically: the executables
# start with the system's own DLLs and nothing beside them.
add_compile_definitions(_WIN32_WINNT=0x0A00 WINVER=0x0A00)
add_link_options(-static -static-libgcc -static-libstdc++)
