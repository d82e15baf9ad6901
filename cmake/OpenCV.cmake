# OpenCV 4 as the SYSTEM interface target quillmark_opencv. Its CMake package is used if there is one;
# Debian ships that package only with all modules, so without it the three modules are looked up by name.
add_library(quillmark_opencv INTERFACE)
if(MSVC)
  find_package(OpenCV 4.11 REQUIRED CONFIG COMPONENTS core imgproc imgcodecs)
elseif(WIN32)
  find_package(OpenCV 4 REQUIRED CONFIG COMPONENTS core imgproc imgcodecs)
else()
  find_package(OpenCV 4 QUIET CONFIG COMPONENTS core imgproc imgcodecs)
endif()
if(OpenCV_FOUND)
  target_include_directories(quillmark_opencv SYSTEM INTERFACE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(quillmark_opencv INTERFACE ${OpenCV_LIBS})
else()
  find_path(QUILLMARK_OPENCV_INCLUDE opencv2/imgcodecs.hpp PATH_SUFFIXES opencv4 REQUIRED)
  # Debian has a folder per architecture for the build configuration header.
  find_path(QUILLMARK_OPENCV_CONFIG opencv2/cvconfig.h
    HINTS /usr/include/${CMAKE_LIBRARY_ARCHITECTURE}/opencv4 PATH_SUFFIXES opencv4 REQUIRED)
  target_include_directories(quillmark_opencv SYSTEM INTERFACE
    ${QUILLMARK_OPENCV_INCLUDE} ${QUILLMARK_OPENCV_CONFIG})
  foreach(module core imgproc imgcodecs)
    find_library(QUILLMARK_OPENCV_${module} opencv_${module} REQUIRED)
    target_link_libraries(quillmark_opencv INTERFACE ${QUILLMARK_OPENCV_${module}})
  endforeach()
endif()
