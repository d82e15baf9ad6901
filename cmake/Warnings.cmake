# Warnings of our own code, as an interface target. Foreign headers come in as SYSTEM and stay silent.
add_library(quillmark_warnings INTERFACE)
target_compile_options(quillmark_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  $<$<BOOL:${QUILLMARK_WERROR}>:-Werror>)
# GCC 12 takes an optimised `"text" + std::string` for an overlapping copy of half the address space.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(quillmark_warnings INTERFACE -Wno-restrict)
endif()
