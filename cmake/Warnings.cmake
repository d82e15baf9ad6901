# Warnings of our own code, as an interface target. Foreign headers come in as SYSTEM and stay silent.
add_library(quillmark_warnings INTERFACE)
if(MSVC)
  target_compile_options(quillmark_warnings INTERFACE
    "$<$<COMPILE_LANGUAGE:C,CXX>:/W4;$<$<BOOL:${QUILLMARK_WERROR}>:/WX>>")
  # Otherwise it warns of std::getenv and similar calls, in favour of others that only this library has.
  target_compile_definitions(quillmark_warnings INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
  target_compile_options(quillmark_warnings INTERFACE
    "$<$<COMPILE_LANGUAGE:C,CXX>:-Wall;-Wextra;-Wpedantic;-Wshadow;-Wconversion;-Wno-sign-conversion>"
    "$<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual>"
    $<$<AND:$<COMPILE_LANGUAGE:C,CXX>,$<BOOL:${QUILLMARK_WERROR}>>:-Werror>)
endif()
# GCC 12 takes an optimised `"text" + std::string` for an overlapping copy of half the address space.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(quillmark_warnings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()
