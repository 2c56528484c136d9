# What `cmake --install` puts where, and the Debian package CPack makes of it (`./dev package`
# writes build/release/tavrel_VERSION_amd64.deb). Included last, after every target exists.
include(GNUInstallDirs)

# The package needs only the programs and the files below: `./dev package` builds those
# targets, and installing (which CPack does) must not first build every test and benchmark.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

set(tavrel_pkg ${PROJECT_SOURCE_DIR}/packaging)
set(tavrel_app_id org.tavrel.Tavrel)

# Debian wants manual pages and the changelog compressed, reproducibly (-n: no name or time).
find_program(TAVREL_GZIP gzip REQUIRED)
set(tavrel_gzipped)
function(tavrel_gzip source output)
  add_custom_command(OUTPUT ${output}
    COMMAND ${TAVREL_GZIP} -9nc ${source} > ${output}
    DEPENDS ${source} VERBATIM)
  list(APPEND tavrel_gzipped ${output})
  set(tavrel_gzipped ${tavrel_gzipped} PARENT_SCOPE)
endfunction()

set(tavrel_gz_dir ${PROJECT_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${tavrel_gz_dir})
foreach(page tavrel tavrel-cli tavrel-unit-sim)
  tavrel_gzip(${tavrel_pkg}/man/${page}.1 ${tavrel_gz_dir}/${page}.1.gz)
  install(FILES ${tavrel_gz_dir}/${page}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
tavrel_gzip(${tavrel_pkg}/changelog ${tavrel_gz_dir}/changelog.gz)
add_custom_target(tavrel_packaging_files ALL DEPENDS ${tavrel_gzipped})

set(tavrel_docdir ${CMAKE_INSTALL_DATAROOTDIR}/doc/tavrel)
install(FILES ${tavrel_gz_dir}/changelog.gz ${tavrel_pkg}/copyright DESTINATION ${tavrel_docdir})

install(FILES ${tavrel_pkg}/${tavrel_app_id}.desktop
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/applications)
install(FILES ${tavrel_pkg}/${tavrel_app_id}.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/metainfo)
install(FILES ${tavrel_pkg}/icons/${tavrel_app_id}.svg
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/icons/hicolor/scalable/apps)
foreach(size 16 32 48 64 128 256)
  install(FILES ${tavrel_pkg}/icons/${size}/${tavrel_app_id}.png
          DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/icons/hicolor/${size}x${size}/apps)
endforeach()
install(FILES ${tavrel_pkg}/completion/tavrel-cli.bash
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions
        RENAME tavrel-cli)
install(FILES ${tavrel_pkg}/completion/_tavrel-cli
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/zsh/vendor-completions)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavrel)
set(CPACK_PACKAGE_VENDOR "Tavrel developers")
set(CPACK_PACKAGE_CONTACT "Tavrel developers <tavrel@tavrel.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "drum patterns for QL-family loop and rhythm units")
set(CPACK_PACKAGE_DESCRIPTION
    "Tavrel turns Standard MIDI Files into the user rhythm patterns of a
QL-family loop and rhythm unit, keeps the unit's store of 50 patterns,
previews patterns through MIDI, writes kit and tempo into the unit's
memories and backs everything up.

The package holds the desktop program (tavrel), the command-line tool
(tavrel-cli) and a simulated unit on the ALSA sequencer (tavrel-unit-sim),
so that all of it can be tried without hardware.")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://tavrel.org")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# shlibdeps sees only what the programs link; Qt loads its platform plugins (xcb, wayland,
# offscreen) with dlopen, and without one the desktop program cannot open a window.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
# Where no automounter mounts the unit's storage, Tavrel mounts it through GIO, which sees
# removable media through the gvfs volume monitor and mounts them through udisks2.
# alsa-utils (aconnect, amidi) helps to see the unit on the sequencer.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gvfs-daemons, udisks2")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "alsa-utils")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
include(CPack)
