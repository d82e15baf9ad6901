# quillmark_embed_version(TARGET): gives a program the project's version, which the version calls then report.
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
