# Read behind project(): lets this system's libraries be found where a Mac's are asked for.
set(CMAKE_FIND_LIBRARY_SUFFIXES .so .a)
set(CMAKE_FIND_LIBRARY_PREFIXES lib)
set(CMAKE_FIND_FRAMEWORK NEVER)

# What Qt looks for as frameworks; nothing is linked with it here.
add_library(WrapOpenGL::WrapOpenGL INTERFACE IMPORTED GLOBAL)
