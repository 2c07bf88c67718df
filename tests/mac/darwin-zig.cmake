# A toolchain file like darwin-claim.cmake, but with Zig's compiler, which has the C and C++ headers
# of macOS, but no frameworks. Requires KORVANE_ZIG, the compiler, and KORVANE_HEADERS, a folder with
# this system's headers of the libraries, without those of its C library.
include(${CMAKE_CURRENT_LIST_DIR}/darwin-claim.cmake)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KORVANE_ZIG KORVANE_HEADERS)
set(CMAKE_SYSTEM_PROCESSOR arm64)
set(CMAKE_CXX_COMPILER ${KORVANE_ZIG} c++ -target aarch64-macos.13.0)
set(CMAKE_CXX_FLAGS_INIT
    "-isystem ${KORVANE_HEADERS} -isystem ${KORVANE_HEADERS}/${CMAKE_LIBRARY_ARCHITECTURE}")
set(CMAKE_PROJECT_KorvaneSync_INCLUDE ${CMAKE_CURRENT_LIST_DIR}/darwin-zig-rules.cmake)
