# Rules for "cmake --install" and "cpack -G DEB" on Linux. For macOS see MacBundle.cmake.
if(APPLE)
    return()
endif()

include(GNUInstallDirs)
set(linux ${PROJECT_SOURCE_DIR}/packaging/linux)

install(TARGETS korvane-sync korvane-sync-app RUNTIME)

install(FILES ${linux}/app.korvane.KorvaneSync.desktop
    DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${linux}/app.korvane.KorvaneSync.metainfo.xml
    DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${linux}/icons/app.korvane.KorvaneSync.svg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${linux}/icons/app.korvane.KorvaneSync-symbolic.svg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/symbolic/apps)

# Inactive until the user enables them.
install(FILES ${linux}/autostart.desktop
    DESTINATION ${CMAKE_INSTALL_DATADIR}/korvane-sync/autostart
    RENAME app.korvane.KorvaneSync.desktop)
install(FILES ${linux}/korvane-sync-export.service DESTINATION lib/systemd/user)

foreach(program IN ITEMS korvane-sync korvane-sync-app)
    install(FILES ${linux}/completions/${program}.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME ${program})
    install(FILES ${linux}/completions/${program}.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endforeach()
install(FILES ${linux}/completions/_korvane-sync
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
    COMPONENT zsh)

# korvane_compressed(file folder): installs the file compressed with gzip, as Debian requires for
# manual pages and changelogs. -n leaves the timestamp out, so that builds are reproducible.
function(korvane_compressed file folder)
    get_filename_component(name ${file} NAME)
    set(compressed ${PROJECT_BINARY_DIR}/packaging/${name}.gz)
    add_custom_command(OUTPUT ${compressed}
        COMMAND sh -c "gzip -9n <\"$1\" >\"$2\"" gzip ${file} ${compressed}
        DEPENDS ${file}
        VERBATIM)
    set_property(GLOBAL APPEND PROPERTY KORVANE_COMPRESSED ${compressed})
    install(FILES ${compressed} DESTINATION ${folder})
endfunction()

file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/packaging)
korvane_compressed(${linux}/korvane-sync.1 ${CMAKE_INSTALL_MANDIR}/man1)
korvane_compressed(${linux}/korvane-sync-app.1 ${CMAKE_INSTALL_MANDIR}/man1)
korvane_compressed(${linux}/debian/changelog ${CMAKE_INSTALL_DATADIR}/doc/korvane-sync)
get_property(compressed GLOBAL PROPERTY KORVANE_COMPRESSED)
add_custom_target(korvane-linux-files ALL DEPENDS ${compressed})

install(FILES
    ${linux}/debian/copyright
    ${PROJECT_SOURCE_DIR}/SECURITY.md
    ${PROJECT_SOURCE_DIR}/docs/export-format.md
    ${PROJECT_SOURCE_DIR}/docs/protocol.md
    ${PROJECT_SOURCE_DIR}/docs/recovery.md
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/korvane-sync)

include(${CMAKE_CURRENT_LIST_DIR}/DebianPackage.cmake)
