# A toolchain file that pretends to be macOS, so that another system configures the branches for the
# Mac. Nothing is built with it; some files are checked for their syntax.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
find_program(AnyClang clang++)
set(CMAKE_CXX_COMPILER ${AnyClang})
set(CMAKE_OBJCXX_COMPILER ${AnyClang})
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_INSTALL_NAME_TOOL install_name_tool)
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "")

# Use this system's libraries.
set(CMAKE_PROJECT_INCLUDE ${CMAKE_CURRENT_LIST_DIR}/darwin-finds.cmake)
