# The macOS application KorvaneSync.app, which contains the terminal program, too. The scripts in
# packaging/mac/ add the libraries, sign it and pack it.
set(mac ${PROJECT_SOURCE_DIR}/packaging/mac)
add_subdirectory(packaging/mac)

set(icon ${PROJECT_BINARY_DIR}/KorvaneSync.icns)
set(drawing ${PROJECT_SOURCE_DIR}/src/app/resources/Guide.svg)
add_custom_command(OUTPUT ${icon} COMMAND make-icns ${drawing} ${icon}
    DEPENDS make-icns ${drawing} VERBATIM)
add_custom_target(icon DEPENDS ${icon})
add_dependencies(korvane-sync-app icon)
target_sources(korvane-sync-app PRIVATE ${icon})
set_source_files_properties(${icon} TARGET_DIRECTORY korvane-sync-app PROPERTIES
    GENERATED ON MACOSX_PACKAGE_LOCATION Resources)

set_target_properties(korvane-sync-app PROPERTIES
    OUTPUT_NAME KorvaneSync
    MACOSX_BUNDLE ON
    MACOSX_BUNDLE_INFO_PLIST ${mac}/Info.plist.in
    MACOSX_BUNDLE_GUI_IDENTIFIER app.korvane.KorvaneSync
    MACOSX_BUNDLE_BUNDLE_NAME KorvaneSync
    MACOSX_BUNDLE_ICON_FILE KorvaneSync.icns
    MACOSX_BUNDLE_SHORT_VERSION_STRING ${PROJECT_VERSION}
    MACOSX_BUNDLE_BUNDLE_VERSION ${PROJECT_VERSION})
add_custom_target(korvane-bundle ALL VERBATIM
    COMMAND ${CMAKE_COMMAND} -E copy_if_different
        $<TARGET_FILE:korvane-sync> $<TARGET_FILE_DIR:korvane-sync-app>)
add_dependencies(korvane-bundle korvane-sync korvane-sync-app)

# Outside a bundle, macOS reads the texts of its permission dialogs from an Info.plist embedded in
# the executable.
configure_file(${mac}/Tool-Info.plist.in ${PROJECT_BINARY_DIR}/Tool-Info.plist @ONLY)
target_link_options(korvane-sync PRIVATE
    LINKER:-sectcreate,__TEXT,__info_plist,${PROJECT_BINARY_DIR}/Tool-Info.plist)
