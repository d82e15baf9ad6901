# Sanitizers as an interface target; empty QUILLMARK_SANITIZE means none. What they insert makes GCC 12 see
# uninitialised values inside the standard library; the other builds keep that warning.
add_library(quillmark_sanitizers INTERFACE)
if(QUILLMARK_SANITIZE)
  target_compile_options(quillmark_sanitizers INTERFACE
    -fsanitize=${QUILLMARK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -Wno-maybe-uninitialized)
  target_link_options(quillmark_sanitizers INTERFACE -fsanitize=${QUILLMARK_SANITIZE})
endif()
# The thread sanitizer does not model stand-alone fences, and the compiler warns of each. The rings' fences
# come on top of acquire and release on the indices, which it does model.
if(QUILLMARK_SANITIZE STREQUAL "thread")
  target_compile_options(quillmark_sanitizers INTERFACE -Wno-tsan)
endif()
