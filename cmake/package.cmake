# SPDX-License-Identifier: MIT
# What an installation holds, and the packages made of it: a .deb (cpack in the build folder), and with
# "cmake --build BUILD --target archive" a .tar.gz whose folder runs where it is unpacked.
include(GNUInstallDirs)
set(P ${PROJECT_SOURCE_DIR}/packaging)
set(content ${PROJECT_BINARY_DIR}/content)
set(installed_programs kestrelune kestrelune-inspect kestrelune-pack)

# docs, input and updates, as the program wants them in its folder.
file(GLOB content_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/data/*.csv ${PROJECT_SOURCE_DIR}/docs/*.md
     ${PROJECT_SOURCE_DIR}/docs/images/*)
add_custom_command(
  OUTPUT ${content}.stamp
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${content}
  COMMAND kestrelune-content --data ${PROJECT_SOURCE_DIR}/data --program-folder ${content}
  COMMAND ${CMAKE_COMMAND} -E touch ${content}.stamp
  DEPENDS kestrelune-content ${content_sources}
  VERBATIM)
set(package_files ${content}.stamp)

# The manual pages are what the programs say of themselves.
find_program(HELP2MAN help2man)
find_program(GZIP gzip)
set(man_pages)
if(HELP2MAN AND GZIP)
  foreach(program ${installed_programs})
    set(page ${PROJECT_BINARY_DIR}/man/${program}.1)
    add_custom_command(
      OUTPUT ${page}.gz
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
      COMMAND ${HELP2MAN} --no-info --section=1 --source=Kestrelune --manual=Kestrelune
              --name "real air traffic in the flight simulator" --output ${page} $<TARGET_FILE:${program}>
      COMMAND ${GZIP} -9nf ${page}
      DEPENDS ${program}
      VERBATIM)
    list(APPEND man_pages ${page}.gz)
  endforeach()
else()
  message(STATUS "no help2man or gzip: no manual pages")
endif()

# Texts that Debian wants beside a program.
file(READ ${PROJECT_SOURCE_DIR}/LICENSE MIT_TEXT)
string(REGEX REPLACE "^MIT License\n\nCopyright[^\n]*\n\n" "" MIT_TEXT "${MIT_TEXT}")
string(STRIP "${MIT_TEXT}" MIT_TEXT)
string(REGEX REPLACE "\n\n" "\n.\n" MIT_TEXT "${MIT_TEXT}")
string(REGEX REPLACE "\n" "\n " MIT_TEXT " ${MIT_TEXT}")
configure_file(${P}/copyright.in ${PROJECT_BINARY_DIR}/debian/copyright @ONLY)
configure_file(${P}/changelog.in ${PROJECT_BINARY_DIR}/debian/text/changelog.Debian @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_BINARY_DIR}/debian/text/changelog COPYONLY)
set(changelogs)
if(GZIP)
  foreach(name changelog changelog.Debian)
    set(from ${PROJECT_BINARY_DIR}/debian/text/${name})
    add_custom_command(
      OUTPUT ${from}.gz
      COMMAND ${GZIP} -9nkf ${from}
      DEPENDS ${from}
      VERBATIM)
    list(APPEND changelogs ${from}.gz)
  endforeach()
endif()
add_custom_target(package_content ALL DEPENDS ${package_files} ${man_pages} ${changelogs})

install(TARGETS ${installed_programs} COMPONENT program)
install(DIRECTORY ${content}/docs ${content}/input ${content}/updates DESTINATION ${CMAKE_INSTALL_DATADIR}/kestrelune
        COMPONENT program)
install(FILES ${P}/kestrelune.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT program)
install(FILES ${P}/kestrelune.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT program)
install(FILES ${PROJECT_BINARY_DIR}/debian/copyright ${changelogs} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kestrelune
        COMPONENT program)
install(FILES ${man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)

# The folder to unpack anywhere.
install(PROGRAMS $<TARGET_FILE:kestrelune> $<TARGET_FILE:kestrelune-inspect> $<TARGET_FILE:kestrelune-pack>
        DESTINATION . COMPONENT portable EXCLUDE_FROM_ALL)
install(DIRECTORY ${content}/docs ${content}/input ${content}/updates DESTINATION . COMPONENT portable EXCLUDE_FROM_ALL)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
        DESTINATION . COMPONENT portable EXCLUDE_FROM_ALL)
set(archive kestrelune-${PROJECT_VERSION}-${CMAKE_SYSTEM_PROCESSOR})
add_custom_target(archive
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${PROJECT_BINARY_DIR}/archive
  COMMAND ${CMAKE_COMMAND} --install ${PROJECT_BINARY_DIR} --component portable --strip
          --prefix ${PROJECT_BINARY_DIR}/archive/${archive} > ${PROJECT_BINARY_DIR}/archive.log
  COMMAND ${CMAKE_COMMAND} -E chdir ${PROJECT_BINARY_DIR}/archive
          ${CMAKE_COMMAND} -E tar czf ${PROJECT_BINARY_DIR}/${archive}.tar.gz ${archive}
  DEPENDS ${installed_programs} package_content
  VERBATIM)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kestrelune)
set(CPACK_PACKAGE_VENDOR "The Kestrelune developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "real air traffic in the flight simulator")
set(CPACK_PACKAGE_DESCRIPTION
    "Shows the live reports of real aircraft around you as AI aircraft in
fitting liveries in Microsoft Flight Simulator 2020 and 2024: in the air,
on the ground and at the stands. It needs the simulator and the traffic
source RealTraffic.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_CMAKE_PROJECTS "${PROJECT_BINARY_DIR};Kestrelune;program;/")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The Kestrelune developers <developers@kestrelune.invalid>")
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
