# Cross-compiles for 64-bit Windows with Debian's mingw-w64 and runs what is built under Wine. Foreign
# libraries come from the prefix that scripts/windows-deps.sh makes.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

# The compiler with std::thread, by its full name: the plain name may be the one without.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
# No run-time library to ship.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")

if(NOT QUILLMARK_WINDOWS_DEPS)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/windows-deps.sh --print
    OUTPUT_VARIABLE QUILLMARK_WINDOWS_DEPS OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT EXISTS ${QUILLMARK_WINDOWS_DEPS}/complete)
    message(FATAL_ERROR "No libraries for Windows in ${QUILLMARK_WINDOWS_DEPS}: run scripts/windows-deps.sh")
  endif()
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUILLMARK_WINDOWS_DEPS)
# A build folder may have found its packages in an earlier prefix.
foreach(package OpenCV CLI11 nlohmann_json tomlplusplus)
  if(NOT "${${package}_DIR}" MATCHES "^${QUILLMARK_WINDOWS_DEPS}")
    unset(${package}_DIR CACHE)
  endif()
endforeach()

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${QUILLMARK_WINDOWS_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if(NOT DEFINED CMAKE_CROSSCOMPILING_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run.sh)
endif()
