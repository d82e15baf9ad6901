# Sanitizers as an interface target; empty QUILLMARK_SANITIZE means none.
add_library(quillmark_sanitizers INTERFACE)
if(QUILLMARK_SANITIZE)
  target_compile_options(quillmark_sanitizers INTERFACE
    -fsanitize=${QUILLMARK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(quillmark_sanitizers INTERFACE -fsanitize=${QUILLMARK_SANITIZE})
endif()
