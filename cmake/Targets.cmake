# quillmark_library(NAME SOURCES a.cpp ... [LINK targets...]): a static library of the product. Headers are
# found as "core/Matcher.h", "specs/TemplateSpec.h" and so on.
function(quillmark_library NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_library(${NAME} STATIC ${ARG_SOURCES})
  target_include_directories(${NAME} PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
  if(NOT MSVC)
    # Errors name their source as src/core/Matcher.cpp, wherever the tree is.
    target_compile_options(${NAME} PRIVATE -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
  endif()
  target_link_libraries(${NAME} PUBLIC ${ARG_LINK} quillmark_sanitizers PRIVATE quillmark_warnings)
endfunction()

# The platform as a link target: the system's libraries on Windows, our layer elsewhere. Its named objects
# have a separate target.
add_library(quillmark_platform_objects INTERFACE)
add_library(quillmark_platform INTERFACE)
target_link_libraries(quillmark_platform INTERFACE quillmark_platform_objects)
if(WIN32)
  target_compile_definitions(quillmark_platform_objects INTERFACE UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
  target_link_libraries(quillmark_platform INTERFACE d3d11 dxgi dxguid user32 shlwapi shcore version)
else()
  target_link_libraries(quillmark_platform_objects INTERFACE quillmark_linux_objects)
  target_link_libraries(quillmark_platform INTERFACE quillmark_linux_layer)
endif()

if(MSVC)
  # The static run-time library, as in OpenCV's x64-windows-static build.
  set(CMAKE_MSVC_RUNTIME_LIBRARY MultiThreaded$<$<CONFIG:Debug>:Debug>)
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:/utf-8> $<$<COMPILE_LANGUAGE:CXX>:/permissive->)
endif()

if(MINGW)
  # Linked into every program and shared library defined below.
  add_library(quillmark_thread_exit OBJECT ${PROJECT_SOURCE_DIR}/platform/mingw/ThreadExit.cpp)
  link_libraries($<BUILD_INTERFACE:quillmark_thread_exit>)
endif()

# quillmark_windows_resource(TARGET DESCRIPTION): gives a program its Windows resources, the version block
# and the manifest.
function(quillmark_windows_resource TARGET DESCRIPTION)
  if(MSVC)
    target_link_options(${TARGET} PRIVATE /MANIFEST:NO)  # the resource brings it
  endif()
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}Resource)
  configure_file(${PROJECT_SOURCE_DIR}/src/app/AppResource.h.in ${folder}/AppResource.h @ONLY)
  set(script ${PROJECT_SOURCE_DIR}/src/app/app.rc)
  target_sources(${TARGET} PRIVATE ${script})
  target_include_directories(${TARGET} PRIVATE ${folder})
  set_property(SOURCE ${script} TARGET_DIRECTORY ${TARGET} APPEND PROPERTY
    OBJECT_DEPENDS ${PROJECT_SOURCE_DIR}/src/app/Quillmark.manifest ${folder}/AppResource.h)
endfunction()
