# Install rules and packages: a Debian package on Linux, a zip archive for Windows. The documents keep their
# places relative to each other, so that their links hold.
include(GNUInstallDirs)

if(WIN32)
  set(programs .)
  set(documents .)
else()
  set(programs ${CMAKE_INSTALL_BINDIR})
  set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/quillmark)
endif()
# Folders are as open as the files in them, whatever the umask of the packager.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

install(TARGETS Quillmark quillmarkctl RUNTIME DESTINATION ${programs})
if(NOT WIN32)
  install(TARGETS quillmark_codecs LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/quillmark)
endif()
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${documents})
install(DIRECTORY docs DESTINATION ${documents} FILES_MATCHING PATTERN *.md)
install(FILES platform/linux/README.md DESTINATION ${documents}/platform/linux)
install(DIRECTORY examples DESTINATION ${documents})
install(DIRECTORY clients/python clients/conformance DESTINATION ${documents}/clients
  PATTERN __pycache__ EXCLUDE PATTERN tests EXCLUDE)

if(NOT WIN32)
  set(pages ${PROJECT_BINARY_DIR}/pages)
  install(CODE "set(QUILLMARKCTL \"$<TARGET_FILE:quillmarkctl>\")
    set(INTO \"${pages}\")
    include(\"${PROJECT_SOURCE_DIR}/cmake/ToolPages.cmake\")")
  install(FILES ${pages}/quillmarkctl.1.gz ${pages}/Quillmark.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${pages}/quillmark-specs.5.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
  install(FILES ${pages}/quillmarkctl DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
  install(FILES ${pages}/_quillmarkctl DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/zsh/vendor-completions)
  install(FILES ${pages}/quillmarkctl.fish DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d)
endif()

set(CPACK_PACKAGE_NAME quillmark)
set(CPACK_PACKAGE_VENDOR Quillmark)
set(CPACK_PACKAGE_CONTACT "Quillmark maintainers <maintainers@quillmark.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "headless worker that watches the screen for known images")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

# The licence statement is written when the package is made.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageLicences.cmake)
set(CPACK_QUILLMARK_DOCUMENTS ${documents})
# The licence texts of foreign code in our programs, one file each.
set(doc /usr/share/doc)
if(WIN32)
  set(deps ${QUILLMARK_WINDOWS_DEPS}/share/doc)
  set(CPACK_QUILLMARK_STATEMENTS ${deps}/opencv/copyright ${deps}/libpng1.6/copyright
    ${deps}/libjpeg-turbo/copyright ${deps}/libz-mingw-w64-dev/copyright ${deps}/libcli11-dev/copyright
    ${deps}/nlohmann-json3-dev/copyright ${deps}/libtomlplusplus-dev/copyright
    ${doc}/gcc-mingw-w64-x86-64-posix-runtime/copyright ${doc}/mingw-w64-x86-64-dev/copyright)
else()
  set(CPACK_QUILLMARK_STATEMENTS ${doc}/libcli11-dev/copyright ${doc}/nlohmann-json3-dev/copyright
    ${doc}/libtomlplusplus-dev/copyright)
endif()

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME Quillmark-${PROJECT_VERSION}-windows-x64)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  # A second start shows its box in Korean if a font has the letters.
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS fonts-nanum)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A controlling program gives it template images and target windows through
shared memory; it compares each changed frame of the monitors with them and
reports where it sees them, through shared memory too. quillmarkctl gives it
commands and prints its hits.")
endif()
include(CPack)
