# Included after project(). CMake leaves implicit include directories out of the commands. Listing
# these keeps the headers of this system's C library out.
set(CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES /usr/include /usr/include/${CMAKE_LIBRARY_ARCHITECTURE})

# Only C++ is compiled. The commands for Objective-C++, archives and programs only create the empty
# files that other targets depend on.
set(CMAKE_OBJCXX_COMPILE_OBJECT "${CMAKE_COMMAND} -E touch <OBJECT>")
set(CMAKE_CXX_CREATE_STATIC_LIBRARY "${CMAKE_COMMAND} -E touch <TARGET>")
set(CMAKE_OBJCXX_CREATE_STATIC_LIBRARY "${CMAKE_COMMAND} -E touch <TARGET>")
set(CMAKE_CXX_LINK_EXECUTABLE "${CMAKE_COMMAND} -E touch <TARGET>")
set(CMAKE_OBJCXX_LINK_EXECUTABLE "${CMAKE_COMMAND} -E touch <TARGET>")
# moc does not need the compiler's macros. Newer versions of CMake ask the compiler for them, but
# without its first argument.
set(CMAKE_AUTOMOC_COMPILER_PREDEFINES OFF)
set(CMAKE_CROSSCOMPILING_EMULATOR true)
file(TOUCH ${CMAKE_BINARY_DIR}/KorvaneSync.icns) # else made by make-icns, which does not run here
