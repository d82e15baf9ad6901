# OpenCV 4 as SYSTEM interface targets: quillmark_opencv and, with the image codecs, quillmark_opencv_codecs. Its CMake package is used if there is one;
# Debian ships that package only with all modules, so without it the three modules are looked up by name.
add_library(quillmark_opencv INTERFACE)
add_library(quillmark_opencv_codecs INTERFACE)
target_link_libraries(quillmark_opencv_codecs INTERFACE quillmark_opencv)
if(MSVC)
  find_package(OpenCV 4.11 REQUIRED CONFIG COMPONENTS core imgproc imgcodecs)
elseif(WIN32)
  find_package(OpenCV 4 REQUIRED CONFIG COMPONENTS core imgproc imgcodecs)
else()
  find_package(OpenCV 4 QUIET CONFIG COMPONENTS core imgproc imgcodecs)
endif()
if(OpenCV_FOUND)
  target_include_directories(quillmark_opencv SYSTEM INTERFACE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(quillmark_opencv INTERFACE opencv_core opencv_imgproc)
  target_link_libraries(quillmark_opencv_codecs INTERFACE opencv_imgcodecs)
else()
  find_path(QUILLMARK_OPENCV_INCLUDE opencv2/imgcodecs.hpp PATH_SUFFIXES opencv4 REQUIRED)
  # Debian has a folder per architecture for the build configuration header.
  find_path(QUILLMARK_OPENCV_CONFIG opencv2/cvconfig.h
    HINTS /usr/include/${CMAKE_LIBRARY_ARCHITECTURE}/opencv4 PATH_SUFFIXES opencv4 REQUIRED)
  target_include_directories(quillmark_opencv SYSTEM INTERFACE
    ${QUILLMARK_OPENCV_INCLUDE} ${QUILLMARK_OPENCV_CONFIG})
  foreach(module core imgproc imgcodecs)
    find_library(QUILLMARK_OPENCV_${module} opencv_${module} REQUIRED)
  endforeach()
  target_link_libraries(quillmark_opencv INTERFACE ${QUILLMARK_OPENCV_core} ${QUILLMARK_OPENCV_imgproc})
  target_link_libraries(quillmark_opencv_codecs INTERFACE ${QUILLMARK_OPENCV_imgcodecs})
endif()
