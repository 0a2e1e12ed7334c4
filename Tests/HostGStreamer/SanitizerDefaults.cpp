/// The thread sanitizer sees nothing of how GStreamer's threads agree with one another.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
  return "ignore_noninstrumented_modules=1";
}
