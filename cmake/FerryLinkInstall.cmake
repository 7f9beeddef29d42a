# What `cmake --install` lays down, and the packages that CPack makes of it: a .deb on Debian, a zip and an
# installer for Windows.
# Included last, when every target is known.
#
# Programs and the libraries that they load keep the places that they have in the build folder, so that one rule finds
# them in both: all of it lies in a folder of its own, and bin/ holds links. On Windows that folder is the whole package.

if(WIN32)
  set(home ".")
  set(programs ".")
  set(libraries ".")
  set(plugins ".")
  set(virtual virtual)
  set(documents docs)
  set(examples examples)
  set(licences licences)
else()
  set(home lib/ferrylink)
  set(programs ${home}/bin)
  set(libraries ${home}/lib)
  set(plugins ${libraries}/plugins)
  set(virtual ${libraries}/virtual)
  set(documents share/doc/ferrylink)
  set(examples ${documents}/examples)
  set(licences ${documents}/licences)
  # The plug-in is reached through its full path and needs VantorCore one folder up; the programs need it in lib/.
  set_target_properties(cvfeed ferrylink_host_program PROPERTIES INSTALL_RPATH "$ORIGIN/../lib")
  set_target_properties(ferrylink_plugin PROPERTIES INSTALL_RPATH "$ORIGIN/..")
endif()

install(TARGETS gpc cvfeed ferrylink_host_program RUNTIME DESTINATION ${programs})
install(TARGETS ferrylink_host
  RUNTIME DESTINATION ${libraries}
  LIBRARY DESTINATION ${libraries})
install(TARGETS ferrylink_plugin LIBRARY DESTINATION ${plugins})
install(TARGETS ferrylink_virtual_hidapi
  RUNTIME DESTINATION ${virtual}
  LIBRARY DESTINATION ${virtual})
if(NOT WIN32)
  install(CODE "
    foreach(program IN ITEMS gpc cvfeed ferrylink-host)
      set(directory \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
      file(MAKE_DIRECTORY \"\${directory}\")
      message(STATUS \"Installing: \${directory}/\${program}\")
      file(CREATE_LINK \"../${programs}/\${program}\" \"\${directory}/\${program}\" SYMBOLIC)
    endforeach()")
endif()

install(DIRECTORY examples/ DESTINATION ${examples} FILES_MATCHING PATTERN "*.gpc")
install(DIRECTORY docs/ DESTINATION ${documents})
if(WIN32)
  install(FILES LICENSE DESTINATION ${licences} RENAME FerryLink.txt)
else()
  install(FILES LICENSE DESTINATION ${documents} RENAME copyright)
  install(FILES README.md DESTINATION ${documents})
endif()
# Libraries that are compiled into the programs, headers and all.
set(licence_sources
  CLI11 libcli11-dev
  nlohmann-json nlohmann-json3-dev)

if(WIN32)
  list(APPEND licence_sources
    Qt qt6-base-dev
    hidapi libhidapi-dev
    GCC-runtime gcc-mingw-w64-base
    MinGW-w64-runtime mingw-w64-common)
  foreach(licence IN ITEMS LGPL-3 GPL-3)
    install(FILES /usr/share/common-licenses/${licence} DESTINATION ${licences} RENAME ${licence}.txt)
  endforeach()
  # Everything that is loaded at run time; Windows brings the rest.
  set(sdk "${FERRYLINK_WINDOWS_SDK}")
  set(runtime_dlls)
  foreach(dll IN LISTS FERRYLINK_RUNTIME_DLLS)
    get_filename_component(name "${dll}" NAME)
    set(stripped "${PROJECT_BINARY_DIR}/runtime/${name}") # Debian's carry 20 MB of symbols
    file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/runtime")
    execute_process(COMMAND "${CMAKE_STRIP}" -o "${stripped}" "${dll}" COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND runtime_dlls "${stripped}")
  endforeach()
  install(FILES
    "${sdk}/bin/Qt6Core.dll" "${sdk}/bin/Qt6Gui.dll" "${sdk}/bin/Qt6Widgets.dll" "${sdk}/bin/libhidapi.dll"
    ${runtime_dlls}
    DESTINATION .)
  install(FILES "${sdk}/plugins/platforms/qwindows.dll" DESTINATION platforms)
  install(FILES "${sdk}/plugins/styles/qwindowsvistastyle.dll" DESTINATION styles)
  configure_file(packaging/README.txt.in "${PROJECT_BINARY_DIR}/README.txt" @ONLY NEWLINE_STYLE CRLF)
  install(FILES "${PROJECT_BINARY_DIR}/README.txt" DESTINATION .)
endif()

# Debian keeps the texts of what its packages hold; where one is missing, that is known when the package is made.
while(licence_sources)
  list(POP_FRONT licence_sources name package)
  install(FILES /usr/share/doc/${package}/copyright DESTINATION ${licences} RENAME ${name}.txt)
endwhile()

set(CPACK_PACKAGE_NAME ferrylink)
set(CPACK_PACKAGE_VENDOR "the FerryLink authors")
set(CPACK_PACKAGE_CONTACT "the FerryLink authors <ferrylink@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Bridge from shared memory to a USB game-controller adapter")
set(CPACK_PACKAGE_DESCRIPTION "A Qt plug-in that carries frames from shared memory to the adapter and brings back what
it reports; a compiler for the adapter's scripts; a development host with a simulated adapter.")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  find_program(FERRYLINK_MAKENSIS makensis NO_CMAKE_FIND_ROOT_PATH DOC "Makes the installer for Windows")
  if(FERRYLINK_MAKENSIS)
    list(APPEND CPACK_GENERATOR NSIS)
  endif()
  set(CPACK_PACKAGE_FILE_NAME "FerryLink-${PROJECT_VERSION}-windows-x86_64")
  set(CPACK_PACKAGE_INSTALL_DIRECTORY FerryLink)
  set(CPACK_PACKAGE_EXECUTABLES ferrylink-host FerryLink)
  set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
  set(CPACK_NSIS_EXECUTABLES_DIRECTORY .)
  set(CPACK_NSIS_DISPLAY_NAME FerryLink)
  set(CPACK_NSIS_PACKAGE_NAME FerryLink)
  set(CPACK_NSIS_UNINSTALL_NAME Uninstall)
  set(CPACK_NSIS_INSTALLED_ICON_NAME ferrylink-host.exe)
  set(CPACK_NSIS_MENU_LINKS README.txt "Read me" examples "Example scripts")
  set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)
  set(CPACK_NSIS_MANIFEST_DPI_AWARE ON)
  # Like all that it installs; a 64-bit Wine could not try it otherwise.
  set(CPACK_NSIS_DEFINES "Target amd64-unicode")
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # Where the package's own libraries lie when dependencies are looked for.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
endif()
include(CPack)
