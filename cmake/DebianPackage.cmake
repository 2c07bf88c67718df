# Settings of "cpack -G DEB", which packs the installed files. packaging/linux/check-package tests
# the package.

# Debian's zsh reads the completions of packages from vendor-completions, not from site-functions.
install(FILES ${linux}/completions/_korvane-sync
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
    COMPONENT debian EXCLUDE_FROM_ALL)
set(CPACK_INSTALL_CMAKE_PROJECTS
    "${PROJECT_BINARY_DIR};KorvaneSync;Unspecified;/"
    "${PROJECT_BINARY_DIR};KorvaneSync;debian;/")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME korvane-sync)
set(CPACK_PACKAGE_VENDOR "The KorvaneSync developers")
set(CPACK_PACKAGE_CONTACT "The KorvaneSync developers <maintainers@korvane.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "turns the Messages history of a Mac into plain files")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS hicolor-icon-theme)
# The window uses these fonts if they are installed, and falls back to any other font.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-inter, fonts-quicksand, fonts-noto-color-emoji")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "evolution-data-server, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Korvane Sync reads the database in which a Mac keeps its Messages, or a copy
of one, and writes one text file for each chat: one JSON object per line,
named after your contacts, brought up to date with every run. It only ever
reads the database.

One chat at a time can be handed to a phone, sealed, by a QR code. Nothing
else leaves the machine.

There is a window that lives in the tray, korvane-sync-app, and a program for
the terminal, korvane-sync.")

include(CPack)
