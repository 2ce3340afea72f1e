# Where an installed Tessarine lies, and the Debian package made from it.
#
#   <prefix>/bin/tessarine                            the command line and the door to the program
#   <prefix>/<libdir>/tessarine/tessarine-program.so  the tray program
#   <prefix>/share/tessarine/scripts/                 the scripts the program runs
#   <prefix>/share/applications/, icons/, metainfo/   the application menu and software centres
#   <prefix>/share/dbus-1/services/                   lets the session bus start Tessarine
#   <prefix>/share/systemd/user/tessarine.service     the systemd user unit (the bus starts it
#                                                     through the unit where systemd runs it)
#   <prefix>/share/man/man1/tessarine.1.gz            the manual page
#   <prefix>/share/doc/tessarine/copyright            the licence
#
# The binary finds the module and the scripts from its own folder through the relative paths
# below, so the whole tree may be moved to another prefix.

include(GNUInstallDirs)

set(TESSARINE_APP_ID org.tessarine.Tessarine)
set(TESSARINE_MODULE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/tessarine)
set(TESSARINE_SCRIPTS_INSTALL_DIR ${CMAKE_INSTALL_DATADIR}/tessarine/scripts)
set(TESSARINE_LINUX_RESOURCES ${CMAKE_CURRENT_SOURCE_DIR}/resources/linux)

file(RELATIVE_PATH TESSARINE_MODULE_FROM_BIN ${CMAKE_INSTALL_FULL_BINDIR}
     ${CMAKE_INSTALL_PREFIX}/${TESSARINE_MODULE_INSTALL_DIR})
file(RELATIVE_PATH TESSARINE_SCRIPTS_FROM_BIN ${CMAKE_INSTALL_FULL_BINDIR}
     ${CMAKE_INSTALL_PREFIX}/${TESSARINE_SCRIPTS_INSTALL_DIR})
set_property(SOURCE app/main.cpp APPEND PROPERTY COMPILE_DEFINITIONS
             TESSARINE_MODULE_FROM_BIN="${TESSARINE_MODULE_FROM_BIN}")
set_property(SOURCE platform/ScriptRunner.cpp APPEND PROPERTY COMPILE_DEFINITIONS
             TESSARINE_SCRIPTS_FROM_BIN="${TESSARINE_SCRIPTS_FROM_BIN}")

# The manual page, from its scdoc source, compressed as Debian keeps manual pages.
find_program(SCDOC scdoc REQUIRED)
find_program(GZIP gzip REQUIRED)
set(TESSARINE_MAN_PAGE ${CMAKE_CURRENT_BINARY_DIR}/tessarine.1)
add_custom_command(OUTPUT ${TESSARINE_MAN_PAGE} ${TESSARINE_MAN_PAGE}.gz
    COMMAND ${SCDOC} < ${TESSARINE_LINUX_RESOURCES}/tessarine.1.scd > ${TESSARINE_MAN_PAGE}
    COMMAND ${GZIP} -9 -n -c ${TESSARINE_MAN_PAGE} > ${TESSARINE_MAN_PAGE}.gz
    DEPENDS ${TESSARINE_LINUX_RESOURCES}/tessarine.1.scd
    COMMENT "Writing the manual page tessarine.1")
add_custom_target(tessarine_man_page ALL DEPENDS ${TESSARINE_MAN_PAGE} ${TESSARINE_MAN_PAGE}.gz)

install(TARGETS tessarine RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS tessarine_program LIBRARY DESTINATION ${TESSARINE_MODULE_INSTALL_DIR})
install(PROGRAMS ${TESSARINE_SCRIPTS} DESTINATION ${TESSARINE_SCRIPTS_INSTALL_DIR})
install(FILES ${TESSARINE_LINUX_RESOURCES}/${TESSARINE_APP_ID}.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${TESSARINE_LINUX_RESOURCES}/${TESSARINE_APP_ID}.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${TESSARINE_LINUX_RESOURCES}/${TESSARINE_APP_ID}.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${TESSARINE_MAN_PAGE}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_CURRENT_SOURCE_DIR}/LICENSE ${TESSARINE_LINUX_RESOURCES}/copyright
        DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The bus needs the binary's absolute path, which is known only when installing: the package
# installs under /usr whatever prefix the build was configured for.
set(TESSARINE_SERVICE_TEMPLATE ${TESSARINE_LINUX_RESOURCES}/${TESSARINE_APP_ID}.service.in)
# systemd looks for user units in $XDG_DATA_DIRS/systemd/user and ~/.local/share/systemd/user,
# so <datadir>/systemd/user is found under /usr, /usr/local and ~/.local alike.
set(TESSARINE_UNIT_TEMPLATE ${TESSARINE_LINUX_RESOURCES}/tessarine.service.in)
install(CODE "
    set(bindir \"${CMAKE_INSTALL_BINDIR}\")
    if(NOT IS_ABSOLUTE \"\${bindir}\")
        set(bindir \"\${CMAKE_INSTALL_PREFIX}/\${bindir}\")
    endif()
    set(service \"${CMAKE_CURRENT_BINARY_DIR}/install/${TESSARINE_APP_ID}.service\")
    configure_file(\"${TESSARINE_SERVICE_TEMPLATE}\" \"\${service}\" @ONLY)
    file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/dbus-1/services\"
         TYPE FILE FILES \"\${service}\")
    set(unit \"${CMAKE_CURRENT_BINARY_DIR}/install/tessarine.service\")
    configure_file(\"${TESSARINE_UNIT_TEMPLATE}\" \"\${unit}\" @ONLY)
    file(INSTALL DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/systemd/user\"
         TYPE FILE FILES \"\${unit}\")
")

# The Debian package: `cpack -G DEB` in the build folder (`make deb`).
set(CPACK_PACKAGE_NAME tessarine)
set(CPACK_PACKAGE_VENDOR "The Tessarine developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "screen locker that lives in the system tray")
set(CPACK_PACKAGE_DESCRIPTION
    "Tessarine covers every screen with a lock screen on demand: from its tray icon, a global
hot key, a delay, a daily time, before the machine sleeps, or from other programs over D-Bus
and its command line (tessarine lock). The desktop comes back once the password has been typed
on the lock screen, key by key, in order or as a chord.")
set(CPACK_PACKAGE_CONTACT "The Tessarine developers <developers@tessarine.org>")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_CURRENT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time as Qt plugins, so dpkg-shlibdeps cannot see them: the X11 platform and
# the SVG images.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, libqt6svg6")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "default-dbus-session-bus | dbus-session-bus")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "xss-lock")
include(CPack)
