# Compiler options for every target of this project. They do not apply to third-party headers.
add_library(korvane-warnings INTERFACE)
target_compile_options(korvane-warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual
    -Wextra-semi -Wno-missing-field-initializers
    $<$<BOOL:${KORVANE_WERROR}>:-Werror>)
target_compile_definitions(korvane-warnings INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH)

# korvane_library(name [HEADERS headers…] SOURCES sources…): adds the static library of a folder of
# src/. HEADERS are the public ones: .ci/layers lets other folders include no others.
function(korvane_library name)
    cmake_parse_arguments(PARSE_ARGV 1 given "" "" "HEADERS;SOURCES")
    add_library(${name} STATIC ${given_SOURCES})
    target_sources(${name}
        PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/src FILES ${given_HEADERS})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PRIVATE korvane-warnings)
endfunction()
