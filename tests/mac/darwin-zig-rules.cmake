# Read behind project(). CMake leaves out the folders that a compiler searches anyway: so none is
# told to search these, where this system's C library has its headers.
set(CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES /usr/include /usr/include/${CMAKE_LIBRARY_ARCHITECTURE})

# Only C++ is compiled. What CMake has the rest wait for, or run, does nothing.
set(CMAKE_OBJCXX_COMPILE_OBJECT "${CMAKE_COMMAND} -E touch <OBJECT>")
set(CMAKE_CXX_CREATE_STATIC_LIBRARY "${CMAKE_COMMAND} -E touch <TARGET>")
set(CMAKE_OBJCXX_CREATE_STATIC_LIBRARY "${CMAKE_COMMAND} -E touch <TARGET>")
set(CMAKE_CXX_LINK_EXECUTABLE "${CMAKE_COMMAND} -E touch <TARGET>")
set(CMAKE_OBJCXX_LINK_EXECUTABLE "${CMAKE_COMMAND} -E touch <TARGET>")
# moc need not ask the compiler for its macros; newer versions of CMake ask without its first argument.
set(CMAKE_AUTOMOC_COMPILER_PREDEFINES OFF)
set(CMAKE_CROSSCOMPILING_EMULATOR true)
file(TOUCH ${CMAKE_BINARY_DIR}/KorvaneSync.icns) # which a program of the build would have made
