# quillmark_embed_version(TARGET): gives a program the version that the version calls report, from the
# project's version.
function(quillmark_embed_version TARGET)
  set(numbers ${PROJECT_VERSION_MAJOR} ${PROJECT_VERSION_MINOR} ${PROJECT_VERSION_PATCH}
    ${PROJECT_VERSION_TWEAK})
  list(JOIN numbers ", " VERSION_NUMBERS)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}Version.cpp)
  configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/EmbeddedVersion.cpp.in ${source} @ONLY)
  target_sources(${TARGET} PRIVATE ${source})
  set_property(SOURCE ${source} APPEND PROPERTY
    INCLUDE_DIRECTORIES ${PROJECT_SOURCE_DIR}/platform/linux)
endfunction()
