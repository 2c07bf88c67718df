# Compiler options for every target of this project. They do not apply to third-party headers.
add_library(korvane-warnings INTERFACE)
target_compile_options(korvane-warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual
    -Wextra-semi -Wno-missing-field-initializers
    $<$<BOOL:${KORVANE_WERROR}>:-Werror>)
target_compile_definitions(korvane-warnings INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH)

# korvane_library(name sources…): adds the static library of a folder of src/.
function(korvane_library name)
    add_library(${name} STATIC ${ARGN})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PRIVATE korvane-warnings)
endfunction()
