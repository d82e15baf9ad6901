# quillmark_library(NAME SOURCES a.cpp ... [LINK targets...]): a static library of the product. Headers are
# found as "core/Matcher.h", "specs/TemplateSpec.h" and so on.
function(quillmark_library NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_library(${NAME} STATIC ${ARG_SOURCES})
  target_include_directories(${NAME} PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
  # Errors name their source as src/core/Matcher.cpp, wherever the tree lies.
  target_compile_options(${NAME} PRIVATE -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
  target_link_libraries(${NAME} PUBLIC ${ARG_LINK} quillmark_sanitizers PRIVATE quillmark_warnings)
endfunction()

# The platform as a link target: the system's libraries on Windows, our layer elsewhere.
add_library(quillmark_platform INTERFACE)
if(WIN32)
  target_link_libraries(quillmark_platform INTERFACE d3d11 dxgi dxguid user32 shlwapi shcore version)
  target_compile_definitions(quillmark_platform INTERFACE UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
else()
  target_link_libraries(quillmark_platform INTERFACE quillmark_linux_layer)
endif()
