# A toolchain file that claims to be a Mac, so that the Mac's branches are configured on another
# system. Nothing is built with it; one file or the other is checked for its syntax.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
find_program(AnyClang clang++)
set(CMAKE_CXX_COMPILER ${AnyClang})
set(CMAKE_OBJCXX_COMPILER ${AnyClang})
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_INSTALL_NAME_TOOL install_name_tool)
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "")

# The libraries are this system's.
set(CMAKE_PROJECT_INCLUDE ${CMAKE_CURRENT_LIST_DIR}/darwin-finds.cmake)
