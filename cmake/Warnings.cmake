# Warnings of our own code, as an interface target. Foreign headers come in as SYSTEM and stay silent.
add_library(quillmark_warnings INTERFACE)
target_compile_options(quillmark_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  $<$<BOOL:${QUILLMARK_WERROR}>:-Werror>)
