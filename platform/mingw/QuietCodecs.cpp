// Keeps libpng and libjpeg from printing. The image library leaves their messages at the default, the C
// library's stderr, which cannot be replaced here as on Linux; so the linker redirects (--wrap) the calls
// that choose.
#include <png.h>

#include <cstdio>  // for jpeglib.h

#include <jpeglib.h>

namespace {

[[noreturn]] void Fail(png_structp png, png_const_charp) {
  png_longjmp(png, 1);
}
void Ignore(png_structp, png_const_charp) {}
void IgnoreJpeg(j_common_ptr) {}

}  // namespace

extern "C" {

png_structp __real_png_create_read_struct(png_const_charp, png_voidp, png_error_ptr, png_error_ptr);
png_structp __wrap_png_create_read_struct(png_const_charp version, png_voidp data, png_error_ptr,
                                          png_error_ptr) {
  return __real_png_create_read_struct(version, data, Fail, Ignore);
}

jpeg_error_mgr* __real_jpeg_std_error(jpeg_error_mgr*);
jpeg_error_mgr* __wrap_jpeg_std_error(jpeg_error_mgr* errors) {
  __real_jpeg_std_error(errors)->output_message = IgnoreJpeg;
  return errors;
}
}
