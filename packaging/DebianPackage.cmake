# The Debian package: script/package builds it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillory)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The Quillory team")
set(CPACK_PACKAGE_CONTACT "The Quillory team <team@quillory.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL https://quillory.example/)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
# Without this the files would be told the staging folder as the place they are installed to.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${QUILLORY_BUILD_NUMBER})
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "canvas editor that exports PNG, JPEG and PDF
Shapes, text, lines and images stay objects that can be moved and changed
at any time, and a project is one file. Pictures and documents are exported
one by one or as a batch into a folder, and objects are copied and pasted
through the system clipboard.
.
The editor comes to the front from any program with Super+Shift+E.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The icons are drawings; the engine has what the program asks of it since 2.48.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "hicolor-icon-theme, librsvg2-common, libwebkitgtk-6.0-4 (>= 2.48)")
# Images that can be opened and pasted; the panels and, on Wayland, the hotkey.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "adwaita-icon-theme, heif-gdk-pixbuf, webp-pixbuf-loader, \
xdg-desktop-portal, xdg-desktop-portal-gtk | xdg-desktop-portal-backend")

# What Debian wants of every package; no other installation has use for it.
set(CPACK_INSTALL_CMAKE_PROJECTS
  "${CMAKE_BINARY_DIR};${PROJECT_NAME};ALL;/"
  "${CMAKE_BINARY_DIR};${PROJECT_NAME};debian;/")
set(documents ${CMAKE_INSTALL_DATADIR}/doc/quillory)
configure_file(debian/changelog.in ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian @ONLY)
install(FILES debian/copyright ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian DESTINATION ${documents}
  COMPONENT debian EXCLUDE_FROM_ALL)
install(CODE "
  set(prefix \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
  execute_process(COMMAND gzip -9nf
    \"\${prefix}/${documents}/changelog.Debian\" \"\${prefix}/${CMAKE_INSTALL_MANDIR}/man1/quillory.1\"
    COMMAND_ERROR_IS_FATAL ANY)
  " COMPONENT debian EXCLUDE_FROM_ALL)
include(CPack)
