# Included after project(), which sets these for macOS: finds this system's libraries instead.
set(CMAKE_FIND_LIBRARY_SUFFIXES .so .a)
set(CMAKE_FIND_LIBRARY_PREFIXES lib)
set(CMAKE_FIND_FRAMEWORK NEVER)

# Qt would look for a framework. Nothing is linked with this one.
add_library(WrapOpenGL::WrapOpenGL INTERFACE IMPORTED GLOBAL)
