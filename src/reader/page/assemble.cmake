# Writes OUTPUT, a C++ file that defines the strings of PageParts.h from the files in this folder.
# Run as: cmake -D OUTPUT=… -D GUIDE=….svg -P assemble.cmake
#
# The modules become one script: their imports and the word "export" are removed. So they share one
# scope, and no two of them may give the same name to something outside of their functions. Each
# module comes after those that it imports.
cmake_policy(VERSION 3.25)

set(styles palette layout conversation overview print)
set(modules
    dom unpack archive fold search dates colours router statistics virtualList entry conversation
    chatList searchPanel charts overview printing main)

foreach(name IN LISTS styles)
    file(READ ${CMAKE_CURRENT_LIST_DIR}/${name}.css text)
    string(APPEND style "\n${text}")
endforeach()

foreach(name IN LISTS modules)
    file(READ ${CMAKE_CURRENT_LIST_DIR}/${name}.js text)
    string(REGEX REPLACE "(^|\n)import [^;]*;" "" text "${text}")
    string(REGEX REPLACE "(^|\n)export " "\\1" text "${text}")
    string(APPEND script "\n${text}")
endforeach()

file(READ ${CMAKE_CURRENT_LIST_DIR}/page.html frame)
file(READ ${GUIDE} guide)
string(REPLACE "@guide@" "${guide}" frame "${frame}")

set(code "#include \"reader/PageParts.h\"\n\nnamespace korvane::PageParts {\n\n")
foreach(name IN ITEMS frame style script)
    string(APPEND code "const std::string_view ${name} = R\"korvane(${${name}})korvane\";\n")
endforeach()
file(WRITE ${OUTPUT} "${code}\n} // namespace korvane::PageParts\n")
