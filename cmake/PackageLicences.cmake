# Run by CPack between staging and packing. Writes what the package says about licences: our own state first,
# then, word for word, the statements of the code of others. Where one is missing no package is made.
set(common /usr/share/common-licenses)
set(staged ${CPACK_TEMPORARY_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/${CPACK_QUILLMARK_DOCUMENTS})

set(text "Quillmark's own sources state no licence, and this file grants none.

Its programs contain code of the packages named below. What follows each name is that package's own
statement, which also covers parts of it that are not used here.
")
string(REPEAT "=" 100 line)
foreach(file IN LISTS CPACK_QUILLMARK_STATEMENTS)
  if(NOT EXISTS ${file})
    message(FATAL_ERROR "No package without its licences: ${file} is missing.")
  endif()
  file(READ ${file} statement)
  cmake_path(GET file PARENT_PATH folder)
  cmake_path(GET folder FILENAME package)
  string(APPEND text "\n${line}\n${package}\n${line}\n\n${statement}")
endforeach()

if(CPACK_GENERATOR STREQUAL "DEB")
  file(WRITE ${staged}/copyright "${text}")
  # Debian keeps a changelog compressed and without the time of day.
  execute_process(COMMAND gzip -9n ${staged}/CHANGELOG.md COMMAND_ERROR_IS_FATAL ANY)
  file(RENAME ${staged}/CHANGELOG.md.gz ${staged}/changelog.gz)
else()
  file(WRITE ${staged}/LICENCES.txt "${text}")
  # The statements refer to files that only Debian has.
  string(REGEX MATCHALL "${common}/[A-Za-z0-9.-]*[A-Za-z0-9]" files "${text}")
  list(REMOVE_DUPLICATES files)
  file(MAKE_DIRECTORY ${staged}/licences)
  foreach(file IN LISTS files)
    file(REAL_PATH ${file} real)
    cmake_path(GET file FILENAME name)
    file(COPY_FILE ${real} ${staged}/licences/${name}.txt)
  endforeach()
endif()
