/// The thread sanitizer cannot see how the threads of GStreamer and mpv synchronize.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
  return "ignore_noninstrumented_modules=1";
}
